// SPDX-License-Identifier: BSD-3-Clause
#include "qt/DialogPeer.h"

#include <icawave/qt/QtFrontEnd.h>

#include "qt/Text.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace icawave::qt {

namespace {

std::vector<DialogPeer*> peers; // all that live

} // namespace

DialogPeer::DialogPeer(CDialogEx& dialog, const UiFrontEnd& frontEnd)
    : m_dialog(dialog), m_frontEnd(frontEnd) {
    if (dialog.GetParent()) {
        if (QWidget* parent = widgetOf(*dialog.GetParent())) m_parent = parent->window();
    }
    peers.push_back(this);
    makeWidget();
}

DialogPeer::~DialogPeer() {
    std::erase(peers, this);
    if (m_widget) std::exchange(m_widget, nullptr)->release();
}

void DialogPeer::releaseAll(const UiFrontEnd& frontEnd) {
    for (const std::vector<DialogPeer*> all = peers; DialogPeer * peer : all) {
        if (&peer->m_frontEnd != &frontEnd) continue;
        peer->m_dialog.ShowWindow(0); // nobody sees it from now on
        peer->m_dialog.attachPeer(nullptr);
    }
}

void DialogPeer::loseAll() {
    for (DialogPeer* peer : peers) delete peer->m_widget;
}

// Qt forgets the routines of a QApplication that ended.
void DialogPeer::makeWidget() {
    static QPointer<QCoreApplication> watched;
    if (watched != QCoreApplication::instance()) {
        watched = QCoreApplication::instance();
        qAddPostRoutine(loseAll);
    }
    m_widget = new DialogWidget(m_dialog, *this, m_parent);
    m_widget->showState();
}

void DialogPeer::show(bool visible) {
    if (visible && !m_widget && hasApplication()) makeWidget();
    if (!m_widget) return;
    if (visible && m_widget->isVisible()) { // perhaps behind others
        m_widget->raise();
        m_widget->activateWindow();
    }
    if (visible) {
        m_widget->showState();
        m_widget->setWindowState(m_widget->windowState() & ~Qt::WindowMinimized);
    }
    m_widget->setVisible(visible);
}

void DialogPeer::changed() {
    if (m_widget) m_widget->showLater();
}

void DialogPeer::invalidated(bool) {
    m_dialog.invalidations.clear(); // Qt keeps what is to be painted
    if (m_widget) m_widget->update();
}

} // namespace icawave::qt
