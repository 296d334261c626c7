// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/qt/QtFrontEnd.h>

#include "qt/DialogPeer.h"
#include "qt/MenuText.h"
#include "qt/Text.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QFontMetrics>
#include <QMenu>
#include <QMessageBox>

namespace icawave::qt {

namespace {

// Runs a modal dialog, which its parent may destroy meanwhile; the pointer to it is null then. While it is
// open, an arrow replaces the wait cursor, which would cover the dialog as well.
template <class Dialog>
int run(const QPointer<Dialog>& dialog) {
    const bool waiting = QApplication::overrideCursor() != nullptr;
    if (waiting) QApplication::setOverrideCursor(Qt::ArrowCursor);
    const int result = dialog->exec();
    if (waiting) QApplication::restoreOverrideCursor();
    return result;
}

// "ICA Data(*.icd)|*.icd|All Files(*.*)|*.*||" becomes "ICA Data (*.icd)" and "All Files (*)", the same sets
// of files.
QStringList nameFilters(const CString& filter) {
    const QStringList parts = toQt(filter).split(QLatin1Char('|'));
    QStringList filters;
    for (qsizetype k = 0; k + 1 < parts.size() && !parts[k].isEmpty(); k += 2) {
        QStringList patterns = parts[k + 1].split(QLatin1Char(';'), Qt::SkipEmptyParts);
        for (QString& pattern : patterns) {
            if (pattern == QLatin1String("*.*")) pattern = QStringLiteral("*"); // a name without a dot, too
        }
        const QString name = parts[k].section(QLatin1Char('('), 0, 0).trimmed();
        filters += QStringLiteral("%1 (%2)").arg(name, patterns.join(QLatin1Char(' ')));
    }
    return filters;
}

// The dialog in which the user acts, or else the active window: while another dialog closes, none is active.
QWidget* owner() {
    if (QWidget* modal = QApplication::activeModalWidget()) return modal;
    return DialogWidget::acting() ? DialogWidget::acting() : QApplication::activeWindow();
}

// Asks before a file is replaced. The file that is written may be another than the path chosen
// (`writtenPath`), so the toolkit's own question would be about the wrong one.
bool mayWrite(const FileDialogRequest& request, const CString& chosen) {
    if (!request.save || !(request.flags & FileDialogRequest::overwritePrompt)) return true;
    const QFileInfo file(toQt(request.writtenPath ? request.writtenPath(chosen) : chosen));
    if (!file.exists() || file.isDir()) return true; // over a folder nothing is written
    const QPointer<QMessageBox> box =
        new QMessageBox(QMessageBox::Warning, QApplication::applicationDisplayName(),
                        QStringLiteral("%1 already exists.\nDo you want to replace it?").arg(file.fileName()),
                        QMessageBox::Yes | QMessageBox::No, owner());
    box->setTextFormat(Qt::PlainText);
    box->setDefaultButton(QMessageBox::No);
    const bool may = run(box) == QMessageBox::Yes;
    delete box;
    return may;
}

} // namespace

QtFrontEnd::~QtFrontEnd() {
    DialogPeer::releaseAll(*this);
}

void QtFrontEnd::messageBox(const CString& text) {
    if (!hasApplication()) return UiFrontEnd::messageBox(text);
    const QPointer<QMessageBox> box = new QMessageBox(
        QMessageBox::NoIcon, QApplication::applicationDisplayName(), toQt(text), QMessageBox::Ok, owner());
    box->setTextFormat(Qt::PlainText);
    run(box);
    delete box;
}

std::optional<CString> QtFrontEnd::fileDialog(const FileDialogRequest& request) {
    if (!hasApplication()) return std::nullopt;
    const QPointer<QFileDialog> dialog = new QFileDialog(owner());
    dialog->setAcceptMode(request.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog->setFileMode(request.flags & FileDialogRequest::fileMustExist ? QFileDialog::ExistingFile
                                                                         : QFileDialog::AnyFile);
    dialog->setOption(QFileDialog::DontConfirmOverwrite);
    dialog->setNameFilters(nameFilters(request.filter));
    dialog->selectFile(toQt(request.name));
    std::optional<CString> chosen;
    while (dialog && !chosen && run(dialog) == QDialog::Accepted && dialog &&
           !dialog->selectedFiles().isEmpty()) {
        const CString path = fromQt(dialog->selectedFiles().front());
        if (mayWrite(request, path)) chosen = path;
    }
    delete dialog;
    return chosen;
}

std::int32_t QtFrontEnd::popupMenu(const std::vector<MenuItem>& items, std::int32_t x, std::int32_t y) {
    if (!hasApplication()) return 0;
    const QPointer<QMenu> menu = new QMenu(owner());
    for (const MenuItem& item : items) {
        if (item.id == 0) {
            menu->addSeparator();
            continue;
        }
        QAction* action = menu->addAction(QString());
        setMenuText(*action, item.text);
        action->setData(item.id);
        action->setEnabled(item.enabled);
        action->setCheckable(item.checked);
        action->setChecked(item.checked);
    }
    const QAction* chosen = menu->exec({x, y});
    const std::int32_t command = menu && chosen ? chosen->data().toInt() : 0;
    delete menu;
    return command;
}

void QtFrontEnd::beginWaitCursor() {
    if (hasApplication()) QApplication::setOverrideCursor(Qt::WaitCursor);
}

void QtFrontEnd::endWaitCursor() {
    if (hasApplication()) QApplication::restoreOverrideCursor();
}

// As the platform measures a font: the 52 letters give the width, twice halved and rounded.
DialogBaseUnits QtFrontEnd::dialogBaseUnits() {
    if (!hasApplication()) return UiFrontEnd::dialogBaseUnits();
    const QFontMetrics metrics(QApplication::font());
    const int letters =
        metrics.horizontalAdvance(QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"));
    return {(letters / 26 + 1) / 2, metrics.height()};
}

std::unique_ptr<WindowPeer> QtFrontEnd::createPeer(CWnd& window) {
    auto* dialog = dynamic_cast<CDialogEx*>(&window);
    if (!dialog || !hasApplication()) return nullptr;
    return std::make_unique<DialogPeer>(*dialog, *this);
}

} // namespace icawave::qt
