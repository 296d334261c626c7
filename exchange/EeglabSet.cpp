// SPDX-License-Identifier: BSD-3-Clause
#include "exchange/EeglabSet.h"

#include "exchange/Text.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numeric>

namespace icawave::formats {

EeglabSet::EeglabSet(const std::string& path)
    : m_path(path), m_file(path), m_set(m_file.variable("EEG")), m_data(field("data")) {
    if (m_set.isMissing()) requireAllVariables();
    name = field("setname").text();
    channels = field("nbchan").wholeNumber();
    sampleCount = field("pnts").wholeNumber();
    trials = field("trials").wholeNumber();
    samplingRate = field("srate").scalar();
    if (samplingRate <= 0.0) field("srate").fail("is not positive");
    begin = field("xmin").scalar();
    end = field("xmax").scalar();
    readDecomposition();
    readSensors();
    readMarks();
    openSamples();
    openActivations();
    checkTimes();
    noteLeftOut();
}

Eigen::MatrixXd EeglabSet::samples(std::int64_t trial, std::int64_t first, std::int64_t count) {
    const std::int64_t from = (trial * sampleCount + first) * channels;
    Eigen::MatrixXd all(channels, count);
    if (sampleFile.empty()) {
        m_data.copyValues(from, all.size(), all.data());
    } else {
        Eigen::MatrixXf values(channels, count);
        m_samples.seekg(from * sizeof(float));
        if (!m_samples.read(reinterpret_cast<char*>(values.data()), sizeof(float) * values.size()))
            throw Failure(m_path, "cannot read " + sampleFile);
        all = values.cast<double>();
    }
    return all(sensors, Eigen::all);
}

Eigen::MatrixXd EeglabSet::storedActivations(std::int64_t trial, std::int64_t first,
                                             std::int64_t count) const {
    Eigen::MatrixXd values(weights.rows(), count);
    m_activations.copyValues((trial * sampleCount + first) * values.rows(), values.size(), values.data());
    return values;
}

MatValue EeglabSet::field(const char* fieldName) const {
    return m_set.isMissing() ? m_file.variable(fieldName) : m_set.field(fieldName);
}

// Where the fields are variables of their own, a file that was cut between two of them still loads. So those
// without which the import would silently give something else must be there, if only empty.
void EeglabSet::requireAllVariables() const {
    if (field("nbchan").isMissing()) {
        const bool several = !m_file.variable("ALLEEG").isMissing();
        throw Failure(m_path, several ? "holds a list of data sets (ALLEEG); save each as a .set file"
                                      : "holds no EEGLAB data set");
    }
    for (const char* needed : {"setname", "icachansind", "reject"}) {
        if (field(needed).isMissing())
            throw Failure(m_path, std::string("has no variable ") + needed + "; it may have been cut");
    }
}

void EeglabSet::readDecomposition() {
    const MatValue storedWeights = field("icaweights");
    if (storedWeights.isEmpty())
        throw Failure(m_path, "holds no decomposition (icaweights is missing or empty)");
    weights = storedWeights.matrix();
    const MatValue storedSphere = field("icasphere");
    sphere = storedSphere.matrix();
    if (sphere.rows() != weights.cols()) storedSphere.requireSizes({weights.cols(), sphere.cols()});
    mixing = field("icawinv").matrix();
    field("icawinv").requireSizes({sphere.cols(), weights.rows()});
}

// Empty means all. Their number is compared with the sphere, which the file holds, before any is listed.
void EeglabSet::readSensors() {
    const MatValue stated = field("icachansind");
    const std::int64_t count = stated.isEmpty() ? channels : stated.size();
    if (count != sphere.cols()) field("icasphere").requireSizes({sphere.rows(), count});
    sensors.resize(count);
    std::iota(sensors.begin(), sensors.end(), 0);
    if (stated.isEmpty()) return;
    const Eigen::MatrixXd values = stated.matrix();
    for (Eigen::Index k = 0; k < values.size(); ++k) {
        const double value = values(k);
        if (value < 1.0 || value > static_cast<double>(channels) || value != std::floor(value))
            stated.fail("names channel " + number(value) + " of " + std::to_string(channels));
        sensors[k] = static_cast<Eigen::Index>(value) - 1;
    }
    std::vector<Eigen::Index> sorted = sensors;
    std::ranges::sort(sorted);
    if (const auto twice = std::ranges::adjacent_find(sorted); twice != sorted.end())
        stated.fail("names channel " + std::to_string(*twice + 1) + " more than once");
}

// EEGLAB makes the marks n x n and uses the first n of them.
void EeglabSet::readMarks() {
    const Eigen::Index components = weights.rows();
    hidden.assign(components, false);
    const MatValue reject = field("reject");
    if (reject.isEmpty()) return;
    const MatValue marks = reject.field("gcompreject");
    if (marks.isEmpty()) return;
    const Eigen::MatrixXd values = marks.matrix();
    std::int64_t lost = 0;
    for (Eigen::Index k = 0; k < values.size(); ++k) {
        if (k < components)
            hidden[k] = values(k) != 0.0;
        else if (values(k) != 0.0)
            ++lost;
    }
    if (values.size() == components) return;
    const std::string what = "gcompreject is " + marks.sizes() + " for " + counted(components, "component");
    if (lost == 0 && marks.hasSizes({components, components}))
        notes.push_back(what + ", of which the first column is taken");
    else if (values.size() < components)
        warnings.push_back(what + "; the others count as unmarked");
    else
        warnings.push_back(what + "; " + counted(lost, "mark") + " not taken");
}

// Whether the values are those of all trials; both ways to store them have the same order.
bool EeglabSet::isEpoched(const MatValue& values, std::int64_t rows) const {
    std::int64_t columns = 0;
    return values.hasSizes({rows, sampleCount, trials}) ||
           (!__builtin_mul_overflow(sampleCount, trials, &columns) && values.hasSizes({rows, columns}));
}

void EeglabSet::openSamples() {
    if (m_data.isEmpty() || m_data.isText()) {
        const CString stated = m_data.isEmpty() ? field("datfile").text() : m_data.text();
        if (stated.IsEmpty()) m_data.fail("is missing or empty");
        openSampleFile(stated);
    } else if (!m_data.isReal() || !isEpoched(m_data, channels)) {
        m_data.requireSizes({channels, sampleCount, trials});
    } else if (trials > 1 && !m_data.hasSizes({channels, sampleCount, trials})) {
        notes.push_back("data is " + m_data.sizes() + ", the trials one behind the other");
    }
    // Some matrices have a row for each component and a column for each sample: no file makes them by stating
    // few channels and many components.
    const auto most = (std::uint64_t{32} << 20) + 16 * (m_file.bytes() + m_sampleBytes);
    std::uint64_t bytes = sizeof(double);
    if (__builtin_mul_overflow(bytes, weights.rows(), &bytes) ||
        __builtin_mul_overflow(bytes, sampleCount, &bytes) || bytes > most ||
        static_cast<std::uint64_t>(channels) > ((std::uint64_t{1} << 20) + m_file.bytes() / 4))
        throw Failure(m_path, "states sizes that are too large for a file of this size");
}

// The folder in the stated name is one of the machine that saved it; the file lies beside the .set. Where it
// does not, both may have been renamed, or the extension has been spelt in another way.
void EeglabSet::openSampleFile(const CString& stated) {
    namespace fs = std::filesystem;
    std::string base = stated.utf8();
    base.erase(0, base.find_last_of("/\\") + 1);
    const fs::path folder = fs::path(m_path).parent_path();
    const auto stemOf = [](const fs::path& path) { return path.stem().string(); };
    const std::string extension = fs::path(base).extension().string();
    if (extension != ".fdt" && extension != ".FDT")
        throw Failure(m_path, "the samples lie in " + base + ", which is no .fdt file");
    for (const std::string& candidate : {base, stemOf(base) + ".fdt", stemOf(base) + ".FDT",
                                         stemOf(m_path) + ".fdt", stemOf(m_path) + ".FDT"}) {
        std::error_code ignored;
        if (!fs::is_regular_file(folder / candidate, ignored)) continue;
        sampleFile = candidate;
        break;
    }
    std::error_code error = std::make_error_code(std::errc::no_such_file_or_directory);
    if (!sampleFile.empty()) {
        m_samples.open(folder / sampleFile, std::ios::binary);
        m_sampleBytes = fs::file_size(folder / sampleFile, error);
    }
    if (!m_samples.is_open() || error) throw Failure(m_path, "cannot read " + base + " beside it");
    std::uintmax_t wanted = sizeof(float);
    for (const std::int64_t size : {channels, sampleCount, trials}) {
        if (__builtin_mul_overflow(wanted, size, &wanted)) throw Failure(m_path, "states impossible sizes");
    }
    if (m_sampleBytes != wanted)
        throw Failure(m_path, sampleFile + " holds " + std::to_string(m_sampleBytes) + " bytes instead of " +
                                  std::to_string(wanted));
    if (sampleFile != base)
        notes.push_back("the samples are those of " + sampleFile + ", since there is no " + base);
}

void EeglabSet::openActivations() {
    m_activations = field("icaact");
    if (m_activations.isEmpty()) return;
    m_compares = m_activations.isReal() && isEpoched(m_activations, weights.rows());
    if (!m_compares)
        warnings.push_back("icaact is " + m_activations.sizes() + " instead of " +
                           std::to_string(weights.rows()) + " x " + std::to_string(sampleCount) + " x " +
                           std::to_string(trials) + ", and was not compared");
}

void EeglabSet::checkTimes() {
    const double last = begin + static_cast<double>(sampleCount - 1) / samplingRate;
    if (!(std::abs(end - last) <= 0.5 / samplingRate))
        warnings.push_back("xmax is " + number(end) + " s, but the last sample is at " + number(last) + " s");
}

void EeglabSet::noteLeftOut() {
    const std::vector<std::pair<const char*, const char*>> parts = {
        {"event", "events"},       {"epoch", "epoch descriptions"}, {"chanlocs", "channel locations"},
        {"dipfit", "dipole fits"}, {"stats", "statistics"},         {"specicaact", "component spectra"},
        {"comments", "comments"},  {"history", "history"}};
    for (const auto& [part, title] : parts) {
        if (!field(part).isEmpty()) leftOut.push_back(title);
    }
    const auto unused = channels - std::ssize(sensors);
    if (unused > 0) leftOut.push_back(counted(unused, "channel") + " outside the decomposition");
}

} // namespace icawave::formats
