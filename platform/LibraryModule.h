// SPDX-License-Identifier: BSD-3-Clause
// The library's own module, which attaches itself when the library is loaded (ui/Module.cpp).
#pragma once

#include <icawave/platform/Module.h>

namespace icawave {

extern AFX_EXTENSION_MODULE libraryModule;

} // namespace icawave
