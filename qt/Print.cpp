// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/qt/QtFrontEnd.h>

#include "qt/DefaultMark.h"
#include "qt/DialogWidget.h"
#include "qt/ListView.h"
#include "qt/MenuText.h"
#include "qt/Text.h"

#include <QCheckBox>
#include <QHeaderView>
#include <QMenuBar>

namespace icawave::qt {

namespace {

std::string utf8(const QString& text) {
    return fromQt(text).utf8();
}

std::string quoted(const QString& text) {
    return '"' + utf8(text) + '"';
}

void printMenu(const QWidget& menu, const std::string& indent, std::string& out) {
    for (const QAction* action : menu.actions()) {
        if (action->menu()) {
            out += indent + "menu " + quoted(menuText(*action)) + "\n";
            printMenu(*action->menu(), indent + "  ", out);
        } else if (action->isSeparator()) {
            out += indent + "---\n";
        } else {
            out += indent + "item " + std::to_string(action->data().toInt()) + " " +
                   quoted(menuText(*action)) + (action->isEnabled() ? "" : " greyed") +
                   (action->isChecked() ? " checked" : "") + "\n";
        }
    }
}

void printList(const ListView& view, const std::string& indent, std::string& out) {
    const QAbstractItemModel& model = *view.model();
    for (int c = 0; c < model.columnCount(); ++c)
        out += indent + "column " + quoted(model.headerData(c, Qt::Horizontal, Qt::DisplayRole).toString()) +
               " " + model.headerData(c, Qt::Horizontal, ListModel::widthRole).toString().toStdString() +
               "\n";
    for (int r = 0; r < model.rowCount(); ++r) {
        out += indent + "row " + std::to_string(r) + " image " +
               std::to_string(model.index(r, 0).data(ListModel::imageRole).toInt());
        if (view.selectionModel()->isRowSelected(r)) out += " selected";
        if (view.currentIndex().row() == r) out += " focused";
        out += ":";
        for (int c = 0; c < model.columnCount(); ++c)
            out += (c ? " | " : " ") + utf8(model.index(r, c).data().toString());
        out += "\n";
    }
}

void printControl(const QWidget& widget, std::string& out) {
    const auto* button = qobject_cast<const QAbstractButton*>(&widget);
    const auto* push = qobject_cast<const QPushButton*>(&widget);
    const auto* list = dynamic_cast<const ListView*>(&widget);
    out += push ? "  button" : button ? "  check box" : list ? "  list" : "  window";
    out += " " + utf8(widget.objectName());
    if (button && !button->text().isEmpty()) out += " " + quoted(button->text());
    if (push && isDefault(*push)) out += " default";
    if (button && button->isChecked()) out += " checked";
    if (!widget.isVisible()) out += " hidden";
    out += "\n";
    if (list) printList(*list, "    ", out);
}

} // namespace

std::string printWindow(const CWnd& dialog) {
    auto* widget = dynamic_cast<DialogWidget*>(widgetOf(dialog));
    if (!widget) return {};
    widget->showState();
    std::string out = "dialog";
    if (!widget->windowTitle().isEmpty()) out += " " + quoted(widget->windowTitle());
    out += widget->isVisible() ? "\n" : " hidden\n";
    if (widget->menuBar()) printMenu(*widget->menuBar(), "  ", out);
    for (const QWidget* control : widget->client().findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        printControl(*control, out);
    return out;
}

} // namespace icawave::qt
