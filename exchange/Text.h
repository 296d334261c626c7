// SPDX-License-Identifier: BSD-3-Clause
// What readers of other programs' files say.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace icawave::formats {

// A file cannot be taken: which, and what is wrong with it.
class Failure : public std::runtime_error {
public:
    Failure(const std::string& file, const std::string& what) : std::runtime_error(file + ": " + what) {}
};

std::string systemError(int error); // what the system calls an errno value

std::string number(double value);                               // the shortest digits that give it again
std::string counted(std::int64_t count, const std::string& it); // "1 data set", "2 data sets"

} // namespace icawave::formats
