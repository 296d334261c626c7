// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "qt/DialogWidget.h"

#include <QPointer>

namespace icawave::qt {

// A peer with a real widget.
class WidgetPeer : public WindowPeer {
public:
    virtual QWidget* widget() const = 0; // null when it is gone
};

// Keeps a dialog's widget. One that was destroyed from outside is made again when the dialog is shown again.
class DialogPeer : public WidgetPeer {
public:
    DialogPeer(CDialogEx& dialog, const UiFrontEnd& frontEnd);
    ~DialogPeer() override;

    static void releaseAll(const UiFrontEnd& frontEnd); // takes the peers away from the dialogs it showed

    void show(bool visible) override;
    void changed() override;
    void invalidated(bool erase) override;
    bool isVisible() const override { return m_widget && m_widget->isVisible(); }
    QWidget* widget() const override { return m_widget; }

    void lost() { m_widget = nullptr; } // the widget is being destroyed

private:
    static void loseAll(); // the QApplication ends, and no widget outlives it
    void makeWidget();

    CDialogEx& m_dialog;
    const UiFrontEnd& m_frontEnd;
    QPointer<QWidget> m_parent; // the real window above which it is shown
    DialogWidget* m_widget = nullptr;
};

} // namespace icawave::qt
