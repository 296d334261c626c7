// SPDX-License-Identifier: BSD-3-Clause
// A path as the system takes it.
#pragma once

#include <icawave/platform/String.h>

#include <optional>
#include <string>

namespace icawave {

// A text in UTF-8. Nothing for one that says no path: with a lone surrogate, or a zero unit, behind which the
// system would not read on.
inline std::optional<std::string> pathBytes(const CString& text) {
    std::string bytes = text.utf8();
    if (CString(bytes) != text || bytes.find('\0') != std::string::npos) return std::nullopt;
    return bytes;
}

} // namespace icawave
