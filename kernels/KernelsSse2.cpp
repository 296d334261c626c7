// SPDX-License-Identifier: BSD-3-Clause
// Every x86-64 processor.
#include "kernels/KernelLanes.h"

namespace icawave {

typedef double Register __attribute__((vector_size(16)));

extern const Kernels sse2Kernels;
constinit const Kernels sse2Kernels = LanesOf<Register>::kernels("SSE2");

} // namespace icawave
