// SPDX-License-Identifier: BSD-3-Clause
#include "tests/Support.h"

using test::Bytes;
using test::Results;
using test::Rows;

namespace {

TEST(ParameterSet, TellsAUsableUnmixingMatrixFromNoneAndFromAWrongOne) {
    icawave::ScriptedFrontEnd ui;
    CIcaParamzq parameters;
    EXPECT_EQ(parameters.hasWunmix(), 0);
    const Rows w(std::vector<double>(16, 1.5), 4), v(std::vector<double>(16, 2.5), 4),
        wide(std::vector<double>(12), 3);
    parameters.m_extraIntA = 7;
    EXPECT_EQ(parameters.addIcaParam(5, 4, 1000, w.get(), v.get()), 1);
    EXPECT_EQ((Results{parameters.hasWunmix(), parameters.m_nIca, parameters.m_nComp, parameters.m_nSample,
                       parameters.m_extraIntA}),
              (Results{1, 5, 4, 1000, 7}));
    EXPECT_EQ(parameters.m_Wsecond.getDataPP()[3][3], 2.5);
    parameters.m_nIca = 0;
    EXPECT_EQ(parameters.hasWunmix(), 0);
    EXPECT_TRUE(ui.messages.empty());
    parameters.m_nIca = 5;
    parameters.m_nComp = 3;
    EXPECT_EQ(parameters.hasWunmix(), 0);
    parameters.m_nComp = 4;
    parameters.m_Wunmix.copyAmxn(wide.get(), 4, 3);
    EXPECT_EQ(parameters.hasWunmix(), 0);
    EXPECT_EQ(ui.messages, std::vector<CString>(2, "ICA Wunmix has wrong parameter nR != nComp"));
}

TEST(ParameterSet, TakesNullRowsAndImpossibleOrdersAsEmptyMatrices) {
    CIcaParamzq parameters;
    const Rows w(std::vector<double>(4, 1.0), 2);
    const double* const gap[] = {w.get()[0], nullptr};
    for (const auto& [rows, order] :
         {std::pair{static_cast<const double* const*>(nullptr), 2}, {w.get(), 0}, {w.get(), -2}, {gap, 2}}) {
        parameters.addIcaParam(2, 2, 10, w.get(), w.get());
        EXPECT_EQ(parameters.addIcaParam(2, order, 10, rows, w.get()), 1);
        EXPECT_EQ((Results{parameters.m_Wunmix.getRow(), parameters.m_Wunmix.getCol(), parameters.m_nComp}),
                  (Results{0, 0, order}));
        EXPECT_EQ(parameters.m_Wunmix.getDataPP(), nullptr);
    }
}

TEST(ParameterSet, IsCleanAfterClean) {
    CIcaParamzq parameters;
    const Rows w(std::vector<double>(4, 1.0), 2);
    parameters.addIcaParam(2, 2, 10, w.get(), w.get());
    parameters.m_extraMatrixA.copyAmxn(w.get(), 2, 2);
    parameters.m_extraMatrixB.copyAmxn(w.get(), 1, 2);
    parameters.m_extraIntA = parameters.m_extraIntB = 1;
    parameters.m_extraUintList.Add(3);
    EXPECT_EQ(parameters.clean(), 1);
    EXPECT_EQ(parameters.clean(), 1);
    CIcaParamzq fresh;
    EXPECT_EQ(test::stored(parameters), test::stored(fresh));
}

TEST(ParameterSet, AnEmptyListKeepsNoStorage) {
    CIcaParamzq parameters;
    const Bytes empty = test::stored(parameters);
    const std::function<void()> acts[] = {[&] { parameters.clean(); },
                                          [&] { test::load(parameters, empty); }};
    for (const auto& act : acts) {
        const test::PeakMemory all;
        for (std::uint32_t k = 0; k < 100'000; ++k) parameters.m_extraUintList.Add(k);
        act();
        const test::PeakMemory again; // what is kept would not be asked for again
        parameters.m_extraUintList.Reserve(100'000);
        EXPECT_GE(again.bytes(), 400'000u);
        parameters.clean();
    }
}

TEST(Matrix, CopiesItsOwnRows) {
    CMMatrix2Dzq matrix;
    const Rows rows({1, 2, 3, 4, 5, 6}, 3);
    ASSERT_EQ(matrix.copyAmxn(rows.get(), 2, 3), 1);
    const double* const swapped[] = {matrix.getDataPP()[1], matrix.getDataPP()[0]};
    ASSERT_EQ(matrix.copyAmxn(swapped, 2, 3), 1);
    EXPECT_EQ(matrix.getDataPP()[0][0], 4.0);
    EXPECT_EQ(matrix.getDataPP()[1][2], 3.0);
    EXPECT_EQ(matrix.copyAmxn(rows.get(), std::int64_t{1} << 62, std::int64_t{1} << 62), 0);
}

} // namespace
