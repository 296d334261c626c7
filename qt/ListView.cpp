// SPDX-License-Identifier: BSD-3-Clause
#include "qt/ListView.h"

#include "qt/Text.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QPointer>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QStyledItemDelegate>

#include <algorithm>

namespace icawave::qt {

namespace {

constexpr std::uint32_t trackSelect = 0x08;

QColor textColour(const QPalette& palette, QStyle::State state) {
    const QPalette::ColorGroup group = !(state & QStyle::State_Enabled) ? QPalette::Disabled
                                       : state & QStyle::State_Active   ? QPalette::Active
                                                                        : QPalette::Inactive;
    return palette.color(group, state & QStyle::State_Selected ? QPalette::HighlightedText : QPalette::Text);
}

// Highlights the row under the pointer where the control has track select, which not every style does by
// itself, and draws icons in the colour of the text beside them.
class RowDelegate : public QStyledItemDelegate {
public:
    RowDelegate(QObject* parent, const ListModel& model) : QStyledItemDelegate(parent), m_model(model) {}

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        if (option->features & QStyleOptionViewItem::HasDecoration)
            option->icon = m_model.icon(index.row(), textColour(option->palette, option->state));
        const CListCtrl* list = m_model.control();
        if (!list || !(list->GetExtendedStyle() & trackSelect)) return;
        if (!(option->state & QStyle::State_MouseOver) || option->state & QStyle::State_Selected) return;
        QColor tint = option->palette.color(QPalette::Highlight);
        tint.setAlphaF(0.15f);
        option->backgroundBrush = tint;
    }
    QString displayText(const QVariant& value, const QLocale&) const override {
        return oneLine(value.toString());
    }

private:
    const ListModel& m_model;
};

} // namespace

ListView::ListView(QWidget* parent, ListModel::Find find, Act act)
    : QTreeView(parent), m_model(*new ListModel(this, std::move(find))), m_act(std::move(act)) {
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true); // thousands of rows are laid out at once
    setAllColumnsShowFocus(true);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setAutoScroll(false);
    setTextElideMode(Qt::ElideMiddle); // names of one recording differ at their ends
    viewport()->setAttribute(Qt::WA_Hover);
    setItemDelegate(new RowDelegate(this, m_model));
    setModel(&m_model);
    header()->setSectionsMovable(false);
    header()->setStretchLastSection(false);
    header()->setSectionsClickable(true);
    header()->setHighlightSections(false);
    connect(header(), &QHeaderView::sectionClicked, this,
            [this](int column) { m_act([column](CListCtrl& list) { list.clickHeader(column); }); });
    connect(header(), &QHeaderView::sectionResized, this,
            [this](int column) { m_nameIsUsers = m_nameIsUsers || (column == 0 && !m_resizing); });
}

void ListView::showControl() {
    const CListCtrl* list = m_model.control();
    if (m_model.updateColumns()) {
        const QScopedValueRollback resizing(m_resizing, true);
        for (int c = 0; c < m_model.columnCount(); ++c)
            header()->resizeSection(c,
                                    qMax(list ? list->GetColumnWidth(c) : 0, header()->sectionSizeHint(c)));
        m_leastName = header()->sectionSize(0);
        m_nameIsUsers = false;
        giveSpareWidth();
    }
    m_model.updateRows();
    showSelection();
}

// The first column, the name's, takes the width that the others leave, until the user resizes it.
void ListView::giveSpareWidth() {
    if (m_nameIsUsers || m_model.columnCount() == 0) return;
    const QScopedValueRollback resizing(m_resizing, true);
    const int others = header()->length() - header()->sectionSize(0);
    header()->resizeSection(0, qMax(m_leastName, viewport()->width() - others));
}

void ListView::resizeEvent(QResizeEvent* event) {
    QTreeView::resizeEvent(event);
    giveSpareWidth();
}

void ListView::showSelection() {
    const CListCtrl* list = m_model.control();
    const int last = m_model.columnCount() - 1;
    QItemSelection selected;
    for (int row = 0, end = 0; list && row < m_model.rowCount(); row = end + 1) {
        const auto isSelected = [&](int k) {
            return k < m_model.rowCount() && list->GetItemState(k, itemSelected);
        };
        for (end = row; isSelected(end); ++end) {
        }
        if (end > row) selected.append({m_model.index(row, 0), m_model.index(end - 1, last)});
    }
    selectionModel()->select(selected, QItemSelectionModel::ClearAndSelect);
    const QModelIndex focused = m_model.index(list ? list->focusedRow() : -1, 0);
    if (focused.isValid()) {
        selectionModel()->setCurrentIndex(focused, QItemSelectionModel::NoUpdate);
    } else {
        selectionModel()->clearCurrentIndex();
    }
}

// A row reaches to the edge of the list, also where no column is.
int ListView::rowAt(int y) const {
    return indexAt({header()->sectionViewportPosition(0) + 1, y}).row();
}

