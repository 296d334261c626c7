// SPDX-License-Identifier: BSD-3-Clause
#include "exchange/EeglabImport.h"

#include "exchange/Text.h"

#include <Eigen/LU>

#include <algorithm>
#include <cmath>

namespace icawave::formats {

namespace {

// Values of all channels that are read in one piece.
constexpr std::int64_t samplesAtOnce = std::int64_t{1} << 22;
// Activations are stored in single precision and computed from samples in single precision; what is summed
// and rounded otherwise stays far below this share of the largest one.
constexpr double largestHarmlessDifference = 1e-3;

} // namespace

EeglabImport::Parameters::Parameters(const EeglabSet& set) {
    const bool square = set.weights.rows() == set.weights.cols();
    const auto k = set.weights.rows();
    unmixing = square ? set.weights : Eigen::MatrixXd::Identity(k, k);
    fromSensors = square ? set.sphere : Eigen::MatrixXd(set.weights * set.sphere);
    const Eigen::FullPivLU<Eigen::MatrixXd> factors(unmixing);
    if (factors.isInvertible()) inverse = factors.inverse();
}

EeglabImport::EeglabImport(const std::string& source)
    : m_set(source), m_source(source), m_parameters(m_set),
      m_name(m_set.name.IsEmpty() ? CString(m_source.stem().string()) : m_set.name),
      m_info(CString(m_source.filename().string()) +
             (m_set.sampleFile.empty() ? "" : " with samples in " + m_set.sampleFile) +
             ": s = icaweights * icasphere * data(icachansind, :) + offset, offset = 0") {}

std::filesystem::path EeglabImport::sampleFile() const {
    return m_set.sampleFile.empty() ? std::filesystem::path() : m_source.parent_path() / m_set.sampleFile;
}

void EeglabImport::write(CFile& file, const std::function<void(std::int64_t)>& whenAdded) {
    PackageInfo package;
    package.name = m_name;
    package.info = CString("imported from ") + CString(m_source.filename().string());
    PackageWriter writer(file, static_cast<std::int32_t>(trials()), package);
    const Eigen::MatrixXd unmix = m_set.weights * m_set.sphere;
    Rows activations(unmix.rows(), m_set.sampleCount);
    for (std::int64_t trial = 0; trial < trials(); ++trial) {
        compute(trial, unmix, activations);
        writer.add(dataSet(trial, activations).get());
        if (whenAdded) whenAdded(trial + 1);
    }
    writer.finish();
}

void EeglabImport::compute(std::int64_t trial, const Eigen::MatrixXd& unmix, Rows& activations) {
    const std::int64_t block = std::max<std::int64_t>(1, samplesAtOnce / m_set.channels);
    for (std::int64_t first = 0; first < m_set.sampleCount; first += block) {
        const std::int64_t count = std::min(block, m_set.sampleCount - first);
        const Eigen::MatrixXd samples = m_set.samples(trial, first, count);
        if (!samples.allFinite()) m_notFinite += count - samples.array().isFinite().colwise().all().count();
        activations.middleCols(first, count).noalias() = unmix * samples;
        if (m_set.hasActivations())
            compare(activations.middleCols(first, count), m_set.storedActivations(trial, first, count));
    }
}

std::vector<const double*> EeglabImport::rowsOf(const Rows& matrix) {
    std::vector<const double*> rows;
    for (Eigen::Index k = 0; k < matrix.rows(); ++k) rows.push_back(matrix.row(k).data());
    return rows;
}

void EeglabImport::copyTo(CMMatrix2Dzq& target, const Rows& matrix) {
    if (target.copyAmxn(rowsOf(matrix).data(), matrix.rows(), matrix.cols()) == 0) AfxThrowMemoryException();
}

DataSetOwner EeglabImport::dataSet(std::int64_t trial, const Rows& activations) const {
    DataSetOwner dataSet = newDataSet();
    if (!dataSet) AfxThrowMemoryException();
    const auto components = static_cast<std::int32_t>(activations.rows());
    const auto samples = static_cast<std::int32_t>(activations.cols());
    const std::vector<const double*> second = rowsOf(m_parameters.inverse);
    if (!dataSet->addIcaData(components, components, samples, rowsOf(m_parameters.unmixing).data(),
                             second.empty() ? nullptr : second.data(), rowsOf(activations).data()))
        AfxThrowMemoryException();
    CIcaParamzq& parameters = *dataSet->getIcaParamzq(1);
    copyTo(parameters.m_extraMatrixA, m_parameters.fromSensors);
    copyTo(parameters.m_extraMatrixB, m_set.mixing);

    dataSet->m_icaName = m_name + CString::Format(" trial %I64d", trial + 1);
    dataSet->m_icaCmptInfo = m_info;
    dataSet->m_icaShow = true;
    dataSet->m_chnlTypeID = 2;
    dataSet->m_sampleRate = m_set.samplingRate;
    dataSet->m_anaLatencyBegin = m_set.begin;
    dataSet->m_anaLatencyEnd = m_set.end;
    dataSet->setSelect(0, samples - 1);
    for (std::int32_t k = 0; k < components; ++k) dataSet->m_chnlIcaData[k].m_show = m_set.hidden[k] ? 0 : 1;
    return dataSet;
}

void EeglabImport::compare(const Eigen::MatrixXd& computed, const Eigen::MatrixXd& stored) {
    for (Eigen::Index k = 0; k < stored.size(); ++k) {
        const double a = computed(k), b = stored(k);
        if (std::isnan(a) && std::isnan(b)) continue;
        const double difference = std::abs(a - b);
        if (std::isnan(difference) || difference > m_largestDifference) m_largestDifference = difference;
        m_largestActivation = std::max(m_largestActivation, std::abs(b));
    }
}

std::vector<std::string> EeglabImport::warnings() const {
    std::vector<std::string> all = m_set.warnings;
    if (m_notFinite > 0)
        all.push_back("data holds values that are not finite, at " + counted(m_notFinite, "sample"));
    if (!(difference() <= largestHarmlessDifference))
        all.push_back("icaact, the stored activations, differ from icaweights * icasphere * data by up to " +
                      number(difference()) + " of the largest");
    return all;
}

std::string EeglabImport::report() const {
    const std::int64_t sensors = m_set.sensors.size();
    std::string text =
        counted(m_set.trials, "data set") + " of " + counted(m_set.weights.rows(), "component") + " x " +
        counted(m_set.sampleCount, "sample") + " from " + counted(sensors, "sensor") + " at " +
        number(m_set.samplingRate) + " Hz; " +
        counted(std::count(m_set.hidden.begin(), m_set.hidden.end(), true), "component") + " hidden";
    if (m_parameters.inverse.size() == 0)
        text += "; the unmixing matrix is singular, so its inverse is left empty";
    if (m_set.name.IsEmpty()) text += "; no setname, so the file's name is used";
    if (m_set.hasActivations())
        text += "; largest difference from the stored activations: " + number(difference()) +
                " of the largest activation";
    else
        text += "; no stored activations to check";
    for (const std::string& note : m_set.notes) text += "; " + note;
    for (const std::string& part : m_set.leftOut)
        text += (&part == &m_set.leftOut.front() ? "; not imported: " : ", ") + part;
    return text;
}

double EeglabImport::difference() const {
    return m_largestActivation > 0.0 ? m_largestDifference / m_largestActivation : m_largestDifference;
}

} // namespace icawave::formats
