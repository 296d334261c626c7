// SPDX-License-Identifier: BSD-3-Clause
// The questions of viewers, and how selecting, hiding, resizing, normalising and summing act on one another.
#include "tests/Support.h"

using test::DataSet;
using test::dataSetOf;
using test::Results;
using test::Values;

namespace {

TEST(Display, SelectionStepsStopOrWrapAtTheEnds) {
    struct Case {
        std::int64_t total, begin, end;
        int step, wrap;
        std::int64_t newBegin, newEnd;
    };
    const Case cases[] = {
        {100, 10, 19, 10, 0, 20, 29}, {100, 10, 19, -15, 0, 0, 9}, {100, 10, 19, -15, 1, 90, 99},
        {100, 90, 99, 5, 0, 90, 99},  {100, 90, 99, 5, 1, 0, 9},   {5, 0, 9, 1, 0, 0, 4},
        {5, 0, 9, -1, 0, 0, 4},       {100, 50, 40, 1, 0, 51, 51}, {100, 0, 99, 1, 1, 0, 99},
        {1, 0, 0, 7, 0, 0, 0},
    };
    for (const Case& c : cases) {
        CTrialIcaDatazq dataSet;
        dataSet.m_totalSample = c.total;
        dataSet.m_selectBegin = c.begin;
        dataSet.m_selectEnd = c.end;
        EXPECT_EQ((Results{dataSet.nextSelect(c.step, c.wrap), dataSet.m_selectBegin, dataSet.m_selectEnd}),
                  (Results{c.newBegin, c.newBegin, c.newEnd}))
            << c.begin << " by " << c.step;
    }
}

TEST(Display, HidingAndResettingKeepTheSelectedChannelValid) {
    const DataSet dataSet = test::countingDataSet(4, 5);
    dataSet->m_selectIca = -1;
    EXPECT_EQ((Results{dataSet->hideSelectIca(), dataSet->m_selectIca, dataSet->m_chnlIcaData[0].m_show}),
              (Results{1, 0, 0}));
    dataSet->m_selectIca = 4;
    EXPECT_EQ((Results{dataSet->deleteSelect(), dataSet->deleteSelect()}), (Results{3, 4}));
    dataSet->m_selectIca = -3;
    EXPECT_EQ((Results{dataSet->deleteSelect(), dataSet->m_selectIca}), (Results{4, 0}));
    dataSet->m_selectIca = 3;
    EXPECT_EQ((Results{dataSet->setChnlTotal(3), dataSet->m_selectIca, dataSet->getChnlTotal()}),
              (Results{1, 2, 3}));
    dataSet->setAnaLatency(-0.5, 2.0);
    double begin, end;
    EXPECT_EQ(dataSet->getAnaLatency(begin, end), 1);
    EXPECT_EQ(std::pair(begin, end), std::pair(-0.5, 2.0));
    EXPECT_EQ(dataSet->zeroDiagonal() + dataSet->zeroDiagonal(), 2);
    EXPECT_EQ(dataSet->getIcaCmptInfo(),
              u"ICA ComputeInfo\nSet Diagonal value to 0\nSet Diagonal value to 0");
    EXPECT_EQ(dataSet->resetSnsCoh(), 1);
    EXPECT_NE(dataSet->m_chnlIcaData, nullptr);
    EXPECT_EQ(dataSet->m_anaLatencyEnd, 0.0);
    EXPECT_EQ(dataSet->hideSelectIca() + dataSet->deleteSelect() + dataSet->normRMS() +
                  dataSet->zeroSelection(),
              0);
    EXPECT_EQ(dataSet->getStatistics(),
              u"IcaTrial Min: 0.000000\tMean: 0.000000 Max: 0.000000 AbsSum: 0.000000 RmsSum: 0.000000 \n");
    EXPECT_EQ(dataSet->setChnlTotal(-5), 1);
    double min, max;
    EXPECT_EQ(dataSet->getIcaAbsRange(min, max, false, true, 0, 1), 1) << "a count below zero is none";
    EXPECT_EQ(dataSet->checkInitSnsIcaData(4, 5, true), 1) << "sizing replaces what was left";
    EXPECT_EQ(dataSet->setColumnCrt(-4) + dataSet->setColumnCrt(7) + dataSet->findSelectCxC(3), 7);
    const char* names[] = {"All Type", "MEG Sensor", "EEG Sensor", "Unknown"};
    for (int type = 0; type < 4; ++type) {
        dataSet->m_chnlTypeID = type;
        EXPECT_EQ(dataSet->getChnlTypeIDname(), names[type]);
    }
}

TEST(Display, TheSelectionIsSetToZeroInEveryChannel) {
    const DataSet dataSet = dataSetOf({{1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}});
    dataSet->setSelect(2, 4);
    EXPECT_EQ(dataSet->zeroSelection(), 1);
    EXPECT_EQ(test::values(dataSet->m_chnlIcaData[1]), (Values{1, 2, 0, 0, 0, 6}));
}

TEST(Reductions, CollapseTimeAndKeepTheTags) {
    const DataSet dataSet = dataSetOf({{1, 2, 3, 6}, {-1, 1, 0, 0}});
    dataSet->m_chnlIcaData[1].m_chnlTag = 7;
    dataSet->m_chnlIcaData[1].m_chnlName = u"ICA2";
    dataSet->m_chnlIcaData[1].m_show = 0;
    dataSet->m_selectIca = 1;
    dataSet->setSelect(1, 2);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(dataSet->accumulateTime1(), 1);
        const CChnlIcaDatazq& second = dataSet->m_chnlIcaData[1];
        EXPECT_EQ((Results{dataSet->m_totalSample, dataSet->m_selectEnd, dataSet->m_selectIca,
                           second.m_chnlTag, second.m_show}),
                  (Results{1, 0, 1, 7, 1}));
        EXPECT_EQ(second.m_chnlName, u"ICA");
    }
    EXPECT_EQ(dataSetOf({{1, 2}})->sumDatSetSns(*dataSetOf({{1, 2, 3}})), 0);
    EXPECT_EQ(dataSetOf({{1, 2}})->sumDatSetSns(*dataSetOf({{1, 2}, {1, 2}})), 0);
    EXPECT_EQ(dataSetOf({{1, 2}})->sumDatSetSns(*test::newDataSet()), 0);
    EXPECT_EQ(test::newDataSet()->accumulateTime1(), 0);
}