void ListView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    const int row = rowAt(event->position().toPoint().y());
    const bool ctrl = event->modifiers() & Qt::ControlModifier,
               shift = event->modifiers() & Qt::ShiftModifier;
    m_act([=](CListCtrl& list) { list.userClick(row, ctrl, shift); });
}

void ListView::contextMenuEvent(QContextMenuEvent* event) {
    if (event->reason() == QContextMenuEvent::Keyboard) return requestMenu();
    const int row = rowAt(event->pos().y());
    const QPoint at = event->globalPos();
    m_act([=](CListCtrl& list) { list.rightClick(row, at.x(), at.y()); });
}

// At the focused row, or the first selected one, brought into sight.
void ListView::requestMenu() {
    showControl();
    QModelIndex index = currentIndex();
    if (!index.isValid() && selectionModel()->hasSelection())
        index = selectionModel()->selectedRows().front();
    if (index.isValid()) scrollTo(index);
    const QPoint at =
        viewport()->mapToGlobal(index.isValid() ? visualRect(index).bottomLeft() : QPoint(0, 0));
    m_act([=, row = index.row()](CListCtrl& list) { list.contextMenu(row, at.x(), at.y()); });
}

void ListView::keyPressEvent(QKeyEvent* event) {
    const int key = event->key();
    const Qt::KeyboardModifiers modifiers = event->modifiers();
    if (const int row = rowAfter(key); row >= 0) return keyToRow(row, *event);
    if (key == Qt::Key_Left || key == Qt::Key_Right) {
        horizontalScrollBar()->triggerAction(key == Qt::Key_Left ? QScrollBar::SliderSingleStepSub
                                                                 : QScrollBar::SliderSingleStepAdd);
    } else if (event->matches(QKeySequence::SelectAll)) {
        m_act([](CListCtrl& list) { list.selectAll(); });
    } else if (key == Qt::Key_F10 && modifiers & Qt::ShiftModifier) {
        requestMenu();
    } else {
        event->ignore(); // Return, Escape and Tab are the dialog's
    }
}

int ListView::rowAfter(int key) const {
    const CListCtrl* list = m_model.control();
    const int last = list ? list->GetItemCount() - 1 : -1;
    const int focused = list ? list->focusedRow() : -1;
    const int height = std::max(rowHeight(m_model.index(0, 0)), 1);
    const int page = std::max(viewport()->height() / height - 1, 1);
    const auto by = [&](int rows) {
        return last < 0 ? -1 : focused < 0 ? 0 : std::clamp(focused + rows, 0, last);
    };
    switch (key) {
    case Qt::Key_Up:
        return by(-1);
    case Qt::Key_Down:
        return by(1);
    case Qt::Key_PageUp:
        return by(-page);
    case Qt::Key_PageDown:
        return by(page);
    case Qt::Key_Home:
        return std::min(0, last);
    case Qt::Key_End:
        return last;
    case Qt::Key_Space:
        return by(0);
    default:
        return -1;
    }
}

// Acts as a click on that row does; but with the control key, keys other than space only move the focus.
void ListView::keyToRow(int row, const QKeyEvent& event) {
    const bool ctrl = event.modifiers() & Qt::ControlModifier, shift = event.modifiers() & Qt::ShiftModifier;
    const bool moves = event.key() != Qt::Key_Space;
    const QPointer<ListView> self = this;
    m_act([=](CListCtrl& list) {
        if (ctrl && !shift && moves)
            list.SetItemState(row, itemFocused, itemFocused);
        else
            list.userClick(row, ctrl, shift);
    });
    if (!self) return;
    showControl();
    scrollTo(currentIndex());
}

// The keyboard's focus: round the row that has it, or else round the list. Styles mark it faintly or not at
// all.
void ListView::paintEvent(QPaintEvent* event) {
    QTreeView::paintEvent(event);
    if (!hasFocus()) return;
    const QRect all = viewport()->rect(), row = visualRect(currentIndex());
    const bool onRow = row.intersects(all);
    QStyle::State state = QStyle::State_Enabled | QStyle::State_Active;
    state.setFlag(QStyle::State_Selected, onRow && selectionModel()->isSelected(currentIndex()));
    QPainter painter(viewport());
    painter.setPen(textColour(palette(), state));
    painter.drawRect((onRow ? QRect(0, row.top(), all.width(), row.height()) : all).adjusted(0, 0, -1, -1));
}

// Scrolling would move the focus frame's pixels along with the columns.
void ListView::scrollContentsBy(int dx, int dy) {
    QTreeView::scrollContentsBy(dx, dy);
    viewport()->update();
}

// QTreeView's handler would move the focus to a row of its choice.
void ListView::focusInEvent(QFocusEvent* event) {
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

} // namespace icawave::qt
