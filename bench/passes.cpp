// SPDX-License-Identifier: BSD-3-Clause
// Operations in memory beside one pass that only reads the same values, or memcpy between the same buffers.
#include "bench/Pairs.h"

#include "trial/Values.h"

#include <cmath>
#include <cstring>
#include <memory>

using bench::seconds;

namespace {

// One package of a workload, its buffers, and a second one for what needs a target.
struct Data {
    explicit Data(const bench::Workload& size) : workload(size) {
        bench::fill(package, size);
        bench::fill(other, size);
        from = bench::buffers(package);
        to = bench::buffers(other);
    }

    bench::Workload workload;
    CFaceIcazq package, other;
    std::vector<double*> from, to;
};

// The fastest way to look at every value: whole words without an order.
double readAll(const Data& data) {
    std::uint64_t bits = 0;
    const double time = seconds([&] {
        for (const double* values : data.from) {
            for (int i = 0; i < data.workload.samples; ++i) {
                std::uint64_t word;
                std::memcpy(&word, values + i, sizeof word);
                bits ^= word;
            }
        }
    });
    benchmark::DoNotOptimize(bits);
    return time;
}

double copyAll(const std::vector<double*>& to, const std::vector<double*>& from, int samples) {
    return seconds([&] {
        for (std::size_t k = 0; k < from.size(); ++k) std::memcpy(to[k], from[k], samples * sizeof(double));
        benchmark::ClobberMemory();
    });
}

template <class F>
double timeEach(CFaceIcazq& package, F&& f) {
    return seconds([&] { bench::forEachDataSet(package, f); });
}

// Runs a pass over all channels and uses one field of each result, so that the compiler keeps the work.
template <class Pass, double Pass::*field>
void totalOf(CTrialIcaDatazq& d) {
    double total = 0.0;
    icawave::passOverChannels(
        d.m_chnlIcaData, d.m_chnlTotal, 0, icawave::valueCount, [](const CChnlIcaData&) { return Pass(); },
        [&](const CChnlIcaData&, const Pass& pass) { total += pass.*field; });
    const volatile double used = total;
    static_cast<void>(used);
}

// Reading passes.
void addReading(Data& data) {
    const std::string suffix = std::string("/") + data.workload.name;
    const auto beside = [&data, suffix](const char* name, auto operation) {
        bench::add(std::string("read/") + name + suffix, [&data, operation](benchmark::State& state) {
            bench::comparePairs(
                state, [&] { return timeEach(data.package, operation); }, [&] { return readAll(data); });
        });
    };
    beside("getStatistics", [](CTrialIcaDatazq& d) { d.getStatistics(); });
    beside("getIcaDataRange", [](CTrialIcaDatazq& d) {
        double min, max;
        d.getIcaDataRange(min, max, false, 0, 0);
        bench::require(min >= -1.0 && max <= 1.0 && min < max, "a range");
    });
    beside("getIcaAbsRange", [](CTrialIcaDatazq& d) {
        double min, max;
        d.getIcaAbsRange(min, max, true, false, 0, 0);
        bench::require(min >= 0.0 && max <= 1.0 && min < max, "a range of magnitudes");
    });
    beside("normRMS_sum", totalOf<icawave::SquaresPass, &icawave::SquaresPass::squares>);
    beside("accumulateTime1_sum", totalOf<icawave::SumPass, &icawave::SumPass::sum>);
}

// One chain of additions, each waiting for the one before, over values in the first-level cache.
double plainChain(std::int64_t values) {
    std::vector<double> cached(1000, 0.5);
    double sum = 0.0;
    const double time = seconds([&] {
        for (std::int64_t k = 0; k < values; k += 1000) {
            for (const double value : cached) sum += value;
        }
    });
    benchmark::DoNotOptimize(sum);
    return time;
}

void addChain(Data& data) {
    bench::add(std::string("chain/checkDataRange/") + data.workload.name, [&data](benchmark::State& state) {
        bench::comparePairs(
            state, [&] { return timeEach(data.package, [](CTrialIcaDatazq& d) { d.checkDataRange(); }); },
            [&] { return plainChain(data.workload.values()); });
    });
}

// Passes that write, beside memcpy of as many bytes.
void addWriting(Data& data) {
    const std::string suffix = std::string("/") + data.workload.name;
    const auto beside = [&data, suffix](const char* name, auto operation) {
        bench::add(std::string("write/") + name + suffix, [&data, operation](benchmark::State& state) {
            bench::comparePairs(
                state, [&] { return operation(data); },
                [&] { return copyAll(data.to, data.from, data.workload.samples); });
        });
    };
    beside("normRMS_division", [](Data& d) {
        const volatile double one = 1.0; // unknown to the compiler
        const double divisor = one;
        return timeEach(d.package, [&](CTrialIcaDatazq& dataSet) {
            for (std::int64_t k = 0; k < dataSet.m_chnlTotal; ++k)
                icawave::divide(dataSet.m_chnlIcaData[k].m_data, d.workload.samples, divisor);
        });
    });
    beside("sumDatSetSns", [](Data& d) {
        return seconds([&] {
            for (std::int32_t k = 0; k < d.package.getTotalIca(); ++k)
                d.other.getIcaData(k)->sumDatSetSns(*d.package.getIcaData(k));
        });
    });
    beside("zeroSelection", [](Data& d) {
        return timeEach(d.other, [](CTrialIcaDatazq& dataSet) { dataSet.zeroSelection(); });
    });
}

// The vectors of one data set, one for each time point, and the copy of all their bytes as they lie.
class Conversion {
public:
    explicit Conversion(CTrialIcaDatazq& dataSet) : m_dataSet(dataSet) {
        CMMatrix1Dzq* made = nullptr;
        bench::require(dataSet.getData2MCohTimSnsSns(made, m_count) == 1, "vectors");
        m_vectors.reset(made);
    }