// Three data sets, "a1", "b" and "a2", of 2 channels x 3, 5 and 4 samples, with a null entry between.
class PackageDisplay : public ::testing::Test {
protected:
    PackageDisplay() {
        for (const auto& [name, samples] : {std::pair{"a1", 3}, {"", 0}, {"b", 5}, {"a2", 4}}) {
            package.setIcaData(samples ? test::countingDataSet(2, samples).release() : nullptr, 0);
            if (samples)
                package.getIcaData(static_cast<std::int32_t>(package.getTotalIca()) - 1)->m_icaName = name;
        }
    }
    CFaceIcazq package;
    CFaceIcazq empty;
};

TEST_F(PackageDisplay, AnswersAcrossDataSets) {
    double min = 7, max = 7;
    EXPECT_EQ((Results{package.getIcaTimSlcMax(), package.getMaxSample()}), (Results{5, 2}))
        << "channels, not samples";
    package.getIcaData(0)->setSelect(1, 1);
    EXPECT_EQ(package.getIcaDataRange(-5, min, max, true), 1);
    EXPECT_EQ(std::pair(min, max), std::pair(1.0, 101.0));
    EXPECT_EQ(package.getIcaDataRange(1000, min, max, false), 1);
    EXPECT_EQ(max, 103.0);
    EXPECT_EQ(package.getIcaDataRange(1, min, max, false), 0);
    EXPECT_EQ(max, 103.0) << "a null entry leaves the outputs";
    EXPECT_EQ((Results{package.checkSelect4Class(2, 1, 0), package.checkSelect4Class(0, 3, 0),
                       package.checkSelect4Class(0, 0, 1)}),
              (Results{1, 0, 0}));
    EXPECT_EQ((Results{package.setFilterParam(5, 6, -3, 1000), package.setFilterParam(7, 8, 3, 1),
                       package.setFilterParam(9, 10, 2, 2)}),
              (Results{1, 1, 1}));
    EXPECT_EQ((Values{package.getIcaData(0)->m_filterParam2, package.getIcaData(2)->m_filterParam1,
                      package.getIcaData(3)->m_filterParam1}),
              (Values{6, 9, 5}));
    EXPECT_EQ(package.getLatency4PtSecond(100), 0.0);
    EXPECT_EQ(package.getMeasurementResults(min, min, min, min, 0), 0);
    package.showChnlName(u"a");
    EXPECT_TRUE(package.getIcaData(0)->m_icaShow && package.getIcaData(3)->m_icaShow);
    EXPECT_FALSE(package.getIcaData(2)->m_icaShow);
    EXPECT_EQ(package.showChnlName(u"A") + package.showChnlName(u""), 0);
    EXPECT_TRUE(package.getIcaData(2)->m_icaShow) << "an empty text is in every name";
    EXPECT_EQ(empty.getIcaTimSlcMax() + empty.getMaxSample() + empty.getIcaDataRange(0, min, max, true) +
                  empty.showChnlName(u""),
              0);
}

