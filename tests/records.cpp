// SPDX-License-Identifier: BSD-3-Clause
// Records against what cannot be told by files alone: modes, limits, flags of half-filled objects, faults in
// every place.
#include "tests/Support.h"

using test::Bytes;
using test::load;
using test::Outcome;
using test::stored;

namespace {

template <class T>
void expectDefaultBytes(const char* name) {
    T object;
    EXPECT_EQ(stored(object), test::golden(name)) << name;
    EXPECT_EQ(stored(object, 16), test::golden(name)) << "through the smallest buffer";
}

TEST(Records, NewObjectsAreStoredAsTheFormatSays) {
    expectDefaultBytes<CFaceIcazq>("default_package.bin");
    expectDefaultBytes<CTrialIcaDatazq>("default_dataset.bin");
    expectDefaultBytes<CChnlIcaDatazq>("default_channel.bin");
    expectDefaultBytes<CIcaParamzq>("default_param.bin");
}

template <class T>
Outcome storeOutcome(T& object, CFile& file, std::uint32_t mode = CArchive::store) {
    Outcome outcome;
    CArchive archive(&file, mode);
    try {
        outcome.result = object.serialize(archive);
    } catch (const CArchiveException& e) {
        outcome.exception = e.what();
        archive.Abort();
    }
    outcome.fault = archive.firstFault();
    return outcome;
}

// The byte where a flag lies, counted from the end of a record.
std::byte fromEnd(const Bytes& bytes, std::size_t count) {
    return bytes[bytes.size() - count];
}

TEST(Records, FlagsFollowBuffersAndCounts) {
    CChnlIcaDatazq channel;
    channel.m_bkData = new double[1];
    EXPECT_EQ(fromEnd(stored(channel), 16), std::byte{0}) << "a channel's backup that counts no values";
    CIcProjectData item;
    item.m_bkData = new double[1];
    EXPECT_EQ(fromEnd(stored(item), 4), std::byte{1}) << "an item's backup is present by its pointer alone";

    test::DataSet dataSet = test::countingDataSet(2, 3);
    dataSet->m_chnlTotal = 0; // as resetting the coherence leaves it
    EXPECT_EQ(stored(*dataSet).size(), test::golden("default_dataset.bin").size());
    dataSet->m_chnlTotal = 2;
    test::DataSet loaded = test::countingDataSet(1, 1);
    loaded->cleanSnsIcaData();
    loaded->m_chnlTotal = 5; // a count without channels
    const Bytes bytes = stored(*loaded);
    EXPECT_EQ(load(*dataSet, bytes).result, 1);
    EXPECT_TRUE(!dataSet->m_chnlIcaData && dataSet->m_chnlTotal == 5);
    EXPECT_EQ(stored(*dataSet), bytes);
}

// Storing into a loading archive fails at the first byte; so does a buffer too large for the format, wherever
// it lies.
TEST(Records, WhatCannotBeStoredIsRefusedBeforeTheFirstByte) {
    CMemFile file;
    CFaceIcazq package;
    CTrialIcaDatazq* dataSet = package.checkInitIca4ID(2, 3, 0, true);
    CChnlIcaDatazq& channel = dataSet->m_chnlIcaData[1];
    const auto refused = [&](auto& object) {
        const Outcome outcome = storeOutcome(object, file);
        EXPECT_EQ(outcome.exception, "archive error");
        EXPECT_EQ(outcome.fault->offset, 0);
        EXPECT_EQ(file.GetLength(), 0);
    };
    channel.m_size = std::int64_t{1} << 29; // the buffer is not looked into
    refused(package);
    refused(*dataSet);
    refused(channel);
    channel.m_size = 3;
    channel.m_projectData = new CIcProjectData[1];
    channel.m_projectCount = 1;
    CIcProjectData& item = channel.m_projectData[0];
    item.m_data = new double[1];
    item.m_size = std::int64_t{1} << 30;
    refused(package);
    refused(item);
    item.m_size = 1;
    channel.bkDataIn();
    channel.m_bkSize = std::int64_t{1} << 29;
    refused(package);
    channel.m_bkSize = 3;
    EXPECT_EQ(storeOutcome(package, file).result, 1);

    const Bytes bytes = stored(package);
    CMemFile source(bytes.data(), bytes.size());
    EXPECT_EQ(storeOutcome(package, source, CArchive::load).result, 1);
}

// Cuts a record at every byte. Whatever comes of it can be stored and loaded again.
template <class T>
void expectTruncationsTold(const char* name) {
    const Bytes whole = test::golden(name);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        T object;
        const Outcome outcome = load(object, Bytes(whole.begin(), whole.begin() + length), 64);
        ASSERT_TRUE(outcome.fault) << name << " cut to " << length << " bytes";
        EXPECT_LE(outcome.fault->offset, static_cast<std::int64_t>(length));
        const Bytes again = stored(object);
        EXPECT_EQ(load(object, again).exception, "") << length;
    }
}

TEST(RecordDamage, EveryTruncationIsToldAndLeavesAUsableObject) {
    expectTruncationsTold<CFaceIcazq>("package_several.bin");
    expectTruncationsTold<CChnlIcaDatazq>("channel_full.bin");
    expectTruncationsTold<CIcaParamzq>("param_list_many.bin");
}

// Loaded sizes and selections that contradict the channels: missing samples read as 0.0 and divisors stay as
// defined.
TEST(RecordDamage, ContradictingSizesNeverReachOutsideAChannel) {
    test::DataSet dataSet = test::dataSetOf({{1, 2, 3}, {4, 5, 6}});
    dataSet->m_totalSample = 5;
    EXPECT_EQ(dataSet->getValue(4, 0), 0.0);
    EXPECT_EQ(dataSet->getValueSelect(1, 4, 1), 11.0 / 4);
    CMMatrix1Dzq* vectors = nullptr;
    std::int64_t count = 7;
    EXPECT_EQ(dataSet->getData2MCohTimSnsSns(vectors, count), 0)
        << "more vectors than any channel has samples";
    EXPECT_EQ(vectors, nullptr);
    const std::unique_ptr<CMMatrix1Dzq[]> own(new CMMatrix1Dzq[5]);
    vectors = own.get();
    count = 5;
    EXPECT_EQ(dataSet->getData2MCohTimSnsSns(vectors, count), 1);
    EXPECT_EQ(own[4].getData()[1], 0.0);
    EXPECT_EQ(dataSet->addMSnsSnsTimID(&own[0], 4), 1) << "a missing sample is not written";
}

// A count of 2^40 or -1 in every place that has one: a message or an exception at once, and no memory that
// the file does not justify.
TEST(RecordDamage, ImpossibleCountsCostNothing) {
    const Bytes whole = test::golden("package_several.bin");
    const test::PeakMemory peak;
    for (const std::int64_t count :
         {std::int64_t{1} << 40, std::int64_t{-1}, std::int64_t{1} << 61, std::int64_t{70'000}}) {
        for (std::size_t at = 0; at + 8 <= whole.size(); ++at) {
            Bytes damaged = whole;
            std::memcpy(&damaged[at], &count, 8);
            CFaceIcazq package;
            load(package, damaged);
        }
    }
    EXPECT_LT(peak.bytes(), std::size_t{256} << 20);
}

} // namespace
