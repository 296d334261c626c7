// SPDX-License-Identifier: BSD-3-Clause
// Memory that runs out at any place of any operation: the n-th allocation fails, for every n. It is told by a
// result, a message or the library's exception, never by std::bad_alloc; what the operation is not about
// stays as it was, and what it leaves can be stored and loaded. The address sanitizer sees what would leak.
#include "tests/Support.h"

#include <icawave/PackageFile.h>

using test::Bytes;
using test::load;
using test::stored;

namespace {

// Two data sets that have all that a record can hold.
struct Scene {
    Scene() {
        const test::Rows unmixing({1, 2, 3, 4}, 2), samples({1, 2, 3, 4, 5, 6}, 3);
        for (int k = 0; k < 2; ++k) {
            CTrialIcaDatazq* d = package.checkInitIca4ID(2, 3, k, true);
            d->addIcaData(2, 2, 3, unmixing.get(), unmixing.get(), samples.get());
            d->m_icaParam->m_extraUintList.Add(7);
            d->m_listID = k; // as a row of the dialog leaves it
            d->m_selectIca = 0;
            CChnlIcaDatazq& second = d->m_chnlIcaData[1];
            second.bkDataIn();
            second.m_projectData = new CIcProjectData[1];
            second.m_projectCount = 1;
            second.m_projectData->m_prjName = u"a name of its own";
        }
        ui.messages.reserve(100);
        icawave::PackageFile::save(icawave::pathOf(packagePath), package);
        file = test::contents(packagePath.utf8());
        ui.fileAnswers = {path()};
    }
    static CString path() {
        static const test::Folder folder;
        return folder / "swept.icd";
    }

    CTrialIcaDatazq& dataSet() { return *package.getIcaData(0); }
    CChnlIcaDatazq& channel() { return dataSet().m_chnlIcaData[1]; }

    CFaceIcazq package;
    icawave::ScriptedFrontEnd ui;
    const CString packagePath = path() + ".icpkg";
    Bytes file; // as it was saved
    const Bytes bytes = test::golden("package_several.bin");
    const test::Rows rows{{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 4};
};

struct Operation {
    friend void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }

