// SPDX-License-Identifier: BSD-3-Clause
// A small host: it decomposes a simulated recording, hands the trials and a coherence over to a package, and
// stores it.
//
//     icawave_host OUT.icpkg
//
// Exits with 0 when the package loads again with the same bits, else with 1 and a line on stderr.
#include "Analysis.h"
#include "Compare.h"

#include <icawave/icawave.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace {

constexpr double trialBegin = -0.5; // seconds, latency of a trial's first sample
constexpr int coherenceSensors = 6;
constexpr int windowSamples = 50;
constexpr int windowStep = 25;
constexpr int windowCount = (trialSamples - windowSamples) / windowStep + 1;

void ensure(bool fine, const char* otherwise) {
    if (!fine) throw std::runtime_error(otherwise);
}

// The rows of m from column `first` on, as the library takes a matrix.
std::vector<const double*> rowPointers(const Matrix& m, Eigen::Index first = 0) {
    std::vector<const double*> rows;
    for (Eigen::Index r = 0; r < m.rows(); ++r) rows.push_back(m.row(r).data() + first);
    return rows;
}

// The component of each named source; other hosts would compare with EOG and ECG channels.
std::vector<int> findSources(const Matrix& activations, const Matrix& sources) {
    std::vector<int> found;
    for (int source = 0; source < namedSources; ++source) {
        int best = 0;
        Eigen::VectorXd r(activations.rows());
        for (int k = 0; k < r.size(); ++k) r(k) = absCorrelation(activations.row(k), sources.row(source));
        ensure(r.maxCoeff(&best) > 0.95, "a source was not recovered");
        std::cout << "  " << sourceNames[source] << ": component " << best + 1 << ", |r| = " << r(best)
                  << '\n';
        found.push_back(best);
    }
    return found;
}

std::string describe(const Decomposition& ica) {
    std::ostringstream text;
    text.precision(17);
    text << "FastICA: s = Wunmix * extraMatrixA * x + offset, x ~ extraMatrixB * s, offset =";
    for (const double value : ica.offset) text << ' ' << value;
    return text.str();
}

void addTrial(CFaceIcazq& package, const Decomposition& ica, int trial, const std::vector<int>& found) {
    const auto n = static_cast<int>(ica.unmixing.rows());
    const Matrix inverse = ica.unmixing.transpose();
    CTrialIcaDatazq* dataSet = package.checkInitIca4ID(n, trialSamples, 0, true); // stays the package's
    ensure(dataSet && dataSet->addIcaData(n, n, trialSamples, rowPointers(ica.unmixing).data(),
                                          rowPointers(inverse).data(),
                                          rowPointers(ica.activations, trial * trialSamples).data()),
           "no memory for a trial");
    CIcaParamzq* parameters = dataSet->getIcaParamzq(1);
    ensure(parameters->m_extraMatrixA.copyAmxn(rowPointers(ica.whitening).data(), n, sensorCount) &&
               parameters->m_extraMatrixB.copyAmxn(rowPointers(ica.maps).data(), sensorCount, n),
           "no memory for a trial's matrices");

    dataSet->m_icaName = CString::Format("simulated trial %d", trial + 1);
    dataSet->m_icaCmptInfo = describe(ica);
    dataSet->m_sampleRate = sampleRate;
    dataSet->m_anaLatencyBegin = trialBegin;
    dataSet->m_anaLatencyEnd = dataSet->getLatency4PtSecond(trialSamples - 1);
    dataSet->m_chnlTypeID = 2; // EEG
    dataSet->m_listID = trial;
    for (const NamedSource artefact : {eyeBlinks, heartbeat, lineNoise})
        dataSet->getChnlIcaData()[found[artefact]].m_show = 0;
}

void inspect(CFaceIcazq& package, int trial, int component) {
    ensure(package.setCurrentIca(trial), "there is no trial");
    CTrialIcaDatazq* dataSet = package.getIcaData(-1);
    dataSet->m_selectIca = component;
    dataSet->setSelect(100, 349);
    std::int64_t begin = 0, end = 0;
    double min = 0.0, max = 0.0;
    std::cout << "  " << dataSet->m_icaName.utf8() << ", " << dataSet->getSelect(begin, end)
              << " samples from "; // fills begin and end
    std::cout << dataSet->getLatency4PtSecond(begin) << " s to " << dataSet->getLatency4PtSecond(end)
              << " s\n";
    std::cout << "  component " << component + 1 << ": first value " << dataSet->getValue(-1, -1) << ", mean "
              << dataSet->getValueSelect(-1, -1, -1) << '\n';
    ensure(dataSet->getIcaDataRange(min, max, true, -1, -1), "the selection is empty");
    std::cout << "  all components there: " << min << " to " << max << '\n';
    ensure(dataSet->getIcaDataRange(min, max, false, -1, -1), "the trial is empty");
    std::cout << "  in the whole trial: " << min << " to " << max << '\n';
}

// Two viewers, one of them on a page that is hidden now, follow as the user steps through the current trial.
// A viewer draws the selected samples and scales them by the largest magnitude there.
void stepThrough(CFaceIcazq& package) {
    CWnd timeCourses, topography;
    timeCourses.Create(true, 800, 600);
    topography.Create(false, 300, 300);
    package.viewerAdd(&timeCourses);
    package.viewerAdd(&topography);
    CTrialIcaDatazq* dataSet = package.getIcaData(-1);
    package.setSelect(0, 124);
    do {
        std::int64_t begin = 0, end = 0;
        double min = 0.0, max = 0.0;
        package.getSelect(begin, end);
        ensure(dataSet->getIcaAbsRange(min, max, false, true, -1, -1), "the selection is empty");
        package.viewerInvalidate(true, nullptr, true);
        std::cout << "  from " << dataSet->getLatency4PtSecond(begin) << " s to "
                  << dataSet->getLatency4PtSecond(end) << " s: magnitudes up to " << max << '\n';
    } while (dataSet->nextSelect(125, 1) != 0); // around again to the start
    package.viewerRemove(nullptr, true);
    std::cout << "  repaints asked for: " << timeCourses.invalidations.size() << " of the time courses, "
              << topography.invalidations.size() << " of the hidden page\n";
}

