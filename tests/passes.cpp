// SPDX-License-Identifier: BSD-3-Clause
// Every pass over the values against a plain loop, bit for bit, on arrays chosen to be nasty: NaN first,
// later or only in the second channel, both zeros, infinities, every size from 0 to 17, channels longer and
// shorter than the data set says, and missing ones.
#include "tests/Support.h"

#include <bit>
#include <cmath>
#include <limits>

namespace {

using test::Values;
using Channels = std::vector<Values>; // an empty one has no buffer

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

std::uint64_t bits(double value) {
    return std::isnan(value) ? ~std::uint64_t{0}
                             : std::bit_cast<std::uint64_t>(value); // one NaN is like another
}

Values numbers(std::size_t n, double seed) {
    Values v(n);
    for (std::size_t i = 0; i < n; ++i) v[i] = std::sin(seed + 1.7 * static_cast<double>(i)) * std::exp(seed);
    return v;
}

std::vector<Channels> nastyChannels() {
    std::vector<Channels> all;
    for (std::size_t n = 0; n <= 17; ++n) {
        for (const std::size_t count : {1, 2, 4, 5, 9}) {
            Channels channels;
            for (std::size_t k = 0; k < count; ++k)
                channels.push_back(numbers(n, 0.3 * static_cast<double>(k)));
            all.push_back(channels);
        }
    }
    const Channels special = {{nan, 1, -2},
                              {1, nan, -2},
                              {0.0, -0.0},
                              {-0.0, 0.0},
                              {-0.0, -0.0},
                              {infinity, -infinity, 1},
                              {nan},
                              {-infinity, -infinity},
                              {nan, nan, 0},
                              {},
                              {5e-324, -5e-324, 1e308}};
    for (const Values& first : special) {
        all.push_back({first});
        for (const Values& second : special) all.push_back({first, second});
        all.push_back({numbers(3, 1), first, numbers(17, 2), numbers(3, 3), numbers(3, 4), first,
                       numbers(3, 5), numbers(3, 6), first});
    }
    return all;
}

test::DataSet dataSetFrom(const Channels& channels, std::int64_t totalSample) {
    test::DataSet dataSet = test::newDataSet();
    dataSet->checkInitSnsIcaData(channels.size(), 1, true);
    for (std::size_t k = 0; k < channels.size(); ++k) {
        dataSet->m_chnlIcaData[k].cleanData();
        if (!channels[k].empty()) dataSet->m_chnlIcaData[k].copy2Mtx(channels[k].data(), channels[k].size());
    }
    dataSet->m_totalSample = totalSample;
    return dataSet;
}

// Runs f over every nasty data set, each with sample counts that fit and that do not.
void forEachNasty(const std::function<void(CTrialIcaDatazq&, const Channels&, std::int64_t)>& f) {
    std::size_t number = 0;
    for (const Channels& channels : nastyChannels()) {
        const std::int64_t n = channels[0].size();
        for (const std::int64_t total : {n, n + 2, n - 1}) {
            SCOPED_TRACE("data set " + std::to_string(number) + ", " + std::to_string(total) + " samples");
            const test::DataSet dataSet = dataSetFrom(channels, total);
            f(*dataSet, channels, total);
            if (::testing::Test::HasFailure()) return;
        }
        ++number;
    }
    EXPECT_GT(number, 200u);
}

double at(const Values& channel, std::int64_t i) {
    return i < std::ssize(channel) ? channel[i] : 0.0;
}

struct Range {
    double min = 0.0, max = 0.0;
    bool any = false;
    void take(double value) {
        if (!any) min = max = value;
        any = true;
        if (value < min) min = value;
        if (value > max) max = value;
    }
};

void expectSame(const Values& actual, const Values& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t k = 0; k < actual.size(); ++k)
        EXPECT_EQ(bits(actual[k]), bits(expected[k])) << actual[k] << " instead of " << expected[k];
}

void expectSame(double actual, double expected) {
    expectSame(Values{actual}, Values{expected});
}

// What one plain loop over an array finds.
struct Plain {
    explicit Plain(const Values& values) {
        for (const double value : values)
            range.take(value), sum += value, absolute += std::fabs(value), squares += value * value;
        if (!values.empty()) n = static_cast<double>(values.size());
    }
    double sum = 0, absolute = 0, squares = 0, n = 1;
    Range range;
};

