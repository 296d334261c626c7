// SPDX-License-Identifier: BSD-3-Clause
// Extension modules: dynamic libraries that bring resources (dialog templates, menus, icons) into a host's
// resource search.
//
// The library registers itself when the operating system loads it and leaves when it is unloaded. A host's
// own module does likewise:
//
//     static const icawave::Resource resources[] = {{icawave::ResourceKind::menu, 3000, &menu}};
//     static AFX_EXTENSION_MODULE module{"host", resources};
//     AfxInitExtensionModule(module);
//     static CDynLinkLibrary link(module);    // found while this lives
#pragma once

#include <icawave/Export.h>

#include <icawave/platform/Resource.h>

#include <cstdint>
#include <span>

namespace icawave {

enum class ResourceKind : std::int32_t { dialog, menu, icon };

struct Resource {
    ResourceKind kind;
    std::int32_t number;
    const void* data; // a DialogTemplate, MenuTemplate or IconResource; lives as long as its module
};

} // namespace icawave

struct AFX_EXTENSION_MODULE {
    const char* name;
    std::span<const icawave::Resource> resources;
    bool initialized = false;
};

// True when the module is ready to be linked; false when it has no name or was initialised before.
ICAWAVE_EXPORT bool AfxInitExtensionModule(AFX_EXTENSION_MODULE& module);
// Ends a module: its links find nothing from now on.
ICAWAVE_EXPORT void AfxTermExtensionModule(AFX_EXTENSION_MODULE& module);

// Puts an initialised module into the resource search while it lives.
class ICAWAVE_EXPORT CDynLinkLibrary {
public:
    explicit CDynLinkLibrary(AFX_EXTENSION_MODULE& module);
    ~CDynLinkLibrary();
    CDynLinkLibrary(const CDynLinkLibrary&) = delete;
    CDynLinkLibrary& operator=(const CDynLinkLibrary&) = delete;

private:
    friend const void* AfxFindResource(icawave::ResourceKind, std::int32_t);
    friend bool AfxFindModule(const char*);

    AFX_EXTENSION_MODULE& m_module;
    CDynLinkLibrary* m_next; // the search goes from the newest to the oldest
};

// The data of a resource in the newest module that has it, null when none has.
ICAWAVE_EXPORT const void* AfxFindResource(icawave::ResourceKind kind, std::int32_t number);
// Whether a module of that name is initialised and linked.
ICAWAVE_EXPORT bool AfxFindModule(const char* name);
