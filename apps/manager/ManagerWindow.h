// SPDX-License-Identifier: BSD-3-Clause
// The window of icawave_manager: the manager of one package file, with a menu to save it.
#pragma once

#include <icawave/PackageFile.h>

#include <QMainWindow>

#include <filesystem>
#include <optional>

namespace icawave::qt {

// Nothing is lost without a question: neither what the user changed when the window closes, nor what another
// program wrote to the file since it was loaded.
class ManagerWindow : public QMainWindow {
public:
    // Loads a package; its current data set is selected. FileError for a damaged one too: saving it would
    // drop what could not be loaded.
    explicit ManagerWindow(const std::filesystem::path& path);

    CFaceIcazq& package() { return m_package; }
    QWidget& manager() const { return *centralWidget(); }

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject*, QEvent* event) override;

private:
    bool save();   // false: not saved, and the user knows
    bool saveAs(); // a path that the user chooses
    bool changed();
    void showTitle();

    std::optional<PackageFile> m_file;
    CFaceIcazq m_package;
    std::size_t m_saved = 0; // what stands in the file, see recordDigest
};

} // namespace icawave::qt