    const char* name;
    std::function<std::int32_t(Scene&)> run; // 0 is a failure told by the result
    bool raises = false;                     // no result is promised for it
};
constexpr bool raises = true;

std::int32_t toVectors(Scene& s) {
    CMMatrix1Dzq* vectors = nullptr;
    std::int64_t count = 0;
    const std::int32_t result = s.dataSet().getData2MCohTimSnsSns(vectors, count);
    delete[] vectors;
    return result;
}

std::int32_t fromVectors(Scene& s) {
    const std::unique_ptr<CMMatrix1Dzq[]> vectors(new (std::nothrow) CMMatrix1Dzq[2]);
    if (!vectors || !vectors[0].checkInitData(9, true) || !vectors[1].checkInitData(9, true)) return 0;
    return s.dataSet().setData4Mica(vectors.get(), 2);
}

std::int32_t store(Scene& s) {
    CMemFile file;
    CArchive archive(&file, CArchive::store);
    const std::int32_t result = s.package.serialize(archive);
    archive.Close();
    return result;
}

// Items that find no memory are told by the channel's result, which a package does not consult.
std::int32_t loadPackage(Scene& s) {
    CMemFile file(s.bytes.data(), s.bytes.size());
    CArchive archive(&file, CArchive::load);
    CFaceIcazq loaded;
    const std::int32_t result = loaded.serialize(archive);
    return archive.firstFault() ? 0 : result;
}

std::int32_t replaceFile(Scene& s) {
    icawave::PackageFile opened(icawave::pathOf(s.packagePath));
    CFaceIcazq loaded;
    const bool told = opened.load(loaded).size() + opened.check().size() > 0;
    opened.replace(s.package);
    return told ? 0 : 1;
}

// A matrix that finds no memory is left empty without a word.
std::int32_t takeOver(Scene& s) {
    const std::int32_t result = s.dataSet().addIcaData(3, 3, 4, s.rows.get(), s.rows.get(), s.rows.get());
    const CIcaParamzq& parameters = *s.dataSet().getIcaParamzq(0);
    return result && parameters.m_Wunmix.getRow() == 3 && parameters.m_Wsecond.getRow() == 3;
}

std::int32_t keepSecond(Scene& s) {
    const double* const own[] = {s.channel().m_data};
    const std::int32_t result = s.dataSet().addIcaData(1, 0, 3, nullptr, nullptr, own);
    const bool changed = s.dataSet().m_chnlTotal != 2;
    EXPECT_TRUE(result ? s.dataSet().getValue(2, 0) == 6.0 : !changed || !s.dataSet().m_chnlIcaData);
    return result;
}

// A failure leaves the channel so many of its values, without a look that allocates.
std::int32_t keeps(Scene& s, std::int32_t result, std::int64_t count) {
    const CChnlIcaDatazq& channel = s.channel();
    EXPECT_TRUE(result || (channel.m_size == count && (count < 3 || channel.m_data[2] == 6.0)));
    EXPECT_EQ(channel.m_bkSize > 0, channel.m_bkData != nullptr);
    return result;
}

const Operation operations[] = {
    {"store", store, raises},
    {"load", loadPackage, raises},
    {"package file", replaceFile, raises},
    {"save .icd", [](Scene& s) { return s.dataSet().saveIcaDataStd(); }, raises},
    {"open .icd", [](Scene& s) { return s.dataSet().openicaDataStd() && s.dataSet().m_chnlIcaData; }, raises},
    {"addIcaData", takeOver},
    {"addIcaData of own channels", keepSecond},
    {"checkInitSnsIcaData", [](Scene& s) { return s.dataSet().checkInitSnsIcaData(4, 5, false); }},
    {"getData2MCohTimSnsSns", toVectors},
    {"setData4Mica", fromVectors},
    {"getStatistics", [](Scene& s) { return s.dataSet().getStatistics().IsEmpty() ? 0 : 1; }, raises},
    {"accumulateTime1", [](Scene& s) { return s.dataSet().accumulateTime1(); }},
    {"getIcaParamzq",
     [](Scene& s) { return s.dataSet().cleanIcaParam(), s.dataSet().getIcaParamzq(1) ? 1 : 0; }},
    {"channel resize", [](Scene& s) { return keeps(s, s.channel().resize(5), 3); }},
    {"channel checkInitData",
     [](Scene& s) { return keeps(s, s.channel().checkInitData(2, true) != nullptr, 0); }},
    {"channel copy2Mtx", [](Scene& s) { return keeps(s, s.channel().copy2Mtx(s.rows.get()[0], 4), 0); }},
    {"channel copy2Mtx of itself",
     [](Scene& s) { return keeps(s, s.channel().copy2Mtx(s.channel().m_data, 2), 0); }},
    {"channel bkDataIn",
     [](Scene& s) { return s.channel().cleanbkData(), keeps(s, s.channel().bkDataIn(), 3); }},
    {"channel bkDataInOut", [](Scene& s) { return s.channel().resize(2) ? s.channel().bkDataInOut() : 0; }},
    {"package checkInitIcaPkg", [](Scene& s) { return s.package.checkInitIcaPkg(2, 3, true); }},
    {"package getIcaDataName4Class",
     [](Scene& s) { return s.package.getIcaDataName4Class(0).IsEmpty() ? 0 : 1; }, raises},
    {"package viewerAdd", [](Scene& s) { return s.package.viewerAdd(reinterpret_cast<CWnd*>(&s)); }, raises},
    {"dialog", [](Scene& s) { return s.package.showDlgIcaManager(nullptr); }, raises},
};

class Allocations : public ::testing::TestWithParam<Operation> {};

TEST_P(Allocations, EveryFailureIsToldAndLeavesTheRestAsItWas) {
    {
        Scene s;
        ASSERT_EQ(s.dataSet().saveIcaDataStd(), 1);
    }
    long n = 0;
    for (bool reached = true; reached; ++n) {
        Scene s;
        const Bytes other = stored(*s.package.getIcaData(1));
        bool told = false;
        {
            const test::FailAllocation failure(n);
            try {
                told = GetParam().run(s) == 0;
            } catch (const CException&) { // behind items that found no memory a record is misread
                told = GetParam().raises;
            }
            reached = failure.failed();
        }
        EXPECT_EQ(told || !s.ui.messages.empty(), reached) << n;
        EXPECT_TRUE(stored(*s.package.getIcaData(1)) == other) << n;
        EXPECT_TRUE(test::contents(s.packagePath.utf8()) == s.file) << n;
        const Bytes left = stored(s.package);
        CFaceIcazq again;
        EXPECT_EQ(load(again, left).result, 1) << n;
        EXPECT_TRUE(stored(again) == left) << n;
    }
    EXPECT_GT(n, 1) << "it allocates";
}

INSTANTIATE_TEST_SUITE_P(Fail, Allocations, ::testing::ValuesIn(operations));

} // namespace
