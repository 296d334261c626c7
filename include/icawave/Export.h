// SPDX-License-Identifier: BSD-3-Clause
// Marks what the dynamic library offers; everything else stays hidden.
#pragma once

#define ICAWAVE_EXPORT __attribute__((visibility("default")))
