// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/platform/Dialog.h>

#include <icawave/platform/ListCtrl.h>
#include <icawave/platform/Module.h>

#include <cmath>

const CRuntimeClass CDialogEx::classCDialogEx = {"CDialogEx", &CWnd::classCWnd};

namespace {

// Dialog units to pixels: quarters of a character across, eighths down, rounded as the platform does.
CRect pixels(const icawave::DialogBaseUnits& units, std::int32_t x, std::int32_t y, std::int32_t width,
             std::int32_t height) {
    const auto across = [&](std::int32_t u) { return (u * units.width + 2) / 4; };
    const auto down = [&](std::int32_t u) { return (u * units.height + 4) / 8; };
    return {across(x), down(y), across(x) + across(width), down(y) + down(height)};
}

std::unique_ptr<CWnd> newControl(icawave::ControlKind kind) {
    if (kind == icawave::ControlKind::listView) return std::make_unique<CListCtrl>();
    return std::make_unique<CButton>();
}

} // namespace

void DDX_Control(CDataExchange* exchange, std::int32_t id, CWnd& control) {
    exchange->m_dialog->bind(id, control);
}

CDialogEx::~CDialogEx() {
    DestroyWindow(); // while the controls still exist
}

bool CDialogEx::Create(std::int32_t number, CWnd* parent) {
    const auto* made =
        static_cast<const icawave::DialogTemplate*>(AfxFindResource(icawave::ResourceKind::dialog, number));
    const icawave::DialogBaseUnits units = icawave::uiFrontEnd().dialogBaseUnits();
    if (!made) return false;
    const CRect client = pixels(units, 0, 0, made->width, made->height);
    if (!CWnd::Create(false, client.Width(), client.Height())) return false;
    m_template = made;
    m_text = made->caption;
    m_style = made->style;
    m_parent = parent;
    m_controls.clear();
    if (made->menu != 0) m_menu.LoadMenu(made->menu);
    for (const icawave::ControlTemplate& c : made->controls) {
        m_controls.push_back(newControl(c.kind));
        m_controls.back()->createChild(*this, c.id, c.text, c.style,
                                       pixels(units, c.x, c.y, c.width, c.height));
    }
    OnInitDialog();
    attachPeer(icawave::uiFrontEnd().createPeer(*this));
    return true;
}

bool CDialogEx::UpdateData(bool saveAndValidate) {
    if (!m_created) return false;
    CDataExchange exchange{this, saveAndValidate};
    DoDataExchange(&exchange);
    return true;
}

bool CDialogEx::OnInitDialog() {
    UpdateData(false);
    return true;
}

void CDialogEx::OnOK() {
    if (UpdateData(true)) ShowWindow(0);
}

void CDialogEx::OnCancel() {
    ShowWindow(0);
}

void CDialogEx::bind(std::int32_t id, CWnd& control) {
    CWnd* made = GetDlgItem(id);
    if (!made || made == &control) return;
    control.takePlaceOf(*made);
    std::erase_if(m_controls, [&](const std::unique_ptr<CWnd>& c) { return c.get() == made; });
}

void CDialogEx::userCommand(std::int32_t id) {
    if (auto* button = dynamic_cast<CButton*>(GetDlgItem(id))) return button->press();
    std::int32_t position = 0;
    const CMenu* menu = m_menu.find(id, position);
    if (menu && menu->GetMenuItem(position).enabled)
        SendMessage(icawave::message::command, static_cast<std::uintptr_t>(id), 0);
}

void CDialogEx::userResize(std::int32_t cx, std::int32_t cy) {
    MoveWindow(m_place.left, m_place.top, cx, cy);
}

std::intptr_t CDialogEx::DefWindowProc(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) {
    constexpr std::uintptr_t ok = 1, cancel = 2;
    if (message == icawave::message::close || (message == icawave::message::command && wParam == cancel)) {
        OnCancel();
    } else if (message == icawave::message::command && wParam == ok) {
        OnOK();
    } else if (message == icawave::message::setIcon) {
        m_icon = reinterpret_cast<const icawave::IconResource*>(lParam);
        changed();
    }
    return 0;
}

bool CFileDialog::DoModal() {
    const std::optional<CString> chosen = icawave::uiFrontEnd().fileDialog(m_request);
    if (chosen) m_path = *chosen;
    return chosen.has_value();
}
