// SPDX-License-Identifier: BSD-3-Clause
// The list control as a tree view without a tree. Rows, selection and focus are the control's: the view
// passes the user's acts to it and shows its state afterwards.
#pragma once

#include <icawave/platform/ListCtrl.h>

#include <QAbstractTableModel>
#include <QIcon>
#include <QTreeView>

#include <functional>
#include <vector>

namespace icawave::qt {

// Translates indexes and roles into questions to the control. The control may change at any time; the view
// learns of it by updateColumns and updateRows.
class ListModel : public QAbstractTableModel {
public:
    static constexpr int imageRole = Qt::UserRole; // the index of the row's image
    static constexpr int widthRole = Qt::UserRole; // of a header: the column's width in the control, pixels

    using Find = std::function<CListCtrl*()>; // the control, null when it is gone
    ListModel(QObject* parent, Find find) : QAbstractTableModel(parent), m_find(std::move(find)) {}

    CListCtrl* control() const { return m_find(); }
    bool updateColumns(); // whether they are others than before
    void updateRows();
    QIcon icon(int row, const QColor& ink) const; // null: none

    int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : m_rows; }
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Column {
        CString title;
        int width;
        Qt::Alignment alignment;
        bool operator==(const Column&) const = default;
    };
    Find m_find;
    int m_rows = 0; // as the view knows them
    std::vector<Column> m_columns;
};

class ListView : public QTreeView {
public:
    // Runs a user's act on the control.
    using Act = std::function<void(const std::function<void(CListCtrl&)>&)>;
    ListView(QWidget* parent, ListModel::Find find, Act act);

    void showControl(); // as it is now

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override { mousePressEvent(event); }
    void mouseMoveEvent(QMouseEvent*) override {}
    void mouseReleaseEvent(QMouseEvent*) override {}
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void focusInEvent(QFocusEvent* event) override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex&, const QEvent*) const override {
        return QItemSelectionModel::NoUpdate; // the control decides
    }

private:
    int rowAt(int y) const;
    int rowAfter(int key) const; // where a key moves the focus; -1: no such key, or no rows
    void keyToRow(int row, const QKeyEvent& event);
    void requestMenu(); // by keyboard
    void showSelection();
    void giveSpareWidth();

    ListModel& m_model; // its child
    Act m_act;
    int m_leastName = 0;        // width of the first column, pixels
    bool m_resizing = false;    // of columns, by ourselves
    bool m_nameIsUsers = false; // the user gave the first column a width
};

} // namespace icawave::qt
