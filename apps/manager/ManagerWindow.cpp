// SPDX-License-Identifier: BSD-3-Clause
#include "apps/manager/ManagerWindow.h"

#include <icawave/icawave.h>
#include <icawave/qt/QtFrontEnd.h>

#include "qt/Text.h"

#include <QCloseEvent>
#include <QFileInfo>
#include <QMenuBar>
#include <QMessageBox>
#include <QTimer>
#include <QTreeView>

#include <string_view>

namespace icawave::qt {

namespace {

class Digest : public CFile {
public:
    void Write(const void* bytes, std::int64_t count) override {
        m_length += count;
        const std::string_view piece(static_cast<const char*>(bytes), count);
        value = value * 31 + std::hash<std::string_view>()(piece);
    }
    void Flush() override {}
    void Close() override {}
    std::int64_t GetPosition() const override { return m_length; }
    std::int64_t GetLength() const override { return m_length; }

    std::size_t value = 0;

private:
    std::int64_t m_length = 0;
};

// A number that stays as long as nothing that is saved changes.
std::size_t recordDigest(CFaceIcazq& package) {
    Digest file;
    CArchive archive(&file, CArchive::store);
    package.serialize(archive);
    archive.Close();
    return file.value;
}

// The user is told why not.
template <class Act>
bool succeeds(QWidget* window, Act&& act) {
    try {
        act();
        return true;
    } catch (const std::exception& failure) {
        QMessageBox box(QMessageBox::Critical, QApplication::applicationDisplayName(),
                        QString::fromUtf8(failure.what()), QMessageBox::Ok, window);
        box.setTextFormat(Qt::PlainText);
        box.exec();
        return false;
    }
}

} // namespace

ManagerWindow::ManagerWindow(const std::filesystem::path& path) : m_file(path) {
    if (const auto faults = m_file->load(m_package); !faults.empty())
        throw FileError(m_file->path(), "damaged: " + faults.front().record + ": " + faults.front().text);
    QMenu* menu = menuBar()->addMenu(QStringLiteral("&Package"));
    menu->addAction(QStringLiteral("&Save package"), QKeySequence::Save, this, [this] { save(); });
    menu->addAction(QStringLiteral("Save package &as..."), Qt::CTRL | Qt::SHIFT | Qt::Key_S, this,
                    [this] { saveAs(); });
    menu->addSeparator();
    menu->addAction(QStringLiteral("&Quit"), QKeySequence::Quit, this, &QWidget::close);

    m_package.showDlgIcaManager(nullptr);
    CDlgIcaWaveManager& dialog = *m_package.m_dlgIcaManager;
    QWidget* widget = widgetOf(dialog);
    const QSize size = widget->size();
    setCentralWidget(widget);
    dialog.ShowWindow(1); // no window any more, but a part of one
    widget->installEventFilter(this);
    setWindowIcon(widget->windowIcon());
    resize(size + QSize(0, menuBar()->sizeHint().height()));
    showTitle();

    m_saved = recordDigest(m_package);
    if (!m_package.hasIcaData4show()) return;
    dialog.m_listIcaWave.userClick(m_package.getIcaData(-1)->m_listID, false, false);
    QTimer::singleShot(0, widget, [widget] { // once the view has the rows
        auto& view = *widget->findChild<QTreeView*>();
        view.scrollTo(view.currentIndex());
    });
}

void ManagerWindow::closeEvent(QCloseEvent* event) {
    if (!changed()) return;
    QMessageBox box(QMessageBox::Warning, QApplication::applicationDisplayName(),
                    QStringLiteral("The package has changed. Save it?"),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    box.setDefaultButton(QMessageBox::Save);
    const int answer = box.exec();
    event->setAccepted(answer == QMessageBox::Discard || (answer == QMessageBox::Save && save()));
}

// The manager hides when its user is done with it.
bool ManagerWindow::eventFilter(QObject*, QEvent* event) {
    if (event->type() == QEvent::Hide && !event->spontaneous()) {
        QTimer::singleShot(0, this, [this] {
            if (isVisible() && !close()) m_package.m_dlgIcaManager->ShowWindow(1);
        });
    }
    return false;
}

bool ManagerWindow::save() {
    return succeeds(this, [this] {
        m_file->replace(m_package);
        m_saved = recordDigest(m_package);
    });
}

bool ManagerWindow::saveAs() {
    const std::optional<CString> path =
        uiFrontEnd().fileDialog({true, u"Packages(*.icpkg)|*.icpkg|All Files(*.*)|*.*||",
                                 CString(m_file->path().native()), FileDialogRequest::overwritePrompt});
    return path && succeeds(this, [&] {
               PackageFile::save(pathOf(*path), m_package, m_file->readSections());
               m_file.emplace(pathOf(*path));
               m_saved = recordDigest(m_package);
               showTitle();
           });
}

bool ManagerWindow::changed() {
    try {
        return recordDigest(m_package) != m_saved;
    } catch (const std::exception&) { // for all we know
        return true;
    }
}

void ManagerWindow::showTitle() {
    setWindowTitle(QFileInfo(toQt(CString(m_file->path().native()))).fileName() + QStringLiteral(" - ") +
                   manager().windowTitle());
}

} // namespace icawave::qt
