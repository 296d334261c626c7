#include "apps/cli/EeglabSet.h"

#include "apps/cli/Text.h"

#include <filesystem>
#include <numeric>

namespace icawave::cli {

EeglabSet::EeglabSet(const std::string& path)
    : m_path(path), m_file(path), m_set(m_file.variable("EEG")), m_data(field("data")),
      m_activations(field("icaact")) {
    if (m_set.isMissing() && field("nbchan").isMissing()) throw Failure(path, "holds no EEGLAB data set");
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
    if (hasActivations()) m_activations.requireSizes({weights.rows(), sampleCount, trials});
    noteLeftOut();
}

Eigen::MatrixXd EeglabSet::samples(std::int64_t trial) {
    Eigen::MatrixXd all(channels, sampleCount);
    if (sampleFile.empty()) {
        m_data.copyValues(trial * all.size(), all.size(), all.data());
    } else {
        Eigen::MatrixXf values(channels, sampleCount);
        const auto bytes = static_cast<std::streamsize>(sizeof(float)) * values.size();
        m_samples.seekg(trial * bytes);
        if (!m_samples.read(reinterpret_cast<char*>(values.data()), bytes))
            throw Failure(m_path, "cannot read " + sampleFile);
        all = values.cast<double>();
    }
    return all(sensors, Eigen::all);
}

Eigen::MatrixXd EeglabSet::storedActivations(std::int64_t trial) const {
    Eigen::MatrixXd values(weights.rows(), sampleCount);
    m_activations.copyValues(trial * values.size(), values.size(), values.data());
    return values;
}

MatValue EeglabSet::field(const char* fieldName) {
    return m_set.isMissing() ? m_file.variable(fieldName) : m_set.field(fieldName);
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
    const Eigen::MatrixXd values = stated.isEmpty() ? Eigen::MatrixXd() : stated.matrix();
    const std::int64_t count = stated.isEmpty() ? channels : values.size();
    if (count != sphere.cols()) field("icasphere").requireSizes({sphere.rows(), count});
    sensors.resize(count);
    std::iota(sensors.begin(), sensors.end(), 0);
    for (Eigen::Index k = 0; k < values.size(); ++k) {
        const double value = values(k);
        if (value < 1.0 || value > static_cast<double>(channels) || value != std::floor(value))
            stated.fail("names channel " + number(value) + " of " + std::to_string(channels));
        sensors[k] = static_cast<Eigen::Index>(value) - 1;
    }
}

void EeglabSet::readMarks() {
    hidden.assign(weights.rows(), false);
    const MatValue reject = field("reject");
    if (!reject.isStruct() || reject.isEmpty()) return;
    const MatValue marks = reject.field("gcompreject");
    if (marks.isEmpty()) return;
    const Eigen::MatrixXd values = marks.matrix();
    if (values.size() != weights.rows())
        marks.fail("marks " + counted(values.size(), "component") + " of " + std::to_string(weights.rows()));
    for (Eigen::Index k = 0; k < values.size(); ++k) hidden[k] = values(k) != 0.0;
}

void EeglabSet::openSamples() {
    if (!m_data.isEmpty() && !m_data.isText()) return m_data.requireSizes({channels, sampleCount, trials});
    const CString stated = m_data.isEmpty() ? field("datfile").text() : m_data.text();
    if (stated.IsEmpty()) m_data.fail("is missing or empty");
    openSampleFile(stated);
}

// The folder in the stated name is one of the machine that saved it; the file lies beside the .set.
void EeglabSet::openSampleFile(const CString& stated) {
    sampleFile = stated.utf8();
    sampleFile.erase(0, sampleFile.find_last_of("/\\") + 1);
    if (!sampleFile.ends_with(".fdt"))
        throw Failure(m_path, "the samples lie in " + sampleFile + ", which is no .fdt file");
    const std::filesystem::path path = std::filesystem::path(m_path).parent_path() / sampleFile;
    m_samples.open(path, std::ios::binary);
    std::error_code error;
    const std::uintmax_t found = std::filesystem::file_size(path, error);
    if (!m_samples || error) throw Failure(m_path, "cannot read " + sampleFile + " beside it");
    std::uintmax_t wanted = sizeof(float);
    for (const std::int64_t size : {channels, sampleCount, trials}) {
        if (__builtin_mul_overflow(wanted, size, &wanted)) throw Failure(m_path, "states impossible sizes");
    }
    if (found != wanted)
        throw Failure(m_path, sampleFile + " holds " + std::to_string(found) + " bytes instead of " +
                                  std::to_string(wanted));
}

void EeglabSet::noteLeftOut() {
    const std::vector<std::pair<const char*, const char*>> parts = {
        {"event", "events"},       {"epoch", "epoch descriptions"}, {"chanlocs", "channel locations"},
        {"dipfit", "dipole fits"}, {"stats", "statistics"},         {"specicaact", "component spectra"},
        {"comments", "comments"},  {"history", "history"}};
    for (const auto& [part, title] : parts) {
        if (!field(part).isEmpty()) leftOut.push_back(title);
    }
    const auto unused = channels - static_cast<std::int64_t>(sensors.size());
    if (unused > 0) leftOut.push_back(counted(unused, "channel") + " outside the decomposition");
}

} // namespace icawave::cli
