// SPDX-License-Identifier: BSD-3-Clause
// The Qt front end: the library's windows, messages and file dialogs as real ones of a host's QApplication.
//
//     QApplication application(argc, argv);
//     icawave::qt::QtFrontEnd frontEnd;          // installed while it lives
//     CFaceIcazq package;
//     icawave::qt::Viewer viewer(topography);    // any QWidget of the host
//     package.viewerAdd(&viewer);                // topography->update() at every viewerInvalidate
//     package.showDlgIcaManager(&viewer);        // the manager stays above the viewer's window
//
// Needs no event loop of its own and no order of destruction: the widgets go with the library's windows, with
// the front end or with the QApplication, whichever ends first. Everything runs on the user-interface thread.
#pragma once

#include <icawave/Export.h>
#include <icawave/platform/Dialog.h>

#include <string>

class QWidget;

namespace icawave::qt {

// While there is no QApplication it behaves as if no front end were installed.
class ICAWAVE_EXPORT QtFrontEnd : public UiFrontEnd {
public:
    // Brings the front end before it back. The widgets of the dialogs it showed are destroyed, the dialogs
    // themselves go on without.
    ~QtFrontEnd() override;

    void messageBox(const CString& text) override; // above the active window, modal
    std::optional<CString> fileDialog(const FileDialogRequest& request) override;
    std::int32_t popupMenu(const std::vector<MenuItem>& items, std::int32_t x, std::int32_t y) override;
    void beginWaitCursor() override;
    void endWaitCursor() override;
    DialogBaseUnits dialogBaseUnits() override; // of the application's font, in which dialogs are shown
    std::unique_ptr<WindowPeer> createPeer(CWnd& dialog) override;

private:
    InstalledFrontEnd m_installed{*this};
};

// A host's widget as a window of the library: repainted when it is invalidated, visible while the widget is,
// of the widget's size. Qt keeps what is still to be painted, so `invalidations` stays empty. Skipped once
// the widget is destroyed; the Viewer itself must be taken out of the packages before it is destroyed.
class ICAWAVE_EXPORT Viewer : public CWnd {
public:
    explicit Viewer(QWidget* widget); // not owned
};

// The real widget that shows a window: a dialog's QDialog, a viewer's widget. Null when there is none.
ICAWAVE_EXPORT QWidget* widgetOf(const CWnd& window);

// What the real widgets of a dialog show, in the form of icawave::printWindow: for the same package the texts
// are equal. Empty when there is no widget.
ICAWAVE_EXPORT std::string printWindow(const CWnd& dialog);

} // namespace icawave::qt
