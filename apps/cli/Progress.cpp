#include "apps/cli/Progress.h"

#include "apps/cli/Text.h"

#include <cstdio>
#include <streambuf>
#include <unistd.h>
#include <utility>

namespace icawave::cli {

namespace {

constexpr std::chrono::milliseconds interval{200};
bool drawn = false; // there is one line for all

struct WipingBuffer : std::streambuf {
    int sync() override {
        Progress::wipe();
        return 0;
    }
};

} // namespace

Progress::Progress(const std::string& what, std::int64_t total)
    : m_what(printable(what)), m_total(total), m_terminal(::isatty(STDERR_FILENO) == 1),
      m_next(std::chrono::steady_clock::now() + interval) {}

Progress::~Progress() {
    wipe();
}

void Progress::wipe() {
    if (std::exchange(drawn, false)) std::fputs("\r\033[K", stderr);
}

void Progress::update(std::int64_t done) {
    if (!m_terminal || std::chrono::steady_clock::now() < m_next) return;
    m_next = std::chrono::steady_clock::now() + interval;
    drawn = true;
    const double share = static_cast<double>(done) / static_cast<double>(m_total);
    if (m_total > 0)
        std::fprintf(stderr, "\r\033[K%s: %.0f %%", m_what.c_str(), 100.0 * share);
    else
        std::fprintf(stderr, "\r\033[K%s: %.0f MB", m_what.c_str(), static_cast<double>(done) / 1e6);
    std::fflush(stderr);
}

// A stream flushes the one that it is tied to before it writes.
void wipeProgressBefore(std::ostream& out) {
    static WipingBuffer buffer;
    static std::ostream wiping(&buffer);
    out.tie(&wiping);
}

} // namespace icawave::cli
