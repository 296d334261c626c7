// SPDX-License-Identifier: BSD-3-Clause
// A dialog of the library as a real one: its controls at their places, its menu bar, its icon.
#pragma once

#include <icawave/platform/Dialog.h>

#include <QDialog>

#include <functional>
#include <optional>

class QMenu;
class QMenuBar;

namespace icawave::qt {

class DialogPeer;

// Controls are found again by their ids, also by tests: an id is the object name of its widget.
class DialogWidget : public QDialog {
public:
    DialogWidget(CDialogEx& dialog, DialogPeer& peer, QWidget* parent);
    ~DialogWidget() override; // tells the peer, unless it was released

    static DialogWidget* acting(); // whose user's act is being run; null: none

    void release();         // the dialog is gone, and so is the widget: at once, or after the event it is in
    void showLater();       // asks for one showState in this turn of the event loop
    void showState();       // of the dialog and its controls, as it is now
    void reject() override; // Escape and the close box
    void setVisible(bool visible) override; // where the user had it last

    const QMenuBar* menuBar() const { return m_menuBar; } // null: none
    const QWidget& client() const { return *m_client; }   // the controls' parent

protected:
    void resizeEvent(QResizeEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    // Runs what the user did. Exceptions end here, as one message.
    void act(const std::function<void(CDialogEx&)>& what);
    void addControls();
    QWidget* newControl(CWnd& control);
    void addMenu(QMenu& menu, const CMenu& items);
    void showControl(QWidget& widget, CWnd& control);
    void showMenu(const QWidget& menu);
    void showSize();
    int menuHeight(int width) const;

    CDialogEx* m_dialog; // null when it is gone
    DialogPeer* m_peer;
    QMenuBar* m_menuBar = nullptr;
    QWidget* m_client;                    // what the library takes for the dialog: all but the menu bar
    QSize m_size;                         // of the client area, as the library last said
    std::optional<QPoint> m_position;     // of the window when it was hidden
    const IconResource* m_icon = nullptr; // that is shown
    bool m_dirty = false;
    int m_acts = 0; // being run
};

} // namespace icawave::qt
