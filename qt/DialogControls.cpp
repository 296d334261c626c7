// SPDX-License-Identifier: BSD-3-Clause
// The controls and menus in a dialog's widget.
#include "qt/DialogWidget.h"

#include <icawave/platform/ListCtrl.h>

#include "qt/DefaultMark.h"
#include "qt/ListView.h"
#include "qt/MenuText.h"
#include "qt/Text.h"

#include <QCheckBox>
#include <QKeyEvent>
#include <QMenuBar>
#include <QPushButton>

#include <utility>

namespace icawave::qt {

namespace {

constexpr std::uint32_t tabStop = 0x00010000, disabled = 0x08000000;
constexpr QSize smallestList = {200, 90}; // pixels: two columns, the header and two rows
constexpr int margin = 10;

// Some platforms' themes let Return press a check box. Here it presses the default button.
class CheckBox : public QCheckBox {
public:
    using QCheckBox::QCheckBox;

protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
            event->ignore();
        else
            QCheckBox::keyPressEvent(event);
    }
};

} // namespace

// Widgets in the order of the template: so the tab key goes, and so they are printed.
void DialogWidget::addControls() {
    QWidget* before = nullptr;
    QPushButton* firstDefault = nullptr; // Return presses it, unless another push button has the focus
    QSize least;
    for (CWnd* control : m_dialog->children()) {
        QWidget* widget = newControl(*control);
        widget->setObjectName(QString::number(control->GetDlgCtrlID()));
        if (!(control->GetStyle() & tabStop)) widget->setFocusPolicy(Qt::ClickFocus);
        if (before)
            setTabOrder(before, widget);
        else
            widget->setFocus();
        before = widget;
        auto* push = qobject_cast<QPushButton*>(widget);
        if (!firstDefault && push && isDefault(*push)) firstDefault = push;
        const CRect place = control->GetWindowRect();
        const bool list = dynamic_cast<ListView*>(widget) != nullptr;
        least = least.expandedTo(QSize(place.left, place.top) +
                                 (list ? smallestList : QSize(place.Width(), place.Height())));
    }
    if (firstDefault) firstDefault->setDefault(true);
    m_client->setMinimumSize(least + QSize(margin, margin));
}

QWidget* DialogWidget::newControl(CWnd& control) {
    const std::int32_t id = control.GetDlgCtrlID();
    const auto find = [this, id]() -> CListCtrl* {
        return m_dialog ? dynamic_cast<CListCtrl*>(m_dialog->GetDlgItem(id)) : nullptr;
    };
    if (dynamic_cast<CListCtrl*>(&control)) {
        return new ListView(m_client, find, [this, find](const std::function<void(CListCtrl&)>& what) {
            act([&](CDialogEx&) {
                if (CListCtrl* list = find()) what(*list);
            });
        });
    }
    const auto* button = dynamic_cast<CButton*>(&control);
    if (!button) return new QWidget(m_client);
    QAbstractButton* widget = nullptr;
    if (button->isCheckBox()) {
        widget = new CheckBox(m_client);
    } else {
        auto* push = new QPushButton(m_client);
        push->setAutoDefault(true); // while it has the focus
        markDefault(*push, button->isDefault());
        widget = push;
    }
    connect(widget, &QAbstractButton::clicked, this,
            [this, id] { act([id](CDialogEx& dialog) { dialog.userCommand(id); }); });
    return widget;
}

void DialogWidget::showControl(QWidget& widget, CWnd& control) {
    const CRect place = control.GetWindowRect();
    const QString text = toQt(control.GetWindowText());
    int width = place.Width();
    if (auto* button = qobject_cast<QAbstractButton*>(&widget)) {
        button->setText(text);
        button->setAccessibleName(QString(text).remove(QLatin1Char('&')));
    } else {
        widget.setAccessibleName(text.isEmpty() ? windowTitle() : text);
    }
    if (auto* box = qobject_cast<QCheckBox*>(&widget)) {
        box->setChecked(static_cast<CButton&>(control).GetCheck());
        width = qMax(width, box->sizeHint().width()); // styles have larger marks than the template's
    }
    widget.setGeometry(place.left, place.top, width, place.Height());
    widget.setEnabled(!(control.GetStyle() & disabled));
    if (m_dialog->IsWindowVisible()) widget.setVisible(control.IsWindowVisible()); // in a hidden one none is
    if (auto* list = dynamic_cast<ListView*>(&widget)) list->showControl();
}

void DialogWidget::addMenu(QMenu& menu, const CMenu& items) {
    connect(&menu, &QMenu::aboutToShow, this, [this, &menu] { showMenu(menu); });
    for (int k = 0; k < items.GetMenuItemCount(); ++k) {
        const MenuItem item = items.GetMenuItem(k);
        if (const CMenu* popup = items.GetSubMenu(k)) {
            QMenu& inside = *menu.addMenu(QString());
            setMenuText(*inside.menuAction(), item.text);
            addMenu(inside, *popup);
        } else if (item.id == 0) {
            menu.addSeparator();
        } else {
            QAction* action = menu.addAction(QString());
            setMenuText(*action, item.text);
            action->setData(item.id);
            // Not before the menu is done with the click: the command may end the dialog and its menus.
            connect(
                action, &QAction::triggered, this,
                [this, id = item.id] { act([id](CDialogEx& dialog) { dialog.userCommand(id); }); },
                Qt::QueuedConnection);
        }
    }
}

// Updates what is enabled and checked, each time before a menu is shown: menus have no peer to be told.
void DialogWidget::showMenu(const QWidget& menu) {
    for (QAction* action : menu.actions()) {
        if (action->menu()) showMenu(*action->menu());
        std::int32_t position = 0;
        const std::int32_t id = action->data().toInt();
        const CMenu* owner = m_dialog && id ? m_dialog->menuBar().find(id, position) : nullptr;
        if (!owner) continue;
        const MenuItem item = owner->GetMenuItem(position);
        action->setEnabled(item.enabled);
        action->setCheckable(item.checked);
        action->setChecked(item.checked);
    }
}

} // namespace icawave::qt