// |r| of each pair of the first sensors in the window that begins at sample `begin`, row by row.
void fillCoherence(CMMatrix1Dzq& vector, const Matrix& sensors, int begin) {
    double* values = vector.checkInitData(coherenceSensors * coherenceSensors, false);
    ensure(values, "no memory for a coherence");
    const Matrix window = sensors.block(0, begin, coherenceSensors, windowSamples);
    for (int a = 0; a < coherenceSensors; ++a)
        for (int b = 0; b < coherenceSensors; ++b) *values++ = absCorrelation(window.row(a), window.row(b));
}

// The windows in which the package gives back other values than were handed over.
int changedWindows(CTrialIcaDatazq& dataSet, CMMatrix1Dzq* handedOver) {
    CMMatrix1Dzq* vectors = nullptr;
    std::int64_t count = 0;
    const bool got = dataSet.getData2MCohTimSnsSns(vectors, count) != 0;
    const std::unique_ptr<CMMatrix1Dzq[]> owner(vectors); // they are the caller's
    ensure(got && count == windowCount, "no coherence came back");
    int changed = 0;
    for (int t = 0; t < windowCount; ++t) {
        const double *out = handedOver[t].getData(), *back = vectors[t].getData();
        if (!std::equal(out, out + handedOver[t].getSize(), back, back + vectors[t].getSize())) ++changed;
    }
    return changed;
}

void addCoherence(CFaceIcazq& package, const Matrix& sensors) {
    const auto vectors = std::make_unique<CMMatrix1Dzq[]>(windowCount);
    for (int t = 0; t < windowCount; ++t) fillCoherence(vectors[t], sensors, t * windowStep);
    CTrialIcaDatazq* dataSet =
        package.checkInitIca4ID(coherenceSensors * coherenceSensors, windowCount, 0, true);
    ensure(dataSet && dataSet->setData4Mica(vectors.get(), windowCount), "no memory for the coherences");
    dataSet->m_icaName = "|r| of 6 sensors in trial 1";
    dataSet->m_icaCmptInfo = "magnitude of the correlation in windows of 50 samples";
    dataSet->m_sampleRate = sampleRate / windowStep;                                  // windows a second
    dataSet->m_anaLatencyBegin = trialBegin + 0.5 * (windowSamples - 1) / sampleRate; // middle of the window
    dataSet->m_anaLatencyEnd = dataSet->getLatency4PtSecond(windowCount - 1);
    dataSet->m_listID = trialCount;
    ensure(changedWindows(*dataSet, vectors.get()) == 0, "the coherences came back changed");

    CMMatrix1Dzq other; // of the second trial's first window
    fillCoherence(other, sensors, trialSamples);
    ensure(dataSet->addMSnsSnsTimID(&other, 3), "a time point could not be replaced");
    ensure(changedWindows(*dataSet, vectors.get()) == 1, "another time point changed");
    std::cout << "  " << windowCount
              << " windows came back as they were; |r| of sensors 1 and 2 in the fourth: "
              << vectors[3].getData()[1] << ", replaced by " << dataSet->getValue(3, 1) << '\n';
}

void save(CFaceIcazq& package, const char* path) {
    icawave::AtomicFile file(path);
    CArchive archive(&file, CArchive::store);
    package.serialize(archive);
    archive.Close();
    std::cout << "  " << file.GetLength() << " bytes written\n";
    file.commit();
}

void load(CFaceIcazq& package, const char* path) {
    CFile file;
    ensure(file.Open(path, CFile::modeRead), "the package file cannot be opened");
    CArchive archive(&file, CArchive::load);
    ensure(package.serialize(archive) && !archive.firstFault(), "the package file is damaged");
}

void run(const char* path) {
    std::cout << "Simulating " << sensorCount << " sensors, " << trialCount << " trials\n";
    const Recording recording = simulateRecording(1);

    const Decomposition ica = fastIca(recording.sensors, sourceCount);
    ensure(ica.converged, "the decomposition did not converge");
    std::cout << "FastICA converged after " << ica.iterations << " iterations\n";
    const std::vector<int> found = findSources(ica.activations, recording.sources);

    CFaceIcazq package;
    package.m_pkgName = "simulated recording";
    package.m_pkgShow = true;
    for (int trial = 0; trial < trialCount; ++trial) addTrial(package, ica, trial, found);
    std::cout << "Handed over " << package.getTotalIca() << " trials; inspecting one\n";
    inspect(package, 2, found[eyeBlinks]);
    std::cout << "Stepping through it\n";
    stepThrough(package);

    std::cout << "Coherence over time\n";
    addCoherence(package, recording.sensors);

    package.showChnlName("simulated trial"); // the trials are shown, the coherence is not
    std::cout << "Saving and loading " << path << '\n';
    save(package, path);
    CFaceIcazq loaded;
    load(loaded, path);
    Comparison comparison;
    comparison.package(package, loaded);
    std::cout << "  " << comparison.values << " values compared, " << comparison.differences << " differ\n";
    ensure(comparison.differences == 0, "the package changed in the file");
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: icawave_host OUT.icpkg\n";
        return 1;
    }
    try {
        run(argv[1]);
    } catch (const std::exception& error) { // the library's CException among them
        std::cerr << "icawave_host: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
