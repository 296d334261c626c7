// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/qt/QtFrontEnd.h>

#include "qt/DialogPeer.h"

#include <QEvent>

namespace icawave::qt {

namespace {

// Watches the widget's size.
class ViewerPeer : public WidgetPeer, public QObject {
public:
    ViewerPeer(CWnd& viewer, QWidget* widget) : m_viewer(viewer), m_widget(widget) {
        if (widget) widget->installEventFilter(this);
    }

    void invalidated(bool) override {
        m_viewer.invalidations.clear();
        if (m_widget) m_widget->update();
    }
    bool isVisible() const override { return m_widget && m_widget->isVisible(); }
    QWidget* widget() const override { return m_widget; }

    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Resize && m_widget)
            m_viewer.MoveWindow(0, 0, m_widget->width(), m_widget->height());
        return false;
    }

private:
    CWnd& m_viewer;
    QPointer<QWidget> m_widget;
};

} // namespace

Viewer::Viewer(QWidget* widget) {
    Create(true, widget ? widget->width() : 0, widget ? widget->height() : 0);
    attachPeer(std::make_unique<ViewerPeer>(*this, widget));
}

QWidget* widgetOf(const CWnd& window) {
    const auto* peer = dynamic_cast<const WidgetPeer*>(window.peer());
    return peer ? peer->widget() : nullptr;
}

} // namespace icawave::qt
