// SPDX-License-Identifier: BSD-3-Clause
// What happens when the operating system loads and unloads the dynamic library, or a program that it is
// linked into. Nothing else is created before a host calls.
#include "platform/LibraryModule.h"
#include "ui/Resources.h"

#include <optional>

constinit AFX_EXTENSION_MODULE icawave::libraryModule{"icawave", {}};

using icawave::libraryModule;

static constinit std::optional<CDynLinkLibrary> link;

// Runs before the host's static objects are constructed, so that modules which they attach are newer, and
// detachLibrary after they are destroyed.
[[gnu::constructor(101)]] static void attachLibrary() {
    libraryModule.resources = icawave::libraryResources();
    if (AfxInitExtensionModule(libraryModule))
        link.emplace(libraryModule); // else its resources are not found
}

[[gnu::destructor(101)]] static void detachLibrary() {
    link.reset();
    AfxTermExtensionModule(libraryModule);
}
