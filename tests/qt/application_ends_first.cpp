// SPDX-License-Identifier: BSD-3-Clause
// The front end before there is a QApplication, and windows that outlive one.
#include <icawave/icawave.h>
#include <icawave/qt/QtFrontEnd.h>

#include <QApplication>

#include <cstdio>

namespace {

int failures = 0;

void expect(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "failed: %s\n", what);
    ++failures;
}

} // namespace

int main(int argc, char** argv) {
    icawave::qt::QtFrontEnd frontEnd;
    CFaceIcazq early, package;
    const CWaitCursor wait;
    AfxMessageBox(u"a line on stderr");
    early.showDlgIcaManager(nullptr);
    expect(!icawave::qt::widgetOf(*early.m_dlgIcaManager), "no widget without an application");
    CDlgIcaWaveManager* dialog = nullptr;
    for (int run = 0; run < 2; ++run) {
        const QApplication application(argc, argv);
        package.showDlgIcaManager(nullptr);
        dialog = package.m_dlgIcaManager;
        expect(icawave::qt::widgetOf(*dialog) && dialog->IsWindowVisible(), "a widget with one");
        QApplication::processEvents();
    }
    expect(!icawave::qt::widgetOf(*dialog) && !dialog->IsWindowVisible(),
           "the widget went with the application");
    package.showDlgIcaManager(nullptr);
    dialog->userCommand(4450);
    expect(dialog->m_listIcaWave.GetColumnCount() == 8, "the dialog stays");
    return failures;
}
