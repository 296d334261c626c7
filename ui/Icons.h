// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <icawave/platform/Resource.h>

namespace icawave {

extern const IconResource shownIcon;  // an open eye
extern const IconResource hiddenIcon; // a closed one
extern const IconResource wavesIcon;  // three time courses, the dialog's

} // namespace icawave
