// SPDX-License-Identifier: BSD-3-Clause
// What the benchmarks share: an operation and its physical limit, measured alternately in one process, and
// the three workloads.
#pragma once

#include <icawave/icawave.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace bench {

inline void require(bool right, const char* what) {
    if (right) return;
    std::fprintf(stderr, "wrong result: %s\n", what);
    std::exit(1);
}

template <class F>
double seconds(F&& f) {
    const auto begin = std::chrono::steady_clock::now();
    f();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

inline double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + std::ssize(values) / 2, values.end());
    return values[values.size() / 2];
}

// Reports the median of limit / operation as "ratio": 1 is the limit itself, 0.5 takes twice as long. Both
// are functions that return the seconds that they timed, so that preparation and checks do not count.
// Measured alternately, both suffer alike from other load on the machine.
template <class Operation, class Limit>
void comparePairs(benchmark::State& state, Operation operation, Limit limit) {
    constexpr int pairs = 9;
    std::vector<double> ratios, times;
    for ([[maybe_unused]] auto _ : state) {
        for (int k = 0; k < pairs; ++k) {
            const double best = limit();
            times.push_back(operation());
            ratios.push_back(best / times.back());
        }
        state.SetIterationTime(median(times));
    }
    state.counters["ratio"] = median(ratios);
}

// A folder of its own for files.
class Folder {
public:
    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "icawave-bench-XXXXXX").string();
        m_path = ::mkdtemp(name.data());
    }
    ~Folder() { std::filesystem::remove_all(m_path); }
    std::filesystem::path operator/(const char* name) const { return m_path / name; }
    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

struct Workload {
    const char* name;
    int dataSets, channels, samples;

    std::int64_t values() const { return std::int64_t{dataSets} * channels * samples; }
};
inline constexpr Workload workloads[] = {{"W1", 200, 64, 2000}, {"W2", 1, 44850, 200}, {"W3", 2000, 32, 384}};

// Values that differ and neither grow nor vanish.
inline void fill(CFaceIcazq& package, const Workload& size) {
    std::uint64_t next = 1;
    for (int k = 0; k < size.dataSets; ++k) {
        CTrialIcaDatazq* dataSet = package.checkInitIca4ID(size.channels, size.samples, 0, true);
        require(dataSet != nullptr, "memory for a workload");
        dataSet->setSelect(0, size.samples - 1);
        for (int channel = 0; channel < size.channels; ++channel) {
            double* values = dataSet->m_chnlIcaData[channel].m_data;
            for (int i = 0; i < size.samples; ++i) {
                next = next * 6364136223846793005u + 1442695040888963407u;
                values[i] = static_cast<double>(static_cast<std::int64_t>(next >> 11)) * 0x1p-52 - 1.0;
            }
        }
    }
}

// Every buffer of the package's channels, in order.
inline std::vector<double*> buffers(CFaceIcazq& package) {
    std::vector<double*> found;
    for (std::int32_t k = 0; k < package.getTotalIca(); ++k) {
        CTrialIcaDatazq& dataSet = *package.getIcaData(k);
        for (std::int64_t channel = 0; channel < dataSet.m_chnlTotal; ++channel)
            found.push_back(dataSet.m_chnlIcaData[channel].m_data);
    }
    return found;
}

template <class F>
void forEachDataSet(CFaceIcazq& package, F&& f) {
    for (std::int32_t k = 0; k < package.getTotalIca(); ++k) f(*package.getIcaData(k));
}

// Adds a benchmark "area/operation/workload" that runs once.
template <class F>
void add(const std::string& name, F&& f) {
    benchmark::RegisterBenchmark(name.c_str(), std::forward<F>(f))
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

} // namespace bench
