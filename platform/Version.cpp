// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/Version.h>

const char* icawave::libraryVersion() noexcept {
    return ICAWAVE_VERSION;
}
