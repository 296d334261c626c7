// SPDX-License-Identifier: BSD-3-Clause
// The version of icawave, which CMakeLists.txt reads here too.
#pragma once

#include <icawave/Export.h>

#define ICAWAVE_VERSION_MAJOR 0
#define ICAWAVE_VERSION_MINOR 1
#define ICAWAVE_VERSION_PATCH 0

// "major.minor.patch"
#define ICAWAVE_VERSION                                                                                      \
    ICAWAVE_VERSION_JOIN(ICAWAVE_VERSION_MAJOR, ICAWAVE_VERSION_MINOR, ICAWAVE_VERSION_PATCH)
#define ICAWAVE_VERSION_JOIN(major, minor, patch) ICAWAVE_VERSION_TEXT(major.minor.patch)
#define ICAWAVE_VERSION_TEXT(version) #version

namespace icawave {

// ICAWAVE_VERSION of the library that runs; a host may have been compiled with the headers of another one.
ICAWAVE_EXPORT const char* libraryVersion() noexcept;

} // namespace icawave
