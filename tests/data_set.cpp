// SPDX-License-Identifier: BSD-3-Clause
#include "tests/Support.h"

#include <array>
#include <limits>

using test::DataSet;
using test::dataSetOf;
using test::newDataSet;
using test::Results;
using test::Rows;
using test::values;
using test::Values;

namespace {

TEST(DataSet, SizingKeepsOrRebuildsTheChannels) {
    DataSet dataSet = newDataSet();
    EXPECT_EQ(dataSet->m_selectEnd, 1);
    EXPECT_EQ(dataSet->checkInitSnsIcaData(3, 100, true), 1);
    EXPECT_EQ(dataSet->m_selectEnd, 0);
    dataSet->m_chnlIcaData[1].m_data[99] = 5.0;
    dataSet->m_selectIca = 2;
    dataSet->setSelect(10, 20);
    EXPECT_EQ(dataSet->checkInitSnsIcaData(3, 100, false), 1);
    EXPECT_EQ(dataSet->m_chnlIcaData[1].m_data[99], 5.0);
    EXPECT_EQ((Results{dataSet->m_selectIca, dataSet->m_selectEnd}), (Results{2, 20}));
    EXPECT_EQ(dataSet->checkInitSnsIcaData(3, 50, true), 1);
    EXPECT_EQ((Results{dataSet->m_selectIca, dataSet->m_selectBegin, dataSet->m_selectEnd}),
              (Results{0, 0, 0}));
    EXPECT_EQ(dataSet->m_chnlIcaData[2].getSize(), 50);
    EXPECT_EQ((Results{dataSet->checkInitSnsIcaData(0, 50, true), dataSet->m_totalSample}), (Results{0, 0}));
    EXPECT_EQ(dataSet->m_chnlIcaData, nullptr);
}

TEST(DataSet, TheChannelTypeIsAnIntegerLikeAnyOther) {
    CTrialIcaDatazq a, b;
    for (int k = 0; k < 8; ++k) a.m_icaInfo[k] = 10 + k, b.m_icaInfo[k] = 20 + k;
    std::int32_t* const type = &a.m_chnlTypeID;
    EXPECT_EQ(type, &a.m_icaInfo[3]);
    a.m_chnlTypeID = b.m_chnlTypeID;
    EXPECT_EQ(std::to_array(a.m_icaInfo), (std::array{10, 11, 12, 23, 14, 15, 16, 17}));
    *type = 2;
    std::swap(a.m_chnlTypeID, b.m_chnlTypeID);
    EXPECT_EQ(std::to_array(b.m_icaInfo), (std::array{20, 21, 22, 2, 24, 25, 26, 27}));
    EXPECT_EQ(std::max(0, CTrialIcaDatazq(b).m_chnlTypeID), 2);
    EXPECT_EQ(CString::Format("%d", b.m_chnlTypeID), "2");
}

TEST(DataSet, TakesOverADecomposition) {
    DataSet dataSet = newDataSet();
    const Rows w({1, 2, 3, 4}, 2), v({5, 6, 7, 8}, 2), data({1, 2, 3, 4, 11, 12, 13, 14, 21, 22, 23, 24}, 4);
    EXPECT_EQ(dataSet->getIcaParamzq(0), nullptr);
    ASSERT_EQ(dataSet->addIcaData(3, 2, 4, w.get(), v.get(), data.get()), 1);
    EXPECT_EQ(dataSet->m_chnlIcaData[2].m_chnlName, u"ICA3");
    EXPECT_EQ(values(dataSet->m_chnlIcaData[1]), (Values{11, 12, 13, 14}));
    CIcaParamzq* parameters = dataSet->getIcaParamzq(0);
    ASSERT_NE(parameters, nullptr);
    EXPECT_EQ(parameters->m_nIca, 3);
    EXPECT_EQ(parameters->hasWunmix(), 1);
    EXPECT_EQ(parameters->m_Wsecond.getDataPP()[1][0], 7.0);
    const double* const gap[] = {data.get()[0], nullptr};
    EXPECT_EQ(dataSet->addIcaData(2, 2, 4, w.get(), v.get(), gap), 0);
    EXPECT_EQ(dataSet->m_chnlTotal, 3) << "nothing changed";
    EXPECT_EQ(dataSet->addIcaData(0, 2, 4, w.get(), v.get(), nullptr), 0);
    EXPECT_EQ(dataSet->m_chnlIcaData, nullptr);
    EXPECT_EQ(parameters->m_nIca, 0);
}

// What a data set is handed may be its own: it is read before it is overwritten or released.
TEST(DataSet, TakesOverItsOwnValues) {
    const Rows w({1, 2, 3, 4}, 2), v({5, 6, 7, 8}, 2);
    using Own = std::vector<const double*>;
    struct Case {
        const char* name;
        std::function<Own(CTrialIcaDatazq&)> rows;
        int samples;
        std::vector<Values> expected;
    };
    const auto rowsOf = [](CTrialIcaDatazq& d, auto... k) { return Own{d.m_chnlIcaData[k].m_data...}; };
    const auto later = [](Own rows, int row, int samples) { return rows[row] += samples, rows; };
    const Values channel0{0, 1, 2, 3}, channel1{100, 101, 102, 103}, channel3{300, 301, 302, 303};
    const Case cases[] = {
        {"components 1 and 3", [&](auto& d) { return rowsOf(d, 1, 3); }, 4, {channel1, channel3}},
        {"twice",
         [&](auto& d) { return rowsOf(d, 3, 0, 0, 1); },
         4,
         {channel3, channel0, channel0, channel1}},
        {"fewer samples", [&](auto& d) { return later(rowsOf(d, 1, 0), 0, 2); }, 2, {{102, 103}, {0, 1}}},
        {"channels that no longer count",
         [&](auto& d) {
             return std::pair{rowsOf(d, 3, 1), d.resetSnsCoh()}.first;
         },
         4,
         {channel3, channel1}},
        {"a longer channel",
         [&](auto& d) { return d.m_chnlIcaData[1].resize(6), later(rowsOf(d, 3, 1, 1, 0), 2, 1); },
         4,
         {channel3, channel1, {101, 102, 103, 0}, channel0}},
        {"a backup",
         [&](auto& d) { return d.m_chnlIcaData[2].bkDataIn(), Own{d.m_chnlIcaData[2].m_bkData}; },
         3,
         {{200, 201, 202}}},
        {"matrices",
         [&](auto& d) {
             return Own{d.m_icaParam->m_Wunmix.getDataPP()[1], d.m_icaParam->m_Wsecond.getDataPP()[0]};
         },
         2,
         {{3, 4}, {5, 6}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        DataSet dataSet = test::countingDataSet(4, 4);
        CIcaParamzq& parameters = *dataSet->getIcaParamzq(1);
        parameters.addIcaParam(4, 2, 4, w.get(), v.get());
        const Own rows = c.rows(*dataSet);
        const auto count = static_cast<std::int32_t>(rows.size());
        ASSERT_EQ(dataSet->addIcaData(count, 2, c.samples, parameters.m_Wsecond.getDataPP(),
                                      parameters.m_Wunmix.getDataPP(), rows.data()),
                  1);
        for (std::size_t k = 0; k < c.expected.size(); ++k)
            EXPECT_EQ(values(dataSet->m_chnlIcaData[k]), c.expected[k]) << k;
        EXPECT_EQ(dataSet->m_chnlTotal, count);
        EXPECT_EQ((Values{parameters.m_Wunmix.getDataPP()[0][0], parameters.m_Wsecond.getDataPP()[1][1]}),
                  (Values{5, 4}))
            << "exchanged";
        ASSERT_EQ(dataSet->addIcaData(2, 2, 2, w.get(), v.get(), parameters.m_Wsecond.getDataPP()), 1);
        EXPECT_EQ(values(dataSet->m_chnlIcaData[1]), (Values{3, 4})) << "its rows by their own pointers";
    }
}

TEST(DataSet, CountsStepsAndLatencies) {
    constexpr auto lowest = std::numeric_limits<std::int64_t>::min(),
                   highest = std::numeric_limits<std::int64_t>::max();
    constexpr auto steps = CTrialIcaData::getIcaTim;
    EXPECT_EQ((Results{steps(10, 3, 0), steps(9, 3, 0), steps(0, 3, 0), steps(5, 3, 9), steps(5, 0, 1)}),
              (Results{5, 4, 1, 1, 0}));
    EXPECT_EQ(steps(highest, highest, lowest), 4) << "2^64 - 1 is two steps and one";
    CTrialIcaDatazq dataSet;
    dataSet.m_sampleRate = 1000;
    dataSet.m_anaLatencyBegin = -0.1;
    EXPECT_DOUBLE_EQ(dataSet.getLatency4PtSecond(250), 0.15);
    for (const auto& [selected, total, repaired] : {std::array{-2, 4, 0}, {4, 4, 3}, {2, 4, 2}, {0, 0, -1}}) {
        dataSet.m_selectIca = selected;
        dataSet.m_chnlTotal = total;
        EXPECT_EQ(dataSet.checCorrectkSelectIca(), 0);
        EXPECT_EQ(dataSet.m_selectIca, repaired);
    }
}

TEST(DataSetValues, AreReadByIndexOrByTheCurrentChoice) {
    DataSet dataSet = test::countingDataSet(3, 100);
    dataSet->setSelect(10, 19);
    dataSet->m_selectIca = 2;
    EXPECT_EQ((Values{dataSet->getValue(-1, -1), dataSet->getValue(1000, 0), dataSet->getValue(-5, 1),
                      dataSet->getValue(5, 3), dataSet->getValue(5, -2)}),
              (Values{210, 99, 100, 0, 0}));
    EXPECT_EQ((Values{dataSet->getValueSelect(-1, -1, -1), dataSet->getValueSelect(10, 5, 0),
                      dataSet->getValueSelect(-3, 2, 1), dataSet->getValueSelect(90, 500, 0),
                      dataSet->getValueSelect(0, 1, 3)}),
              (Values{214.5, 0, 101, 94.5, 0}));
    EXPECT_EQ(newDataSet()->getValue(0, 0), 0.0);
}

TEST(DataSetValues, ARangeOfSamplesKeepsTheCaches) {
    double min = 9, max = 9;
    DataSet dataSet = dataSetOf({{1, -4, 2}, {3, 0, 0}});
    EXPECT_EQ(dataSet->getIcaDataRange(min, max, false, 0, 2), 1);
    EXPECT_EQ(dataSet->m_dataMean, 1.0) << "the sum of all values by the number of channels";
    EXPECT_EQ(dataSet->getIcaDataRange(min, max, true, 1, 1), 1);
    EXPECT_EQ((Values{min, max, dataSet->m_dataMin, dataSet->m_dataMax}), (Values{-4, 0, -4, 3}));
    EXPECT_EQ(dataSet->getIcaDataRange(min, max, true, 2, 1), 1);
    EXPECT_EQ((Values{min, max}), (Values{0, 0}));
    for (const bool select : {false, true}) {
        min = max = 9;
        EXPECT_EQ(dataSet->getIcaDataRange(min, max, select, 0, 3), 0);
        EXPECT_EQ((Values{min, max}), (Values{0, 0}));
    }
}

TEST(Coherence, GivesAndTakesSingleTimePoints) {
    DataSet dataSet = test::countingDataSet(3, 4);
    CMMatrix1Dzq* none = nullptr;
    std::int64_t count = 0;
    const std::unique_ptr<CMMatrix1Dzq[]> reused(new CMMatrix1Dzq[5]);
    none = reused.get();
    count = 2;
    EXPECT_EQ(dataSet->getData2MCohTimSnsSns(none, count), 1);
    EXPECT_EQ(Values(reused[1].getData(), reused[1].getData() + 3), (Values{1, 101, 201}));
    EXPECT_EQ(reused[2].getData(), nullptr);
    count = 5;
    EXPECT_EQ(dataSet->getData2MCohTimSnsSns(none, count), 0);
    EXPECT_EQ(newDataSet()->getData2MCohTimSnsSns(none, count), 0);

    CMMatrix1Dzq point;
    point.checkInitData(3, true);
    point.getData()[1] = -1;
    EXPECT_EQ((Results{dataSet->addMSnsSnsTimID(&point, 3), dataSet->addMSnsSnsTimID(&point, 4),
                       dataSet->addMSnsSnsTimID(nullptr, 0)}),
              (Results{1, 0, 0}));
    EXPECT_EQ(values(dataSet->m_chnlIcaData[1]), (Values{100, 101, 102, -1}));
    point.checkInitData(2, true);
    EXPECT_EQ(dataSet->addMSnsSnsTimID(&point, 0), 0);
}

// What stays unset after a failure is what was there before, or zeros, never leftover memory.
TEST(Coherence, VectorsOfOtherSizesAndEmptyOnesExposeNothing) {
    const std::unique_ptr<CMMatrix1Dzq[]> vectors(new CMMatrix1Dzq[3]);
    EXPECT_EQ(newDataSet()->setData4Mica(vectors.get(), 3), 0) << "the first is empty";
    for (int t = 0; t < 2; ++t) {
        double* v = vectors[t].checkInitData(3 - 2 * t, false); // 3 values, then 1
        for (int k = 0; k < 3 - 2 * t; ++k) v[k] = 10 * t + k + 1;
    }
    DataSet fresh = newDataSet();
    EXPECT_EQ(fresh->setData4Mica(vectors.get(), 3), 0);
    EXPECT_EQ(values(fresh->m_chnlIcaData[0]), (Values{1, 11, 0}));
    EXPECT_EQ(values(fresh->m_chnlIcaData[2]), (Values{3, 0, 0}));

    DataSet kept = dataSetOf({{7, 7, 7}, {8, 8, 8}, {9, 9, 9}});
    kept->m_chnlIcaData[1].resize(2);
    EXPECT_EQ(kept->setData4Mica(vectors.get(), 3), 0);
    EXPECT_EQ(values(kept->m_chnlIcaData[0]), (Values{1, 11, 7}));
    EXPECT_EQ(values(kept->m_chnlIcaData[1]), (Values{2, 0, 0}));
    EXPECT_EQ(values(kept->m_chnlIcaData[2]), (Values{3, 0, 9})) << "a value that a vector lacks is 0.0";
    vectors[2].checkInitData(5, true);
    EXPECT_EQ(kept->setData4Mica(vectors.get(), 3), 1);
    EXPECT_EQ(kept->m_chnlTotal, 3);
}

TEST(DataSetSelection, IsNeverReversedAndStaysInside) {
    DataSet dataSet = test::countingDataSet(2, 100);
    struct Case {
        std::int64_t begin, end, storedBegin, storedEnd, length;
    };
    for (const Case& c : {Case{20, 10, 20, 20, 1},
                          {-5, 500, 0, 99, 100},
                          {150, 160, 99, 99, 1},
                          {10, 19, 10, 19, 10},
                          {3, -9, 3, 3, 1}}) {
        EXPECT_EQ(dataSet->setSelect(c.begin, c.end), c.length);
        std::int64_t begin, end;
        EXPECT_EQ(dataSet->getSelect(begin, end), c.length);
        EXPECT_EQ(std::pair(begin, end), std::pair(c.storedBegin, c.storedEnd));
    }
    EXPECT_EQ(dataSet->checkSelect(0, 99), 1);
    EXPECT_EQ(dataSet->checkSelect(50, 10), 1);
    for (const auto& [begin, end] : {std::pair{0, 100}, {100, 100}, {-1, 5}, {5, -1}})
        EXPECT_EQ(dataSet->checkSelect(begin, end), 0);
    EXPECT_EQ(newDataSet()->setSelect(3, 4), 1);
    EXPECT_EQ(newDataSet()->checkSelect(0, 0), 0);
}

TEST(DataSetSelection, TheSampleCountIsRepairedOnceWithAMessage) {
    icawave::ScriptedFrontEnd ui;
    DataSet dataSet = test::countingDataSet(3, 100);
    EXPECT_EQ(newDataSet()->getTotalSample(), -1);
    dataSet->m_chnlIcaData[2].resize(80);
    EXPECT_EQ(dataSet->getTotalSample(), 100) << "another channel is selected";
    dataSet->m_selectIca = 7;
    EXPECT_EQ((Results{dataSet->getTotalSample(), dataSet->m_selectIca, dataSet->getTotalSample()}),
              (Results{80, 2, 80}));
    EXPECT_EQ(ui.messages, std::vector<CString>{"Ic data points error!"});
    dataSet->m_selectIca = 1;
    EXPECT_EQ(dataSet->getDataWave(-1), dataSet->m_chnlIcaData[1].m_data);
    EXPECT_EQ(dataSet->getDataWave(3), nullptr);
    EXPECT_EQ(dataSet->getDataWave(-2), nullptr);
    const std::int64_t total = dataSet->m_chnlTotal;
    dataSet->m_chnlTotal = 0;
    EXPECT_EQ(dataSet->getTotalSample(), 80) << "no channel to compare with";
    dataSet->m_chnlTotal = total;
    EXPECT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(dataSet->resetIcaTimeInfo(), 0);
}

} // namespace
