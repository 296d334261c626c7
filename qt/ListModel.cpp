// SPDX-License-Identifier: BSD-3-Clause
#include "qt/ListView.h"

#include "qt/Pictures.h"
#include "qt/Text.h"

namespace icawave::qt {

namespace {

Qt::Alignment alignment(int format) {
    const Qt::Alignment across = format == 1   ? Qt::AlignRight
                                 : format == 2 ? Qt::AlignHCenter
                                               : Qt::AlignLeft;
    return across | Qt::AlignVCenter;
}

} // namespace

bool ListModel::updateColumns() {
    const CListCtrl* list = control();
    std::vector<Column> columns;
    for (int c = 0; list && c < list->GetColumnCount(); ++c)
        columns.push_back(
            {list->GetColumnText(c), list->GetColumnWidth(c), alignment(list->GetColumnFormat(c))});
    if (columns == m_columns) return false;
    beginResetModel();
    m_columns = std::move(columns);
    endResetModel();
    return true;
}

// Inserts and removes rows at the end and repaints all others: a reset would lose the scroll position.
void ListModel::updateRows() {
    const CListCtrl* list = control();
    const int rows = list ? list->GetItemCount() : 0;
    if (rows < m_rows) {
        beginRemoveRows({}, rows, m_rows - 1);
        m_rows = rows;
        endRemoveRows();
    } else if (rows > m_rows) {
        beginInsertRows({}, m_rows, rows - 1);
        m_rows = rows;
        endInsertRows();
    }
    if (rows > 0 && !m_columns.empty()) emit dataChanged(index(0, 0), index(rows - 1, columnCount() - 1));
}

QIcon ListModel::icon(int row, const QColor& ink) const {
    const CListCtrl* list = control();
    const CImageList* small = list ? list->GetImageList(1) : nullptr;
    const CImageList* large = list ? list->GetImageList(0) : nullptr;
    if (!small) return {};
    const int image = list->GetItemImage(row);
    return makeIcon(small->GetImage(image), large ? large->GetImage(image) : nullptr, ink);
}

int ListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

// A row may be gone from the control before the model is updated: the control then gives an empty text and no
// image.
QVariant ListModel::data(const QModelIndex& index, int role) const {
    const CListCtrl* list = control();
    if (!list || !index.isValid()) return {};
    if (role == Qt::DisplayRole) return toQt(list->GetItemText(index.row(), index.column()));
    if (role == Qt::TextAlignmentRole) return QVariant(m_columns[index.column()].alignment);
    if (index.column() != 0) return {};
    if (role == Qt::ToolTipRole) // names are often cut short
        return plainText(oneLine(toQt(list->GetItemText(index.row(), 0))));
    if (role == imageRole) return list->GetItemImage(index.row());
    if (role == Qt::DecorationRole) return icon(index.row(), {});
    return {};
}

QVariant ListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount()) return {};
    const Column& column = m_columns[section];
    if (role == Qt::DisplayRole) return toQt(column.title);
    if (role == Qt::TextAlignmentRole) return QVariant(column.alignment);
    if (role == widthRole) return column.width;
    return {};
}

} // namespace icawave::qt
