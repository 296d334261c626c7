// SPDX-License-Identifier: BSD-3-Clause
// Marks what the dynamic library offers; everything else stays hidden. Of a static library (ICAWAVE_STATIC,
// which its CMake target and its pkg-config file define) all of it is, so that a host's dynamic library
// offers none of it.
#pragma once

#if defined(ICAWAVE_STATIC)
#    define ICAWAVE_EXPORT
#else
#    define ICAWAVE_EXPORT __attribute__((visibility("default")))
#endif
