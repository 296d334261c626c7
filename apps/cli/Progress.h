// How far a long piece of work has come: one line on stderr, drawn over itself and wiped at the end. Only a
// terminal sees it, and only once the work has lasted 0.2 s.
#pragma once

#include <chrono>
#include <cstdint>
#include <ostream>
#include <string>

namespace icawave::cli {

class Progress {
public:
    Progress(const std::string& what, std::int64_t total); // total: what `done` will reach; 0: not known
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void update(std::int64_t done);
    static void wipe(); // what is drawn, if anything

private:
    std::string m_what;
    std::int64_t m_total;
    bool m_terminal;
    std::chrono::steady_clock::time_point m_next; // when to draw again
};

// From now on what is written to the stream meets no line drawn on the terminal.
void wipeProgressBefore(std::ostream& out);

} // namespace icawave::cli
