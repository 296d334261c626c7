// SPDX-License-Identifier: BSD-3-Clause
// A package of the trials of an EEGLAB data set.
//
//     EeglabImport set("recording.set");
//     AtomicFile file("recording.icpkg");
//     set.write(file);
//     file.commit();
#pragma once

#include "exchange/EeglabSet.h"

#include <icawave/DataSetOwner.h>
#include <icawave/PackageFile.h>

#include <Eigen/Core>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace icawave::formats {

class EeglabImport {
public:
    // Reads all but the samples. Failure for a file that cannot be imported.
    explicit EeglabImport(const std::string& source);

    std::int64_t trials() const { return m_set.trials; }
    // The .fdt that the samples are read from; empty when they are in the .set.
    std::filesystem::path sampleFile() const;

    // Writes the package, a data set for each trial. `whenAdded` is told how many there are so far.
    void write(CFile& file, const std::function<void(std::int64_t)>& whenAdded = {});

    // Once all trials are written: what may be wrong, and what was imported.
    std::vector<std::string> warnings() const;
    std::string report() const;

private:
    using Rows = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

    // The decomposition as every parameter set keeps it. Square weights are the unmixing matrix, after the
    // sphere; other weights are multiplied with the sphere, and the unmixing matrix is the identity.
    struct Parameters {
        explicit Parameters(const EeglabSet& set);

        Rows unmixing, fromSensors;
        Rows inverse; // empty when there is none
    };

    static std::vector<const double*> rowsOf(const Rows& matrix);
    static void copyTo(CMMatrix2Dzq& target, const Rows& matrix);
    void compute(std::int64_t trial, const Eigen::MatrixXd& unmix, Rows& activations);
    DataSetOwner dataSet(std::int64_t trial, const Rows& activations) const;
    void compare(const Eigen::MatrixXd& computed, const Eigen::MatrixXd& stored);
    double difference() const; // relative to the largest activation

    EeglabSet m_set;
    std::filesystem::path m_source;
    Parameters m_parameters;
    CString m_name, m_info;
    double m_largestDifference = 0.0; // from the stored activations; NaN when one of the two has a NaN alone
    double m_largestActivation = 0.0;
    std::int64_t m_notFinite = 0; // samples in time of which a sensor's value is not finite
};

} // namespace icawave::formats
