// SPDX-License-Identifier: BSD-3-Clause
// Texts for the user.
#pragma once

#include "exchange/Text.h"

#include <icawave/platform/Exception.h>
#include <icawave/platform/String.h>

#include <stdexcept>
#include <string>

namespace icawave::cli {

// Exit statuses beside 0.
inline constexpr int finding = 1; // diff: the files differ; check: damage; salvage: something is lost
inline constexpr int trouble = 2; // the command could not do its work

// What ends a command: the file, what is wrong with it, and the exit status.
class Failure : public std::runtime_error {
public:
    Failure(const std::string& file, const std::string& what, int status = trouble)
        : std::runtime_error(file + ": " + what), m_status(status) {}
    Failure(const CException& e, int status) : std::runtime_error(e.what()), m_status(status) {}

    int status() const { return m_status; }

private:
    int m_status;
};

using formats::counted;
using formats::number;
using formats::systemError;

// UTF-8 that is safe on a terminal and stays on its line: control characters become \uXXXX.
std::string printable(const CString& text);
std::string printable(const std::string& text); // a path's bytes that are not UTF-8 become \xNN
std::string padded(const std::string& utf8, std::size_t width); // with spaces, to that many code points
std::size_t codePoints(const std::string& utf8);

} // namespace icawave::cli
