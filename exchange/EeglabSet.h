// SPDX-License-Identifier: BSD-3-Clause
// An EEGLAB data set with a decomposition: the .set file and, where the samples lie in one, the .fdt beside
// it. With x one sample of the sensors used, in the order in which the file names them,
//     s = icaweights * icasphere * x.
#pragma once

#include "exchange/MatFile.h"

#include <fstream>

namespace icawave::formats {

class EeglabSet {
public:
    explicit EeglabSet(const std::string& path); // a Failure for everything that does not fit together

    // Some samples of one trial, sensors used x count.
    Eigen::MatrixXd samples(std::int64_t trial, std::int64_t first, std::int64_t count);
    // The component values that the file keeps of them, components x count.
    Eigen::MatrixXd storedActivations(std::int64_t trial, std::int64_t first, std::int64_t count) const;
    bool hasActivations() const { return m_compares; }

    CString name;              // setname; empty when the file has none
    std::string sampleFile;    // base name of the .fdt; empty: the samples lie in the .set
    std::int64_t channels = 0; // of the recording
    std::int64_t sampleCount = 0;
    std::int64_t trials = 0;
    double samplingRate = 0.0;               // Hz
    double begin = 0.0, end = 0.0;           // seconds
    Eigen::MatrixXd weights, sphere, mixing; // icaweights, icasphere, icawinv
    std::vector<Eigen::Index> sensors;       // rows of the recording that the decomposition uses
    std::vector<bool> hidden;                // the components marked for rejection
    std::vector<std::string> leftOut;        // what the file has beyond this
    std::vector<std::string> notes;          // what is unusual, and taken as it is meant
    std::vector<std::string> warnings;       // what may be wrong with the values or the marks

private:
    MatValue field(const char* name) const;
    void requireAllVariables() const;
    void readDecomposition();
    void readSensors();
    void readMarks();
    void openSamples();
    void openSampleFile(const CString& stated);
    void openActivations();
    void checkTimes();
    void noteLeftOut();
    bool isEpoched(const MatValue& values, std::int64_t rows) const;

    std::string m_path;
    MatFile m_file;
    MatValue m_set; // the structure EEG; missing where its fields are variables of their own
    MatValue m_data;
    MatValue m_activations;
    std::ifstream m_samples; // the .fdt
    std::uint64_t m_sampleBytes = 0;
    bool m_compares = false;
};

} // namespace icawave::formats
