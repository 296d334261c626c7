// SPDX-License-Identifier: BSD-3-Clause
// What happens when the operating system loads and unloads the dynamic library. Nothing else is created
// before a host calls.
#include <icawave/platform/Module.h>

#include "ui/Resources.h"

#include <optional>

namespace {

constinit AFX_EXTENSION_MODULE module{"icawave", {}};
constinit std::optional<CDynLinkLibrary> link;

} // namespace

[[gnu::constructor]] static void attachLibrary() {
    module.resources = icawave::libraryResources();
    if (AfxInitExtensionModule(module)) link.emplace(module); // else its resources are not found
}

[[gnu::destructor]] static void detachLibrary() {
    link.reset();
    AfxTermExtensionModule(module);
}
