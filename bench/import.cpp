// SPDX-License-Identifier: BSD-3-Clause
// The import of a real recording beside reading it and multiplying with Eigen: bench_import FILE.set
#include "bench/Pairs.h"

#include "exchange/EeglabImport.h"

#include <filesystem>

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
        bench::comparePairs(
            state,
            [&] {
                return bench::seconds([&] {
                    icawave::formats::EeglabImport set(source);
                    icawave::AtomicFile file(target);
                    set.write(file);
                    file.commit();
                });
            },
            [&] {
                double sum = 0.0;
                const double time = bench::seconds([&] {
                    icawave::formats::EeglabSet set(source);
                    const Eigen::MatrixXd unmix = set.weights * set.sphere;
                    for (std::int64_t trial = 0; trial < set.trials; ++trial)
                        sum += (unmix * set.samples(trial, 0, set.sampleCount)).eval()(0, 0);
                });
                benchmark::DoNotOptimize(&sum);
                return time;
            });
    });
    benchmark::RunSpecifiedBenchmarks();
}
