// SPDX-License-Identifier: BSD-3-Clause
// Compiled with AVX2 instructions: what stands here is called only where the processor has them.
#include "kernels/KernelLanes.h"

namespace icawave {

typedef double Register __attribute__((vector_size(32)));

extern const Kernels avx2Kernels;
constinit const Kernels avx2Kernels = LanesOf<Register>::kernels("AVX2");

} // namespace icawave
