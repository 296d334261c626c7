// SPDX-License-Identifier: BSD-3-Clause
// Messages to the user and the wait cursor, shown by the installed front end (FrontEnd.h).
#pragma once

#include <icawave/platform/FrontEnd.h>
#include <icawave/platform/String.h>

#include <cstdint>

// Shows a modal message box with one OK button and returns 1 once it was pressed.
ICAWAVE_EXPORT std::int32_t AfxMessageBox(CString text);

// The application's wait cursor, shown while the object lives.
class ICAWAVE_EXPORT CWaitCursor {
public:
    CWaitCursor();
    ~CWaitCursor();
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;

private:
    icawave::UiFrontEnd* m_frontEnd; // the one that began it ends it
};
