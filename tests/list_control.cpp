// SPDX-License-Identifier: BSD-3-Clause
// In which order a list tells of the rows that one act changed.
#include "tests/Support.h"

using icawave::itemFocused;
using icawave::itemSelected;

namespace {

// Notes what the list would tell its parent.
class NotedList : public CListCtrl {
public:
    std::vector<icawave::ItemNotification> told;

private:
    const icawave::MessageMap* GetMessageMap() const override {
        static constexpr icawave::MessageMapEntry entries[] = {
            {icawave::message::reflectedNotify, 0, icawave::itemChanged,
             [](CWnd& list, std::uintptr_t, std::intptr_t lParam) {
                 const auto* notification = reinterpret_cast<const icawave::Notification*>(lParam);
                 static_cast<NotedList&>(list).told.push_back(
                     *static_cast<const icawave::ItemNotification*>(notification));
                 return std::intptr_t{0};
             }}};
        static constexpr icawave::MessageMap map = {nullptr, entries};
        return &map;
    }
};

TEST(ListControl, TellsOfRowsThatLoseABitFirstAndOfTheClickedOneLast) {
    NotedList list;
    for (int k = 0; k < 5; ++k) list.InsertItem(k, u"row", 0);
    struct Case {
        std::int32_t row;
        bool ctrl, shift;
        std::vector<std::int32_t> rows;
        std::vector<std::uint32_t> states;
    };
    constexpr std::uint32_t both = itemSelected | itemFocused;
    const Case cases[] = {
        {3, false, false, {3}, {both}},
        {1, false, true, {3, 2, 1}, {itemSelected, itemSelected, both}}, // from the last click on
        {2, false, false, {1, 3, 2}, {0, 0, both}},
        {0, true, false, {2, 0}, {itemSelected, both}},
        {4, true, true, {0, 1, 3, 4}, {itemSelected, itemSelected, itemSelected, both}},
        {9, false, false, {0, 1, 2, 3, 4}, {0, 0, 0, 0, itemFocused}}, // below the last row
    };
    std::uint64_t act = 0;
    for (const auto& [row, ctrl, shift, rows, states] : cases) {
        list.told.clear();
        list.userClick(row, ctrl, shift);
        std::vector<std::int32_t> toldRows;
        std::vector<std::uint32_t> toldStates;
        for (const auto& n : list.told) {
            toldRows.push_back(n.row);
            toldStates.push_back(n.newState);
            EXPECT_TRUE(n.act == list.told[0].act && n.act != act && n.newState != n.oldState);
        }
        EXPECT_EQ(toldRows, rows) << "row " << row;
        EXPECT_EQ(toldStates, states) << "row " << row;
        act = list.told[0].act;
    }
}

} // namespace
