// SPDX-License-Identifier: BSD-3-Clause
#include "tests/Support.h"

using test::Results;
using test::values;
using test::Values;

namespace {

void fill(CChnlIcaData& channel, const Values& v) {
    channel.copy2Mtx(v.data(), v.size());
}

TEST(ChannelBuffers, SizingKeepsABufferThatFits) {
    CChnlIcaDatazq channel;
    double* buffer = channel.checkInitData(5, true);
    EXPECT_EQ(values(channel), Values(5));
    buffer[2] = 7.0;
    channel.m_currentPt = 3;
    EXPECT_EQ(channel.checkInitData(5, false), buffer);
    EXPECT_EQ(values(channel), (Values{0, 0, 7, 0, 0}));
    EXPECT_EQ(channel.m_currentPt, 3);
    EXPECT_EQ(channel.checkInitData(5, true), buffer);
    EXPECT_EQ(values(channel), Values(5));
    fill(channel, {1, 2, 3});
    EXPECT_EQ(values(channel), (Values{1, 2, 3}));
    EXPECT_EQ(channel.m_currentPt, 0);
    EXPECT_EQ(channel.checkInitData(-1, true), nullptr);
    EXPECT_TRUE(!channel.getData() && channel.getSize() == 0);
    EXPECT_NE(channel.checkInitData(0, true), nullptr) << "no values is a size too";
}

TEST(ChannelBuffers, ResizingKeepsTheLeadingValues) {
    CChnlIcaDatazq channel;
    EXPECT_EQ(channel.resize(2), 1);
    EXPECT_EQ(values(channel), Values(2));
    fill(channel, {1, 2, 3, 4, 5});
    channel.m_currentPt = 4;
    double* before = channel.getData();
    EXPECT_EQ(channel.resize(5), 1);
    EXPECT_NE(channel.getData(), before) << "a new buffer also for the same size";
    EXPECT_EQ(channel.m_currentPt, 0);
    channel.resize(3);
    EXPECT_EQ(values(channel), (Values{1, 2, 3}));
    channel.resize(5);
    EXPECT_EQ(values(channel), (Values{1, 2, 3, 0, 0}));
    EXPECT_EQ(channel.resize(0), 1);
    EXPECT_EQ(channel.getData(), nullptr);
}

TEST(ChannelBuffers, ChangeHandsWithoutBeingCopied) {
    CChnlIcaDatazq channel;
    fill(channel, {9});
    channel.m_currentPt = 1;
    auto* buffer = new double[2]{1, 2};
    EXPECT_EQ((Results{channel.setData(buffer, 2), channel.m_currentPt}), (Results{1, 0}));
    channel.m_currentPt = 1;
    EXPECT_EQ((Results{channel.deRefData(), channel.m_currentPt}), (Results{1, 1}));
    EXPECT_EQ(channel.getData(), nullptr);
    EXPECT_EQ(buffer[1], 2.0);
    delete[] buffer;
}

TEST(ChannelBuffers, TakeTheirOwnValues) {
    CChnlIcaDatazq channel;
    fill(channel, {1, 2, 3, 4, 5});
    EXPECT_EQ(channel.copy2Mtx(channel.m_data + 1, 3), 1);
    EXPECT_EQ(values(channel), (Values{2, 3, 4}));
    channel.bkDataIn();
    EXPECT_EQ(channel.copy2Mtx(channel.m_bkData + 1, 2), 1);
    EXPECT_EQ(values(channel), (Values{3, 4}));
    EXPECT_EQ((Results{channel.setData(channel.m_bkData, 3), channel.m_bkSize}), (Results{1, 0}));
    EXPECT_EQ(values(channel), (Values{2, 3, 4})) << "and it has one owner";
}

TEST(ChannelBuffers, BackupSurvivesWhateverHappensToTheData) {
    icawave::ScriptedFrontEnd ui;
    CChnlIcaDatazq channel;
    EXPECT_EQ(channel.bkDataIn() + channel.bkDataInOut(), 0);
    fill(channel, {1, 2, 3, 4, 5});
    EXPECT_EQ(channel.bkDataIn(), 1);
    channel.m_data[0] = 9;
    channel.resize(2);
    EXPECT_EQ(channel.bkDataInOut(), 1);
    EXPECT_EQ(values(channel), (Values{1, 2, 3, 4, 5}));
    for (const auto& [position, kept] : {std::pair{9, 4}, {-7, 0}, {2, 2}}) {
        channel.m_currentPt = position;
        channel.bkDataInOut();
        EXPECT_EQ(channel.m_currentPt, kept);
    }
    channel.resize(3);
    EXPECT_EQ((Results{channel.bkDataIn(), channel.m_bkSize}), (Results{1, 3}));
    channel.cleanData();
    EXPECT_TRUE(ui.messages.empty());
    {
        const test::FailAllocation failure(0);
        EXPECT_EQ(channel.bkDataInOut(), 0);
    }
    EXPECT_EQ(ui.messages, std::vector<CString>{"Not enough memory!"});
    EXPECT_EQ(channel.m_bkSize, 3) << "the backup is still there";
    EXPECT_EQ(channel.bkDataIn(), 0) << "nothing to keep";
    EXPECT_EQ(channel.m_bkData, nullptr) << "and the sizes differ";
}

} // namespace
