#include "platform/qt/ListView.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPointer>
#include <QScrollBar>
#include <QStyledItemDelegate>

#include <algorithm>

namespace icawave::qt {

namespace {

constexpr std::uint32_t trackSelect = 0x08;

// Marks the row under the pointer where the control tracks it. Not every style does by itself.
class RowDelegate : public QStyledItemDelegate {
public:
    RowDelegate(QObject* parent, const ListModel& model) : QStyledItemDelegate(parent), m_model(model) {}

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        const CListCtrl* list = m_model.control();
        if (!list || !(list->GetExtendedStyle() & trackSelect)) return;
        if (!(option->state & QStyle::State_MouseOver) || option->state & QStyle::State_Selected) return;
        QColor tint = option->palette.color(QPalette::Highlight);
        tint.setAlphaF(0.15f);
        option->backgroundBrush = tint;
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
    viewport()->setAttribute(Qt::WA_Hover);
    setItemDelegate(new RowDelegate(this, m_model));
    setModel(&m_model);
    header()->setSectionsMovable(false);
    header()->setStretchLastSection(false);
    header()->setSectionsClickable(true);
    header()->setHighlightSections(false);
    connect(header(), &QHeaderView::sectionClicked, this,
            [this](int column) { m_act([column](CListCtrl& list) { list.clickHeader(column); }); });
}

void ListView::showControl() {
    const CListCtrl* list = m_model.control();
    if (m_model.updateColumns()) {
        for (int c = 0; c < m_model.columnCount(); ++c)
            header()->resizeSection(c, list ? list->GetColumnWidth(c) : 0);
    }
    m_model.updateRows();
    showSelection();
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

// Beside the columns a row goes on to the edge of the list.
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

// As a click on that row would. Control with a key that moves moves the focus alone.
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

// The base class would choose a row to have the focus.
void ListView::focusInEvent(QFocusEvent* event) {
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

} // namespace icawave::qt