// What clamps the current index, what raises for one outside, and what only looks.
TEST_F(PackageDisplay, UsesACurrentIndexThatLiesOutside) {
    std::int64_t begin, end;
    package.m_curntIcaDataSetID = 7;
    EXPECT_EQ(package.hasIcaData4show(), 0);
    EXPECT_THROW(package.getNumSns(), CInvalidArgException);
    EXPECT_THROW(package.getLongestChannelName(), CInvalidArgException);
    EXPECT_EQ((Results{package.m_curntIcaDataSetID, package.setSelect(-4, 2), package.m_curntIcaDataSetID,
                       package.getIcaData(3)->m_selectEnd, package.setSelect(3, 50),
                       package.getSelect(begin, end), begin, end}),
              (Results{7, 3, 3, 2, 1, 1, 3, 3}));
    package.m_curntIcaDataSetID = -7;
    package.getIcaData(0)->m_chnlIcaData[1].m_show = 0;
    EXPECT_EQ((Results{package.getNumShowSns(), package.m_curntIcaDataSetID, package.hasIcaData4show(),
                       package.getNumSns()}),
              (Results{1, 0, 1, 2}));
    EXPECT_EQ(package.getLongestChannelName(), u"None");
    package.m_curntIcaDataSetID = 1; // the null entry
    begin = 77;
    EXPECT_EQ((Results{package.hasIcaData4show(), package.getNumSns(), package.getNumShowSns(),
                       package.getSelect(begin, end), begin}),
              (Results{0, 0, 0, 0, 77}));
    package.m_curntIcaDataSetID = -1;
    EXPECT_EQ(package.hasIcaData4show(), 0);
    EXPECT_EQ(empty.getLongestChannelName(), u"None");
    EXPECT_EQ(
        empty.getNumSns() + empty.setSelect(0, 1) + empty.getSelect(begin, end) + empty.hasIcaData4show(), 0);
    EXPECT_EQ(empty.getIcaDataName4Class(0), u"");
    EXPECT_EQ(package.getIcaDataName4Class(99), u"None");
    const std::unique_ptr<CMMatrix1Dzq> vector(package.getIcaMtx4ID(99));
    ASSERT_NE(vector, nullptr);
    EXPECT_EQ(vector->getSize(), 0);
    EXPECT_EQ(package.getIcaMtx4ID(1), nullptr);
    EXPECT_EQ(empty.getIcaMtx4ID(0), nullptr);
}

TEST_F(PackageDisplay, SumsIntoTheDataSetAskedFor) {
    const DataSet source = dataSetOf({{1, 1, 1, 1}, {2, 2, 2, 2}});
    EXPECT_EQ(package.sumPkg(*source, 99), 1);
    EXPECT_EQ(test::values(package.getIcaData(3)->m_chnlIcaData[1]), (Values{102, 103, 104, 105}));
    EXPECT_EQ(package.sumPkg(*source, -1), 0) << "the current one has another size";
    package.m_curntIcaDataSetID = 50; // clamped for the sum only
    EXPECT_EQ((Results{package.sumPkg(*source, -1), package.m_curntIcaDataSetID, package.sumPkg(*source, 1),
                       empty.sumPkg(*source, 0), package.sumFace(*source)}),
              (Results{1, 50, 0, 0, 0}));
    // One sample is nothing to collapse.
    EXPECT_EQ((Results{package.accumulateTrlCoh(package.getIcaData(3)),
                       package.accumulateTrlCoh(package.getIcaData(3)), package.accumulateTrlCoh(nullptr)}),
              (Results{1, 0, 0}));
}

TEST_F(PackageDisplay, RepaintsRegisteredViewers) {
    CWnd visible, hidden, windowless;
    EXPECT_TRUE(visible.Create(true, 640, 480));
    EXPECT_FALSE(visible.Create(true, 1, 1));
    hidden.Create(false, 10, 10);
    EXPECT_EQ(visible.GetClientRect().right, 640);
    EXPECT_EQ((Results{package.viewerAdd(&visible), package.viewerAdd(&visible), package.viewerAdd(nullptr),
                       package.viewerAdd(nullptr), package.viewerAdd(&windowless)}),
              (Results{1, 0, 2, 3, 4}))
        << "null is never found";
    EXPECT_EQ((Results{package.viewerInvalidate(true, &hidden, true),
                       package.viewerInvalidate(false, nullptr, true),
                       package.viewerInvalidate(false, nullptr, false)}),
              (Results{5, 5, 0}));
    ASSERT_EQ(visible.invalidations.size(), 2u);
    EXPECT_TRUE(visible.invalidations[0].whole && visible.invalidations[0].erase);
    EXPECT_FALSE(visible.invalidations[1].erase);
    EXPECT_TRUE(hidden.invalidations.empty());
    EXPECT_EQ(package.viewerInvalidate(true, &hidden, false), 1);
    EXPECT_EQ(hidden.invalidations.size(), 1u) << "one viewer is repainted visible or not";
    EXPECT_FALSE(hidden.ShowWindow(1));
    EXPECT_TRUE(hidden.ShowWindow(0));
    EXPECT_EQ(package.viewerInvalidate(true, &windowless, false), 1);
    EXPECT_TRUE(visible.DestroyWindow());
    EXPECT_FALSE(visible.IsWindowVisible());
    EXPECT_EQ(package.viewerInvalidate(true, nullptr, true), 5);
    EXPECT_TRUE(visible.invalidations.empty() && windowless.invalidations.empty());
    EXPECT_EQ((Results{package.viewerRemove(&visible, false), package.viewerRemove(&visible, false),
                       package.viewerRemove(nullptr, true)}),
              (Results{4, -1, 0}));
    EXPECT_EQ(package.viewerInvalidate(true, &visible, false), 1);
    EXPECT_EQ(package.m_viewerArray.GetSize(), 1) << "and registered";
}

} // namespace
