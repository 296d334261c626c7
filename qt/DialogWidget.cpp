// SPDX-License-Identifier: BSD-3-Clause
#include "qt/DialogWidget.h"

#include <icawave/platform/ScriptedFrontEnd.h>

#include "qt/DialogPeer.h"
#include "qt/MenuText.h"
#include "qt/Pictures.h"
#include "qt/Text.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenuBar>
#include <QResizeEvent>
#include <QScopedValueRollback>
#include <QScreen>
#include <QWindow>

namespace icawave::qt {

namespace {

constexpr std::uint32_t sizingBorder = 0x00040000;

QSize sizeOf(const CRect& place) {
    return {place.Width(), place.Height()};
}

QPointer<DialogWidget> actingDialog;

} // namespace

DialogWidget* DialogWidget::acting() {
    return actingDialog;
}

DialogWidget::DialogWidget(CDialogEx& dialog, DialogPeer& peer, QWidget* parent)
    : QDialog(parent), m_dialog(&dialog), m_peer(&peer), m_client(new QWidget(this)) {
    setFont(QApplication::font()); // whose dialog units the places were made of
    addControls();
    if (dialog.menuBar().GetMenuItemCount() > 0) {
        m_menuBar = new QMenuBar(this);
        for (int k = 0; k < dialog.menuBar().GetMenuItemCount(); ++k) {
            QMenu* menu = m_menuBar->addMenu(QString());
            setMenuText(*menu->menuAction(), dialog.menuBar().GetMenuItem(k).text);
            if (const CMenu* items = dialog.menuBar().GetSubMenu(k)) addMenu(*menu, *items);
        }
    }
    const QSize least = m_client->minimumSize();
    setMinimumSize(least.width(), least.height() + menuHeight(least.width()));
}

DialogWidget::~DialogWidget() {
    if (std::exchange(m_dialog, nullptr)) m_peer->lost();
}

void DialogWidget::release() {
    m_dialog = nullptr;
    hide();
    if (m_acts > 0)
        deleteLater();
    else
        delete this;
}

void DialogWidget::act(const std::function<void(CDialogEx&)>& what) {
    if (!m_dialog) return;
    const QPointer<DialogWidget> self = this;
    const QScopedValueRollback act(actingDialog, self);
    ++m_acts;
    try {
        runUserAct([&] { what(*m_dialog); });
    } catch (const std::exception& failure) {
        uiFrontEnd().messageBox(failure.what());
    }
    if (self) --m_acts;
}

void DialogWidget::showLater() {
    if (std::exchange(m_dirty, true)) return;
    QMetaObject::invokeMethod(
        this, [this] { showState(); }, Qt::QueuedConnection);
}

void DialogWidget::showState() {
    m_dirty = false;
    if (!m_dialog) return;
    setWindowTitle(toQt(m_dialog->GetWindowText()));
    setAccessibleName(windowTitle());
    if (m_icon != m_dialog->icon()) {
        m_icon = m_dialog->icon();
        setWindowIcon(m_icon ? makeIcon(&m_icon->small, &m_icon->large) : QIcon());
    }
    showSize();
    for (QWidget* widget : m_client->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        CWnd* control = m_dialog->GetDlgItem(widget->objectName().toInt());
        if (control) showControl(*widget, *control);
        // Destroyed before its dialog.
        else
            widget->hide();
    }
    if (m_menuBar) showMenu(*m_menuBar);
}

// Takes the library's size only when that has changed: otherwise the size is the one that the user gave.
void DialogWidget::showSize() {
    const QSize size = sizeOf(m_dialog->GetClientRect());
    if (size == m_size) return;
    m_size = size;
    const QSize whole(size.width(), size.height() + menuHeight(size.width()));
    if (m_dialog->GetStyle() & sizingBorder)
        resize(whole);
    else
        setFixedSize(whole);
}

void DialogWidget::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    const int top = menuHeight(width());
    if (m_menuBar) m_menuBar->setGeometry(0, 0, width(), top);
    m_client->setGeometry(0, top, width(), height() - top);
    const QSize size = m_client->size();
    const QPointer<DialogWidget> self = this;
    act([size](CDialogEx& dialog) { dialog.userResize(size.width(), size.height()); });
    if (self && m_dialog) m_size = size, showState();
}

int DialogWidget::menuHeight(int width) const {
    return !m_menuBar || m_menuBar->isNativeMenuBar() ? 0 : m_menuBar->heightForWidth(width);
}

void DialogWidget::reject() {
    act([](CDialogEx& dialog) { dialog.SendMessage(message::close, 0, 0); });
}

// Shows the window where it was when it was hidden. By themselves Qt would centre a dialog, and the window
// system would place a window without a position, each time that it is shown.
void DialogWidget::setVisible(bool visible) {
    if (isWindow() && visible != isVisible() && !isMaximized() && !isFullScreen()) {
        if (!visible) {
            m_position = pos();
        } else if (m_position && windowHandle() && QGuiApplication::screenAt(*m_position)) {
            setAttribute(Qt::WA_Moved);
            windowHandle()->setFramePosition(*m_position); // move() does nothing: Qt has this position
        }
    }
    QDialog::setVisible(visible);
}

void DialogWidget::contextMenuEvent(QContextMenuEvent* event) {
    const QWidget* widget = childAt(event->pos());
    const QPoint at = event->globalPos();
    act([=, id = widget ? widget->objectName().toInt() : 0](CDialogEx& dialog) {
        CWnd* control = id ? dialog.GetDlgItem(id) : nullptr;
        dialog.SendMessage(message::contextMenu,
                           reinterpret_cast<std::uintptr_t>(control ? control : &dialog),
                           (at.x() & 0xFFFF) | (at.y() & 0xFFFF) << 16);
    });
}

void DialogWidget::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F10 && event->modifiers() == Qt::NoModifier && m_menuBar)
        m_menuBar->setActiveAction(m_menuBar->actions().front());
    else
        QDialog::keyPressEvent(event);
}

} // namespace icawave::qt