// The first channel's range, then what the others' lie beyond it.
void widen(Range& whole, const Range& own) {
    if (!whole.any) whole = own, whole.any = true;
    if (own.min < whole.min) whole.min = own.min;
    if (own.max > whole.max) whole.max = own.max;
}

// Samples begin ... end as a data set counts them: those that a channel lacks are 0.0.
Values counted(const Values& channel, std::int64_t begin, std::int64_t end) {
    Values values;
    for (std::int64_t i = begin; i <= end; ++i) values.push_back(at(channel, i));
    return values;
}

TEST(Passes, RangesOfValuesAndMagnitudes) {
    forEachNasty([](CTrialIcaDatazq& d, const Channels& channels, std::int64_t total) {
        double min = 9, max = 9, sum = 0;
        Range whole;
        for (const Values& channel : channels) widen(whole, Plain(channel).range), sum += Plain(channel).sum;
        EXPECT_EQ(d.getIcaDataRange(min, max, false, 0, 0), total > 0 ? 1 : 0);
        if (total > 0)
            expectSame({min, max, d.m_dataMin, d.m_dataMean},
                       {whole.min, whole.max, whole.min, sum / static_cast<double>(channels.size())});
        for (const auto& [begin, end, all] :
             {std::tuple<std::int64_t, std::int64_t, bool>{0, total - 1, true},
              {0, total - 1, false},
              {1, total - 2, false},
              {total - 1, total - 1, false}}) {
            if (!all && (begin < 0 || end < 0 || begin >= total)) continue;
            Range part, magnitudes;
            for (const Values& channel : channels) {
                for (const double value : counted(channel, begin, end)) {
                    part.take(value);
                    if (!channel.empty()) magnitudes.take(std::fabs(value));
                }
            }
            EXPECT_EQ(d.getIcaAbsRange(min, max, all, !all, all ? 77 : begin, all ? 77 : end), 1);
            expectSame({min, max}, {magnitudes.min, magnitudes.max});
            if (all) {
                expectSame(d.m_absMid, (magnitudes.min + magnitudes.max) * 0.5);
                continue;
            }
            EXPECT_EQ(d.getIcaDataRange(min, max, true, begin, end), 1);
            expectSame({min, max}, {part.min, part.max});
        }
    });
}

TEST(Passes, StatisticsAndTheChainOverEverything) {
    forEachNasty([](CTrialIcaDatazq& d, const Channels& channels, std::int64_t total) {
        double means = 0, magnitudes = 0, roots = 0;
        Values all;
        Range whole;
        const auto count = static_cast<double>(channels.size());
        for (const Values& channel : channels) {
            const Plain own(channel);
            means += own.sum / own.n, magnitudes += own.absolute / own.n,
                roots += std::sqrt(own.squares / own.n);
            widen(whole, own.range);
            for (const double value : counted(channel, 0, total - 1)) all.push_back(value);
        }
        EXPECT_EQ(d.checkDataRange(), total > 0 ? 1 : 0);
        const Plain chain(all);
        if (total > 0)
            expectSame({d.m_dataMin, d.m_dataMax, d.m_dataMean},
                       {chain.range.min, chain.range.max, chain.sum / count});
        EXPECT_EQ(d.getStatistics(), CString::Format("%s Min: %f\tMean: %f Max: %f AbsSum: %f RmsSum: %f \n",
                                                     d.m_icaName, whole.min, means / count, whole.max,
                                                     magnitudes / count, std::sqrt(roots / count)));
        expectSame({d.m_dataMin, d.m_dataMax, d.m_dataMean}, {whole.min, whole.max, means / count});
    });
}

