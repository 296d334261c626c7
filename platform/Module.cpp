// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/platform/Module.h>

#include "platform/LibraryModule.h"

#include <string_view>

namespace {

// Whoever searches modules links the library's own along, out of a static library too.
[[gnu::used]] AFX_EXTENSION_MODULE* const takenAlong = &icawave::libraryModule;

CDynLinkLibrary* newest = nullptr;

} // namespace

bool AfxInitExtensionModule(AFX_EXTENSION_MODULE& module) {
    if (!module.name || module.initialized) return false;
    return module.initialized = true;
}

void AfxTermExtensionModule(AFX_EXTENSION_MODULE& module) {
    module.initialized = false;
}

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE& module) : m_module(module), m_next(newest) {
    newest = this;
}

CDynLinkLibrary::~CDynLinkLibrary() {
    CDynLinkLibrary** link = &newest;
    while (*link != this) link = &(*link)->m_next;
    *link = m_next;
}

const void* AfxFindResource(icawave::ResourceKind kind, std::int32_t number) {
    for (const CDynLinkLibrary* link = newest; link; link = link->m_next) {
        if (!link->m_module.initialized) continue;
        for (const icawave::Resource& resource : link->m_module.resources) {
            if (resource.kind == kind && resource.number == number) return resource.data;
        }
    }
    return nullptr;
}

bool AfxFindModule(const char* name) {
    for (const CDynLinkLibrary* link = newest; link; link = link->m_next) {
        if (link->m_module.initialized && std::string_view(link->m_module.name) == name) return true;
    }
    return false;
}
