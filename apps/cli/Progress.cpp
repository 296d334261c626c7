#include "apps/cli/Progress.h"

#include "apps/cli/Text.h"

#include <cstdio>
#include <unistd.h>

namespace icawave::cli {

namespace {

constexpr std::chrono::milliseconds interval{200};

} // namespace

Progress::Progress(const std::string& what, std::int64_t total)
    : m_what(printable(what)), m_total(total), m_terminal(::isatty(STDERR_FILENO) == 1),
      m_next(std::chrono::steady_clock::now() + interval) {}

Progress::~Progress() {
    if (m_drawn) std::fputs("\r\033[K", stderr);
}

void Progress::update(std::int64_t done) {
    if (!m_terminal || std::chrono::steady_clock::now() < m_next) return;
    m_next = std::chrono::steady_clock::now() + interval;
    m_drawn = true;
    const double share = static_cast<double>(done) / static_cast<double>(m_total);
    if (m_total > 0)
        std::fprintf(stderr, "\r\033[K%s: %.0f %%", m_what.c_str(), 100.0 * share);
    else
        std::fprintf(stderr, "\r\033[K%s: %.0f MB", m_what.c_str(), static_cast<double>(done) / 1e6);
    std::fflush(stderr);
}

} // namespace icawave::cli
