// SPDX-License-Identifier: BSD-3-Clause
// The manager's list of 10,000 data sets, rebuilt as "Refresh" does it: without a window, and painted by Qt.
#include "bench/Pairs.h"

#ifdef ICAWAVE_BENCH_QT
#    include <icawave/qt/QtFrontEnd.h>

#    include <QApplication>
#    include <QTreeView>
#endif

namespace {

// Rebuilds the rows, then paints them.
template <class Paint>
void rebuild(benchmark::State& state, CFaceIcazq& package, Paint paint) {
    CListIcaWaveDataset& list = package.m_dlgIcaManager->m_listIcaWave;
    std::vector<double> times;
    for ([[maybe_unused]] auto _ : state) {
        for (int k = 0; k < 9; ++k) {
            times.push_back(bench::seconds([&] {
                list.refreshRows();
                paint();
            }));
        }
        state.SetIterationTime(bench::median(times));
    }
    bench::require(list.GetItemCount() == 10'000, "10,000 rows");
}

void fill(CFaceIcazq& package) {
    bench::fill(package, {"", 10'000, 2, 3});
    package.showDlgIcaManager(nullptr);
}

void scripted(benchmark::State& state) {
    const icawave::ScriptedFrontEnd frontEnd;
    CFaceIcazq package;
    fill(package);
    rebuild(state, package, [] {});
}

#ifdef ICAWAVE_BENCH_QT
void qt(benchmark::State& state) {
    const icawave::qt::QtFrontEnd frontEnd;
    CFaceIcazq package;
    fill(package);
    auto* view = icawave::qt::widgetOf(*package.m_dlgIcaManager)->findChild<QTreeView*>();
    rebuild(state, package, [&] {
        QApplication::processEvents();
        view->viewport()->grab();
    });
}
#endif

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    bench::add("manager/scripted", scripted);
#ifdef ICAWAVE_BENCH_QT
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    const QApplication application(argc, argv);
    bench::add("manager/Qt", qt);
#endif
    benchmark::RunSpecifiedBenchmarks();
}
