// Texts for the user.
#pragma once

#include <icawave/platform/String.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace icawave::cli {

// What ends a command: the file, and what is wrong with it.
class Failure : public std::runtime_error {
public:
    Failure(const std::string& file, const std::string& what) : std::runtime_error(file + ": " + what) {}
};

std::string systemError(int error); // what the system calls an errno value

// UTF-8 that is safe on a terminal and stays on its line: control characters become \uXXXX.
std::string printable(const CString& text);
std::string padded(const std::string& utf8, std::size_t width); // with spaces, to that many code points
std::size_t codePoints(const std::string& utf8);

std::string number(double value);                               // the shortest digits that give it again
std::string counted(std::int64_t count, const std::string& it); // "1 data set", "2 data sets"

} // namespace icawave::cli