TEST(Passes, NormalisationAndReductions) {
    forEachNasty([](CTrialIcaDatazq& d, const Channels& channels, std::int64_t total) {
        icawave::ScriptedFrontEnd ui;
        double squares = 0;
        for (const Values& channel : channels) squares += Plain(counted(channel, 0, total - 1)).squares;
        const double rms = std::sqrt(squares / static_cast<double>(channels.size()));
        const bool divides = total > 0 && rms > 0;
        EXPECT_EQ(d.normRMS(), divides ? 1 : 0);
        EXPECT_EQ(ui.messages.size(), total > 0 && !divides ? 1u : 0u);
        const test::DataSet fresh = dataSetFrom(channels, total), other = dataSetFrom(channels, total);
        EXPECT_EQ(fresh->sumDatSetSns(*other), 1);
        EXPECT_EQ(other->accumulateTime1(), total > 0 ? 1 : 0);
        for (std::size_t k = 0; k < channels.size(); ++k) {
            Values divided = channels[k], doubled = channels[k];
            for (std::size_t i = 0; i < divided.size(); ++i) {
                if (divides && static_cast<std::int64_t>(i) < total) divided[i] /= rms;
                doubled[i] += channels[k][i];
            }
            expectSame(test::values(d.m_chnlIcaData[k]), divided);
            expectSame(test::values(fresh->m_chnlIcaData[k]), doubled);
            if (total < 1) continue;
            const double mean = Plain(counted(channels[k], 0, total - 1)).sum / static_cast<double>(total);
            expectSame({other->m_chnlIcaData[k].m_data[0], other->m_chnlIcaData[k].m_bkData[0]},
                       {mean, mean});
        }
    });
}

TEST(Passes, StatisticsOfOneChannel) {
    for (const Channels& channels : nastyChannels()) {
        const Values& v = channels.back();
        const Plain plain(v);
        CChnlIcaDatazq channel;
        channel.copy2Mtx(v.data(), v.size());
        double min, mean, max, mean2, absMean, rms, fromFirst = v.empty() ? 0.0 : v[0];
        for (std::size_t i = 1; i < v.size(); ++i) fromFirst += v[i];
        EXPECT_EQ(channel.getStatistic(min, mean, max, mean2, absMean, rms), 1);
        expectSame({min, max, mean, mean2, absMean, rms},
                   {plain.range.min, plain.range.max, fromFirst / plain.n, plain.sum / plain.n,
                    plain.absolute / plain.n, std::sqrt(plain.squares / plain.n)});
        if (v.empty()) continue;
        EXPECT_EQ(channel.getDataRange(min, mean, max), 1);
        const double extreme =
            std::fabs(plain.range.max) > std::fabs(plain.range.min) ? plain.range.max : plain.range.min;
        expectSame({mean, channel.getValueMax(), channel.getSelectDataMean(-5, 99, 0),
                    channel.getSelectDataMean(-5, 99, 1)},
                   {fromFirst / plain.n, plain.range.max, plain.sum / plain.n, extreme});
        double horner = v.back();
        for (std::size_t i = v.size() - 1; i-- > 0;) horner = horner * 0.5 + v[i];
        expectSame(channel.polynmlEval(0.5), horner);
        const double divisor = plain.absolute / plain.n;
        EXPECT_EQ(channel.normSumSqrt(), divisor > 0.0 ? 1 : 0) << "a NaN is not above 0";
        Values divided = v;
        if (divisor > 0.0) {
            for (double& value : divided) value /= divisor;
        }
        expectSame(test::values(channel), divided);
    }
}

// Sizes round those of the squares and tiles that are transposed at once; a channel that lacks samples.
TEST(Passes, ConversionsPutEveryValueInItsPlace) {
    for (const int channels : {1, 7, 8, 9, 64, 71, 130}) {
        for (const int samples : {1, 8, 31, 33, 70, 200}) {
            SCOPED_TRACE(std::to_string(channels) + " x " + std::to_string(samples));
            const test::DataSet source = test::countingDataSet(channels, samples),
                                target = test::newDataSet();
            if (channels > 1) source->m_chnlIcaData[channels / 2].resize(samples - 1);
            CMMatrix1Dzq* vectors = nullptr;
            std::int64_t count = 0;
            ASSERT_EQ(source->getData2MCohTimSnsSns(vectors, count), 1);
            const std::unique_ptr<CMMatrix1Dzq[]> own(vectors);
            ASSERT_EQ(count, samples);
            ASSERT_EQ(target->setData4Mica(vectors, count), 1);
            for (int k = 0; k < channels; ++k) {
                const Values kept = test::values(source->m_chnlIcaData[k]);
                for (int t = 0; t < samples; ++t) {
                    ASSERT_EQ(vectors[t].getData()[k], at(kept, t)) << k << " " << t;
                    ASSERT_EQ(target->m_chnlIcaData[k].m_data[t], at(kept, t)) << k << " " << t;
                }
            }
        }
    }
}

} // namespace
