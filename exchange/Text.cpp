// SPDX-License-Identifier: BSD-3-Clause
#include "exchange/Text.h"

#include <array>
#include <charconv>
#include <system_error>

namespace icawave::formats {

std::string systemError(int error) {
    return std::generic_category().message(error);
}

std::string number(double value) {
    std::array<char, 32> buffer;
    return {buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr};
}

std::string counted(std::int64_t count, const std::string& it) {
    return std::to_string(count) + " " + it + (count == 1 ? "" : "s");
}

} // namespace icawave::formats
