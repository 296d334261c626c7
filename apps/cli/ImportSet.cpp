// icawave import: a package from an EEGLAB data set.
#include "apps/cli/Commands.h"
#include "apps/cli/EeglabSet.h"
#include "apps/cli/Progress.h"
#include "apps/cli/Save.h"
#include "apps/cli/Text.h"

#include <icawave/DataSetOwner.h>

#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>

namespace icawave::cli {

namespace {

using Rows = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

std::vector<const double*> rowsOf(const Rows& matrix) {
    std::vector<const double*> rows;
    for (Eigen::Index k = 0; k < matrix.rows(); ++k) rows.push_back(matrix.row(k).data());
    return rows;
}

void copyTo(CMMatrix2Dzq& target, const Rows& matrix) {
    if (target.copyAmxn(rowsOf(matrix).data(), matrix.rows(), matrix.cols()) == 0) AfxThrowMemoryException();
}

// The decomposition as every parameter set keeps it. Square weights unmix what the sphere whitened; others
// stay with the sphere, as one step from the sensors to the components.
struct Parameters {
    explicit Parameters(const EeglabSet& set) {
        const bool square = set.weights.rows() == set.weights.cols();
        const auto k = set.weights.rows();
        unmixing = square ? set.weights : Eigen::MatrixXd::Identity(k, k);
        fromSensors = square ? set.sphere : Eigen::MatrixXd(set.weights * set.sphere);
        const Eigen::FullPivLU<Eigen::MatrixXd> factors(unmixing);
        if (factors.isInvertible()) inverse = factors.inverse();
    }

    Rows unmixing, fromSensors;
    Rows inverse; // empty when there is none
};

class Importer {
public:
    explicit Importer(const std::string& source)
        : m_set(source), m_folder(std::filesystem::path(source).parent_path()), m_parameters(m_set) {
        const std::filesystem::path path(source);
        m_name = m_set.name.IsEmpty() ? CString(path.stem().string()) : m_set.name;
        m_info = CString(path.filename().string()) +
                 (m_set.sampleFile.empty() ? "" : " with samples in " + m_set.sampleFile) +
                 ": s = icaweights * icasphere * data(icachansind, :) + offset, offset = 0";
        m_package.name = m_name;
        m_package.info = CString("imported from ") + CString(path.filename().string());
    }

    const PackageInfo& package() const { return m_package; }
    std::string sampleFile() const { return m_folder / m_set.sampleFile; } // the folder when there is none
    void addTrials(PackageWriter& writer, Progress& progress) {
        const Eigen::MatrixXd unmix = m_set.weights * m_set.sphere;
        for (std::int64_t trial = 0; trial < m_set.trials; ++trial) {
            const Rows activations = unmix * m_set.samples(trial);
            if (m_set.hasActivations()) compare(activations, m_set.storedActivations(trial));
            writer.add(dataSet(trial, activations).get());
            progress.update(trial + 1);
        }
    }

    std::int32_t trials() const { return static_cast<std::int32_t>(m_set.trials); }
    std::string report() const;

private:
    DataSetOwner dataSet(std::int64_t trial, const Rows& activations) const;
    void compare(const Eigen::MatrixXd& computed, const Eigen::MatrixXd& stored);

    EeglabSet m_set;
    std::filesystem::path m_folder;
    Parameters m_parameters;
    PackageInfo m_package;
    CString m_name, m_info;
    double m_largestDifference = 0.0; // from the stored activations; NaN when one of the two has a NaN alone
    double m_largestActivation = 0.0;
};

DataSetOwner Importer::dataSet(std::int64_t trial, const Rows& activations) const {
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

void Importer::compare(const Eigen::MatrixXd& computed, const Eigen::MatrixXd& stored) {
    for (Eigen::Index k = 0; k < stored.size(); ++k) {
        const double a = computed(k), b = stored(k);
        if (std::isnan(a) && std::isnan(b)) continue;
        const double difference = std::abs(a - b);
        if (std::isnan(difference) || difference > m_largestDifference) m_largestDifference = difference;
        m_largestActivation = std::max(m_largestActivation, std::abs(b));
    }
}

std::string Importer::report() const {
    const auto sensors = static_cast<std::int64_t>(m_set.sensors.size());
    std::string text =
        counted(m_set.trials, "data set") + " of " + counted(m_set.weights.rows(), "component") + " x " +
        counted(m_set.sampleCount, "sample") + " from " + counted(sensors, "sensor") + " at " +
        number(m_set.samplingRate) + " Hz; " +
        counted(std::count(m_set.hidden.begin(), m_set.hidden.end(), true), "component") + " hidden";
    if (m_parameters.inverse.size() == 0)
        text += "; the unmixing matrix is singular, so its inverse is left empty";
    if (m_set.name.IsEmpty()) text += "; no setname, so the file's name is used";
    if (m_set.hasActivations())
        text += "; largest difference from the stored activations: " +
                number(m_largestActivation > 0.0 ? m_largestDifference / m_largestActivation
                                                 : m_largestDifference) +
                " of the largest activation";
    else
        text += "; no stored activations to check";
    for (const std::string& part : m_set.leftOut)
        text += (&part == &m_set.leftOut.front() ? "; not imported: " : ", ") + part;
    return text;
}

} // namespace

void importSet(const std::string& source, const Output& target) {
    Importer importer(source);
    target.mustNotBe(importer.sampleFile());
    savePackage(target, importer.trials(), importer.package(), [&](PackageWriter& writer) {
        Progress progress("importing " + source, importer.trials());
        importer.addTrials(writer, progress);
    });
    std::cout << printable(target.path()) << ": " << printable(importer.report()) << '\n';
}

} // namespace icawave::cli
