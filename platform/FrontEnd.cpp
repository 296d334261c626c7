// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/platform/FrontEnd.h>

#include <icawave/platform/Message.h>

#include <cstdio>

namespace icawave {

namespace {

UiFrontEnd* installed = nullptr;

} // namespace

UiFrontEnd::~UiFrontEnd() = default;

void UiFrontEnd::messageBox(const CString& text) {
    std::string line = text.utf8();
    for (char& c : line) {
        if (c == '\n' || c == '\r') c = ' ';
    }
    std::fprintf(stderr, "%s\n", line.c_str());
}

std::optional<CString> UiFrontEnd::fileDialog(const FileDialogRequest&) {
    return std::nullopt;
}

std::int32_t UiFrontEnd::popupMenu(const std::vector<MenuItem>&, std::int32_t, std::int32_t) {
    return 0;
}

std::unique_ptr<WindowPeer> UiFrontEnd::createPeer(CWnd&) {
    return nullptr;
}

WindowPeer::~WindowPeer() = default;

UiFrontEnd* setUiFrontEnd(UiFrontEnd* frontEnd) {
    UiFrontEnd* previous = installed;
    installed = frontEnd;
    return previous;
}

UiFrontEnd& uiFrontEnd() {
    static UiFrontEnd none;
    return installed ? *installed : none;
}

} // namespace icawave

std::int32_t AfxMessageBox(CString text) {
    icawave::uiFrontEnd().messageBox(text);
    return 1;
}

CWaitCursor::CWaitCursor() : m_frontEnd(&icawave::uiFrontEnd()) {
    m_frontEnd->beginWaitCursor();
}

CWaitCursor::~CWaitCursor() {
    if (m_frontEnd == &icawave::uiFrontEnd()) m_frontEnd->endWaitCursor(); // else it is gone with its cursor
}
