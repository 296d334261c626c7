// SPDX-License-Identifier: BSD-3-Clause
// Owns one data set outside of a package's list.
//
// A data set's own destructor leaves its channels and parameters alone, so a plain std::unique_ptr would leak
// them; this owner releases them first, as a package does.
//
//     DataSetOwner trial = newDataSet();
//     if (!trial || !trial->addIcaData(32, 32, 384, unmixing, inverse, activations)) return noMemory();
//     package.setIcaData(trial.get(), 0);
//     trial.release();                                 // the package's now
#pragma once

#include <icawave/Export.h>
#include <icawave/TrialIcaData.h>

#include <memory>

namespace icawave {

struct ICAWAVE_EXPORT DestroyDataSet {
    void operator()(CTrialIcaDatazq* dataSet) const noexcept;
};

using DataSetOwner = std::unique_ptr<CTrialIcaDatazq, DestroyDataSet>;

ICAWAVE_EXPORT DataSetOwner newDataSet() noexcept; // null when memory runs out

} // namespace icawave
