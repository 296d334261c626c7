// SPDX-License-Identifier: BSD-3-Clause
// The cost of one data set of 10 channels x 100 samples, which what serves large data must not raise.
#include "bench/Pairs.h"

#include <icawave/PackageFile.h>

namespace {

CFaceIcazq package;
std::vector<std::byte> bytes;
std::string path;
CMMatrix1Dzq* vectors = nullptr;
std::int64_t vectorCount = 0;

void store() {
    CMemFile file;
    CArchive archive(&file, CArchive::store);
    bench::require(package.serialize(archive) == 1, "stored");
    archive.Close();
    if (bytes.empty()) bytes.assign(file.bytes().begin(), file.bytes().end());
}

void load() {
    CFaceIcazq loaded;
    CMemFile file(bytes.data(), bytes.size());
    CArchive archive(&file, CArchive::load);
    bench::require(loaded.serialize(archive) == 1, "loaded");
}

void oneDataSet() {
    static const icawave::PackageFile opened(path);
    CFaceIcazq loaded;
    loaded.setIcaData(new CTrialIcaDatazq, 0);
    opened.read(0, *loaded.getIcaData(0));
}

template <class F>
void add(const char* name, F f) {
    benchmark::RegisterBenchmark((std::string("small/") + name).c_str(), [f](benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state) f(*package.getIcaData(0));
    });
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    bench::fill(package, {"", 1, 10, 100});
    const bench::Folder folder;
    path = (folder / "small.icpkg").string();
    icawave::PackageFile::save(path, package);
    store();
    package.getIcaData(0)->getData2MCohTimSnsSns(vectors, vectorCount);
    add("store", [](CTrialIcaDatazq&) { store(); });
    add("load", [](CTrialIcaDatazq&) { load(); });
    add("PackageFile_read", [](CTrialIcaDatazq&) { oneDataSet(); });
    static double min, max;
    add("getStatistics", [](CTrialIcaDatazq& d) { d.getStatistics(); });
    add("getIcaDataRange", [](CTrialIcaDatazq& d) { d.getIcaDataRange(min, max, false, 0, 0); });
    add("getIcaAbsRange", [](CTrialIcaDatazq& d) { d.getIcaAbsRange(min, max, true, false, 0, 0); });
    add("checkDataRange", [](CTrialIcaDatazq& d) { d.checkDataRange(); });
    add("getData2MCohTimSnsSns", [](CTrialIcaDatazq& d) { d.getData2MCohTimSnsSns(vectors, vectorCount); });
    add("setData4Mica", [](CTrialIcaDatazq& d) { d.setData4Mica(vectors, vectorCount); });
    add("normRMS", [](CTrialIcaDatazq& d) { d.normRMS(); });
    benchmark::RunSpecifiedBenchmarks();
    delete[] vectors;
}
