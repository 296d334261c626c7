// SPDX-License-Identifier: BSD-3-Clause
// What a host brings along: here a simulated recording whose sources are known, and its decomposition.
#pragma once

#include <Eigen/Dense>

#include <array>
#include <cstdint>

// Row-major, as the library takes and keeps matrices.
using Matrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

constexpr int sensorCount = 32;
constexpr int sourceCount = 12; // those with a name, then background
constexpr int trialCount = 8;
constexpr int trialSamples = 500;
constexpr double sampleRate = 250.0; // Hz

enum NamedSource { eyeBlinks, heartbeat, alphaRhythm, lineNoise, namedSources };
constexpr std::array<const char*, namedSources> sourceNames = {"eye blinks", "heartbeat", "alpha rhythm",
                                                               "line noise"};

struct Recording {
    Matrix sensors; // sensors x samples, the trials one after another
    Matrix sources; // sources x samples, each of mean 0 and variance 1
};

// The same recording for the same seed.
Recording simulateRecording(std::uint64_t seed);

// With x one sample of the sensors and s of the components:
//     s = unmixing * whitening * x + offset,    x ~ maps * s but for the sensors' means.
struct Decomposition {
    Matrix whitening; // components x sensors
    Matrix unmixing;  // components x components, orthogonal: its inverse is its transpose
    Matrix maps;      // sensors x components
    Eigen::VectorXd offset;
    Matrix activations; // components x samples, each of mean 0 and variance 1
    int iterations = 0;
    bool converged = false;
};

// Decomposes sensors x samples in the space of its largest principal components.
Decomposition fastIca(const Matrix& sensors, int components);

double absCorrelation(const Eigen::RowVectorXd& a, const Eigen::RowVectorXd& b);
