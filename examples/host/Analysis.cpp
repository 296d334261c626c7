// SPDX-License-Identifier: BSD-3-Clause
#include "Analysis.h"

#include <cmath>
#include <numbers>
#include <random>

namespace {

// The distributions of <random> differ between standard libraries, the generator does not.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_generator(seed) {}
    double uniform() { return (static_cast<double>(m_generator() >> 11) + 0.5) * 0x1p-53; } // inside (0, 1)
    double laplacian() {
        const double up = std::log(uniform());
        return up - std::log(uniform());
    }
    Matrix matrix(int rows, int columns) { // of values inside (-1, 1)
        return Matrix::NullaryExpr(rows, columns, [this] { return 2.0 * uniform() - 1.0; });
    }

private:
    std::mt19937_64 m_generator;
};

double bump(double t, double centre, double width) {
    const double distance = (t - centre) / width;
    return std::exp(-0.5 * distance * distance);
}

// (M M')^(-1/2) M, the orthogonal matrix nearest to M: no row is preferred.
Matrix decorrelated(const Matrix& m) {
    return Eigen::SelfAdjointEigenSolver<Matrix>(m * m.transpose()).operatorInverseSqrt() * m;
}

} // namespace

Recording simulateRecording(std::uint64_t seed) {
    constexpr double pi = std::numbers::pi;
    constexpr int samples = trialCount * trialSamples;
    Random random(seed);
    Matrix sources(sourceCount, samples);
    double blink = 1.0, beat = 0.4; // seconds, the one that is next or under way
    for (int i = 0; i < samples; ++i) {
        const double t = i / sampleRate;
        if (t > blink + 0.5) blink += 1.5 + 2.0 * random.uniform();
        if (t > beat + 0.45) beat += 0.8 + 0.1 * random.uniform();
        sources(eyeBlinks, i) = bump(t, blink, 0.08);
        sources(heartbeat, i) = bump(t, beat, 0.012) + 0.25 * bump(t, beat + 0.25, 0.04); // R and T wave
        sources(alphaRhythm, i) = std::pow(std::sin(0.45 * pi * t), 8) * std::sin(20.0 * pi * t); // spindles
        sources(lineNoise, i) = std::sin(100.0 * pi * t + 0.3);
        for (int k = namedSources; k < sourceCount; ++k)
            sources(k, i) = k % 2 == 0 ? random.laplacian() : random.uniform();
    }
    for (auto source : sources.rowwise()) {
        source.array() -= source.mean();
        source *= std::sqrt(samples) / source.norm();
    }
    // With far more rows than columns, random columns are nearly orthogonal: the mixing is well-conditioned.
    const Matrix mixing = random.matrix(sensorCount, sourceCount);
    const Eigen::VectorXd baseline = random.matrix(sensorCount, 1);
    Matrix sensors = mixing * sources + 0.05 * random.matrix(sensorCount, samples);
    sensors.colwise() += baseline;
    return {sensors, sources};
}

// Hyvarinen, "Fast and robust fixed-point algorithms for independent component analysis", IEEE Transactions
// on Neural Networks 10 (1999), with g = tanh and symmetric decorrelation.
Decomposition fastIca(const Matrix& sensors, int components) {
    const auto samples = static_cast<double>(sensors.cols());
    const Eigen::VectorXd mean = sensors.rowwise().mean();
    const Matrix centred = sensors.colwise() - mean;
    const Eigen::SelfAdjointEigenSolver<Matrix> covariance(centred * centred.transpose() / samples);
    const Eigen::VectorXd deviation = covariance.eigenvalues().tail(components).cwiseSqrt(); // ascending
    const Matrix axes = covariance.eigenvectors().rightCols(components);

    Decomposition ica;
    ica.whitening = deviation.cwiseInverse().asDiagonal() * axes.transpose();
    ica.unmixing = Matrix::Identity(components, components);
    const Matrix white = ica.whitening * centred;
    while (!ica.converged && ica.iterations < 200) {
        // w <- E{z g(w'z)} - E{g'(w'z)} w for every row w
        const Matrix g = (ica.unmixing * white).array().tanh();
        const Eigen::VectorXd slope = 1.0 - g.array().square().rowwise().mean();
        const Matrix step = g * white.transpose() / samples;
        const Matrix next = decorrelated(step - slope.asDiagonal() * ica.unmixing);
        const Eigen::VectorXd cosine = next.cwiseProduct(ica.unmixing).rowwise().sum();
        ica.converged = cosine.cwiseAbs().minCoeff() > 1.0 - 1e-10; // a row may change its sign
        ica.unmixing = next;
        ++ica.iterations;
    }
    ica.maps = axes * deviation.asDiagonal() * ica.unmixing.transpose();
    ica.offset = -(ica.unmixing * ica.whitening * mean);
    ica.activations = ica.unmixing * white;
    return ica;
}

double absCorrelation(const Eigen::RowVectorXd& a, const Eigen::RowVectorXd& b) {
    const Eigen::RowVectorXd u = a.array() - a.mean(), v = b.array() - b.mean();
    return std::abs(u.dot(v)) / (u.norm() * v.norm());
}
