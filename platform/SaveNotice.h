// SPDX-License-Identifier: BSD-3-Clause
// What a save says beside its result.
#pragma once

#include <icawave/platform/AtomicFile.h>

namespace icawave {

void giveNotice(const std::filesystem::path& path, const std::string& text);

} // namespace icawave
