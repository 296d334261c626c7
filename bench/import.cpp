// SPDX-License-Identifier: BSD-3-Clause
// The import of a real recording beside reading it and multiplying with Eigen: bench_import FILE.set
#include "bench/Pairs.h"

#include "apps/cli/Commands.h"
#include "apps/cli/EeglabSet.h"

#include <filesystem>
#include <iostream>
#include <sstream>

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc < 2 || !std::filesystem::exists(argv[1])) {
        std::fprintf(stderr, "bench_import: skipped, there is no recording\n");
        return 0;
    }
    const std::string source = argv[1];
    const bench::Folder folder;
    const std::string target = (folder / "imported.icpkg").string();
    bench::add("import/real_set", [&](benchmark::State& state) {
        std::ostringstream report;
        std::streambuf* const out = std::cout.rdbuf(report.rdbuf());
        bench::comparePairs(
            state, [&] { return bench::seconds([&] {
                             icawave::cli::importSet(source, {target, true});
                         }); },
            [&] {
                double sum = 0.0;
                const double time = bench::seconds([&] {
                    icawave::cli::EeglabSet set(source);
                    const Eigen::MatrixXd unmix = set.weights * set.sphere;
                    for (std::int64_t trial = 0; trial < set.trials; ++trial)
                        sum += (unmix * set.samples(trial, 0, set.sampleCount)).eval()(0, 0);
                });
                benchmark::DoNotOptimize(&sum);
                return time;
            });
        std::cout.rdbuf(out);
    });
    benchmark::RunSpecifiedBenchmarks();
}
