// SPDX-License-Identifier: BSD-3-Clause
#include "tests/Support.h"

using test::Results;

namespace {

// Data sets named A, B, ... with list ids 10, 11, ...; a blank makes a null entry.
std::unique_ptr<CFaceIcazq> packageOf(const std::string& names) {
    auto package = std::make_unique<CFaceIcazq>();
    for (const char name : names) {
        CTrialIcaDatazq* dataSet = name == ' ' ? nullptr : test::countingDataSet(2, 3).release();
        const std::int32_t size = package->setIcaData(dataSet, 99);
        EXPECT_EQ(size, package->getTotalIca());
        if (!dataSet) continue;
        dataSet->m_icaName = CString(std::string(1, name));
        dataSet->m_listID = size + 9;
    }
    return package;
}

std::string namesOf(CFaceIcazq& package) {
    std::string names;
    for (std::int64_t k = 0; k < package.getTotalIca(); ++k) {
        const auto* dataSet = static_cast<CTrialIcaDatazq*>(package.m_icaDataArray[k]);
        names += dataSet ? dataSet->m_icaName.utf8() : " ";
    }
    return names;
}

TEST(Package, MovesTheCurrentIndexInsideTheList) {
    const auto package = packageOf("ABC");
    EXPECT_EQ(
        (Results{package->setCurrentIca(7), package->m_curntIcaDataSetID, package->setCurntIcaDataSetID(-4),
                 package->setTrIcaID(1), package->m_curntIcaDataSetID}),
        (Results{1, 2, 0, 0, 1}));
    EXPECT_EQ(package->getIcaData(-1)->m_icaName, u"B");
    EXPECT_EQ(package->getIcaData(3), nullptr);
    EXPECT_EQ(package->getIcaData(-2), nullptr);
    package->m_curntIcaDataSetID = 9;
    EXPECT_EQ(package->getIcaData(-1), nullptr);
    EXPECT_EQ(package->getTrlIcaDataAny()->m_icaName, u"C");
    EXPECT_EQ((Results{package->m_curntIcaDataSetID, package->getIcaListID(-8), package->getIcaListID(8)}),
              (Results{2, 0, 2}));
}

TEST(Package, CreatesOnlyWhatItCanList) {
    CFaceIcazq package;
    EXPECT_EQ((Results{package.checkInitIcaPkg(1, 100, true), package.checkInitIcaPkg(4, 0, true),
                       package.checkInitIcaPkg(2, 1, false)}),
              (Results{0, 0, 1}));
    CTrialIcaDatazq* made = package.checkInitIca4ID(3, 4, 77, true);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(package.getIcaData(1), made);
    EXPECT_EQ(made->m_icaName, u"NewIca");
    EXPECT_EQ(made->m_chnlTotal, 3);
    EXPECT_EQ(package.m_curntIcaDataSetID, 0);
}

TEST(Package, DeletesTheFirstOfAListIdAndClampsTheCurrentIndex) {
    auto package = packageOf("AB C");
    package->m_curntIcaDataSetID = 3;
    EXPECT_EQ(package->actIca2ListID(13), package->getIcaData(3));
    EXPECT_EQ(package->deleteIca(99), 0);
    EXPECT_EQ(package->deleteIca(13), 1);
    EXPECT_EQ(namesOf(*package), "AB ");
    EXPECT_EQ(package->m_curntIcaDataSetID, 2);
    package->getIcaData(1)->m_listID = 2;
    package->getIcaData(0)->m_listID = 2;
    EXPECT_EQ(package->deleteIca(-1), 1) << "the current index is the list id";
    EXPECT_EQ(namesOf(*package), "B ");
    EXPECT_EQ(package->m_curntIcaDataSetID, 1);
    EXPECT_EQ((Results{package->cleanIcaFace(), package->getTotalIca(), package->m_curntIcaDataSetID}),
              (Results{1, 0, -1}));
    package = packageOf("A");
    package->deleteIca(10);
    EXPECT_EQ(package->m_curntIcaDataSetID, -1);
}

TEST(PackageRecord, KeepsTheViewers) {
    const auto package = packageOf("A B"), loaded = packageOf("XYZ");
    package->m_curntIcaDataSetID = 2;
    loaded->m_viewerArray.Add(loaded.get());
    EXPECT_EQ(test::load(*loaded, test::stored(*package)).result, 1);
    EXPECT_EQ(namesOf(*loaded), "AB");
    EXPECT_EQ((Results{loaded->m_curntIcaDataSetID, loaded->m_viewerArray.GetSize()}), (Results{2, 1}));
}

} // namespace
