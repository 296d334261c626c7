// SPDX-License-Identifier: BSD-3-Clause
// Modeless dialogs made from templates of the resources, their data exchange, and the file dialog.
//
//     class Settings : public CDialogEx {
//     public:
//         CListCtrl m_list;
//     protected:
//         void DoDataExchange(CDataExchange* exchange) override { DDX_Control(exchange, 4454, m_list); }
//     };
#pragma once

#include <icawave/platform/Menu.h>
#include <icawave/platform/Resource.h>
#include <icawave/platform/Wnd.h>

#include <cstdint>
#include <memory>
#include <vector>

class CDialogEx;

struct CDataExchange {
    CDialogEx* m_dialog;
    bool m_saveAndValidate; // true: from the controls to the members
};

// Binds a member to the control `id` of the dialog, the first time it is called: the member is that control
// from then on.
ICAWAVE_EXPORT void DDX_Control(CDataExchange* exchange, std::int32_t id, CWnd& control);

class ICAWAVE_EXPORT CDialogEx : public CWnd {
public:
    static const CRuntimeClass classCDialogEx;
    const CRuntimeClass* GetRuntimeClass() const override { return &classCDialogEx; }
    CDialogEx() = default;
    ~CDialogEx() override;

protected:
    virtual void DoDataExchange(CDataExchange*) {}

public:
    virtual bool OnInitDialog(); // exchanges data for the first time; true: the first control gets the focus
    virtual void OnOK();         // exchanges data, then ends the dialog, which hides it
    virtual void OnCancel();     // ends the dialog

    // Creates the window and its controls from template `number`, hidden, and initialises it. False when no
    // module has that template or there is a window already.
    bool Create(std::int32_t number, CWnd* parent);
    bool UpdateData(bool saveAndValidate); // exchanges data; false without a window

    const icawave::DialogTemplate* dialogTemplate() const { return m_template; }
    CMenu& menuBar() { return m_menu; }
    const icawave::IconResource* icon() const { return m_icon; }

    // What a user does. A control is pressed, or a command of the menu bar is chosen; one that is disabled or
    // missing does nothing.
    void userCommand(std::int32_t id);
    void userResize(std::int32_t cx, std::int32_t cy); // of the client area, pixels

protected:
    std::intptr_t DefWindowProc(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) override;

private:
    friend void DDX_Control(CDataExchange*, std::int32_t, CWnd&);
    void bind(std::int32_t id, CWnd& control);

    const icawave::DialogTemplate* m_template = nullptr;
    CMenu m_menu;
    const icawave::IconResource* m_icon = nullptr;
    std::vector<std::unique_ptr<CWnd>> m_controls; // those that no member is bound to
};

// The platform's dialog for the choice of one file.
class ICAWAVE_EXPORT CFileDialog {
public:
    CFileDialog(bool open, CString name, std::uint32_t flags, CString filter,
                CString (*writtenPath)(const CString& chosen) = nullptr)
        : m_request{!open, filter, name, flags, writtenPath} {}

    bool DoModal(); // false when the user cancelled
    CString GetPathName() const { return m_path; }

private:
    icawave::FileDialogRequest m_request;
    CString m_path;
};
