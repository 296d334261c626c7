// SPDX-License-Identifier: BSD-3-Clause
#include "apps/cli/Progress.h"

#include "apps/cli/Text.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <streambuf>
#include <unistd.h>
#include <utility>

namespace icawave::cli {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds interval{200};

// The line of the whole command.
struct Line {
    void draw(const std::string& what);
    double weight() const { return file < weights.size() ? weights[file] : 1.0; }

    const bool terminal = ::isatty(STDERR_FILENO) == 1;
    const Clock::time_point begin = Clock::now();
    Clock::time_point next = begin + interval; // when to draw again
    std::vector<double> weights;               // of the planned files
    std::size_t file = 0;
    double all = 1.0, finished = 0.0; // of the weights
    double share = 0.0;               // of the current file; never falls
    bool drawn = false;
} line;

std::string timeText(double seconds) {
    const auto whole = static_cast<std::int64_t>(std::min(seconds, 1e9)) + 1;
    return whole < 120 ? std::to_string(whole) + " s" : std::to_string((whole + 30) / 60) + " min";
}

void Line::draw(const std::string& what) {
    const double done = std::min((finished + weight() * share) / all, 1.0);
    const double passed = std::chrono::duration<double>(Clock::now() - begin).count();
    drawn = true;
    std::fprintf(stderr, "\r\033[K%s: %.0f %%", what.c_str(), 100.0 * done);
    if (done > 0.0) std::fprintf(stderr, ", %s left", timeText(passed * (1.0 - done) / done).c_str());
    std::fflush(stderr);
}

struct WipingBuffer : std::streambuf {
    int sync() override {
        Progress::wipe();
        return 0;
    }
};

} // namespace

void Progress::plan(const std::vector<std::string>& files) {
    line.all = 0.0;
    for (const std::string& file : files) {
        line.weights.push_back(1.0 + static_cast<double>(bytesOf(file)));
        line.all += line.weights.back();
    }
}

void Progress::finishFile() {
    line.finished += line.weight();
    line.share = 0.0;
    ++line.file;
}

Progress::Progress(const std::string& what, std::int64_t total) : m_what(printable(what)), m_total(total) {}

Progress::~Progress() {
    wipe();
}

void Progress::wipe() {
    if (std::exchange(line.drawn, false)) std::fputs("\r\033[K", stderr);
}

void Progress::expect(std::int64_t total) {
    m_total = total;
}

void Progress::update(std::int64_t done) {
    if (!line.terminal || Clock::now() < line.next) return;
    line.next = Clock::now() + interval;
    if (m_total > 0)
        line.share =
            std::max(line.share, std::min(static_cast<double>(done) / static_cast<double>(m_total), 1.0));
    line.draw(m_what);
}

std::int64_t bytesOf(const std::string& path) {
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(path, error);
    return error ? 0 : static_cast<std::int64_t>(bytes);
}

// A stream flushes the one that it is tied to before it writes.
void wipeProgressBefore(std::ostream& out) {
    static WipingBuffer buffer;
    static std::ostream wiping(&buffer);
    out.tie(&wiping);
}

} // namespace icawave::cli
