// SPDX-License-Identifier: BSD-3-Clause
// What reading all of a package file finds.
#pragma once

#include "persist/packagefile/PackageFileTail.h"

namespace icawave {

struct VerifiedPackage {
    PackageIndex index;                // as the records say: those that load, and the whole sections
    std::vector<std::int64_t> numbers; // of the data sets, in the stored index where there is one; -1: none
    PackageReport report;
};
// FileError when there is neither a package nor a data set.
VerifiedPackage verifyPackage(const InputFile& file);

} // namespace icawave