    double toVectors() {
        CMMatrix1Dzq* vectors = m_vectors.get();
        const double time = seconds([&] { m_dataSet.getData2MCohTimSnsSns(vectors, m_count); });
        const std::int64_t k = m_dataSet.m_chnlTotal - 1, t = m_count - 1;
        bench::require(m_vectors[t].getData()[k] == m_dataSet.m_chnlIcaData[k].m_data[t], "the last value");
        return time;
    }
    double fromVectors() {
        return seconds(
            [&] { bench::require(m_dataSet.setData4Mica(m_vectors.get(), m_count) == 1, "vectors taken"); });
    }
    // Between the same buffers: `chunk` values at a time, whatever they mean.
    double copyBytes(bool into) {
        return seconds([&] {
            const std::int64_t channels = m_dataSet.m_chnlTotal, total = channels * m_count;
            for (std::int64_t at = 0; at < total;) {
                double* vector = m_vectors[at / channels].getData() + at % channels;
                double* channel = m_dataSet.m_chnlIcaData[at / m_count].m_data + at % m_count;
                const std::int64_t chunk = std::min(channels - at % channels, m_count - at % m_count);
                std::memcpy(into ? vector : channel, into ? channel : vector, chunk * sizeof(double));
                at += chunk;
            }
        });
    }

private:
    CTrialIcaDatazq& m_dataSet;
    std::unique_ptr<CMMatrix1Dzq[]> m_vectors;
    std::int64_t m_count = 0;
};

void addConversion(Data& data) {
    const std::string suffix = std::string("/") + data.workload.name;
    for (const bool into : {true, false}) {
        bench::add((into ? "convert/getData2MCohTimSnsSns" : "convert/setData4Mica") + suffix,
                   [&data, into](benchmark::State& state) {
                       std::vector<Conversion> all;
                       bench::forEachDataSet(data.package, [&](CTrialIcaDatazq& d) { all.emplace_back(d); });
                       const auto sum = [&](auto each) {
                           double time = 0.0;
                           for (Conversion& one : all) time += each(one);
                           return time;
                       };
                       bench::comparePairs(
                           state,
                           [&] {
                               return sum(
                                   [&](Conversion& c) { return into ? c.toVectors() : c.fromVectors(); });
                           },
                           [&] { return sum([&](Conversion& c) { return c.copyBytes(into); }); });
                   });
    }
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    std::vector<std::unique_ptr<Data>> all;
    for (const bench::Workload& workload : bench::workloads) {
        Data& data = *all.emplace_back(std::make_unique<Data>(workload));
        addReading(data);
        addChain(data);
        addWriting(data);
        addConversion(data);
    }
    benchmark::RunSpecifiedBenchmarks();
}
