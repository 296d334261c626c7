// SPDX-License-Identifier: BSD-3-Clause
// A host with a module of its own and a user: 0 when the library works in it as a library of version VERSION.
#include <icawave/icawave.h>

#include <cstdio>
#include <optional>
#include <string_view>

namespace {

const int ownDialog = 0;
const icawave::Resource resources[] = {
    {icawave::ResourceKind::dialog, 4449, &ownDialog}}; // the manager's number
AFX_EXTENSION_MODULE module{"host", resources};
const bool initialized = AfxInitExtensionModule(module);
std::optional<CDynLinkLibrary> hostLink{module};

int failed(const char* what) {
    std::fprintf(stderr, "consumer: %s\n", what);
    return 1;
}

} // namespace

int main() {
    if (std::string_view(icawave::libraryVersion()) != VERSION) return failed(icawave::libraryVersion());
    if (!AfxFindModule("icawave")) return failed("the library has not attached itself");
    if (AfxFindResource(icawave::ResourceKind::dialog, 4449) != &ownDialog)
        return failed("the library's resource hides the host's");
    hostLink.reset(); // the library's are found again
    icawave::ScriptedFrontEnd user;
    CFaceIcazq package;
    package.showDlgIcaManager(nullptr);
    if (user.print(*package.m_dlgIcaManager).find("Refresh") == std::string::npos)
        return failed("the manager does not show itself");
    return 0;
}
