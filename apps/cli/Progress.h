// SPDX-License-Identifier: BSD-3-Clause
// How far a command has come: one line on stderr with percent and time left, drawn over itself and wiped at
// the end. Only a terminal sees it, and only once the command has lasted 0.2 s.
//
// A command says by `plan` which files it goes through and by `finishFile` when it is through with one. A
// Progress tells how far the work on the current one is.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace icawave::cli {

class Progress {
public:
    static void plan(const std::vector<std::string>& files); // each counts by its bytes
    static void finishFile();

    Progress(const std::string& what, std::int64_t total); // total: what `done` will reach
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void expect(std::int64_t total); // another total than was thought
    void update(std::int64_t done);
    static void wipe(); // what is drawn, if anything

private:
    std::string m_what;
    std::int64_t m_total;
};

std::int64_t bytesOf(const std::string& path); // 0 when the system does not tell

// From now on what is written to the stream meets no line drawn on the terminal.
void wipeProgressBefore(std::ostream& out);

} // namespace icawave::cli
