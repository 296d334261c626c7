// Owns one data set outside the package's list. A data set's own destructor leaves its channels and
// parameters alone; this releases them.
#pragma once

#include <icawave/TrialIcaData.h>

#include <memory>

namespace icawave {

struct DestroyDataSet {
    void operator()(CTrialIcaDatazq* dataSet) const noexcept {
        dataSet->cleanSnsIcaData();
        dataSet->cleanIcaParam();
        delete dataSet;
    }
};

using DataSetOwner = std::unique_ptr<CTrialIcaDatazq, DestroyDataSet>;

// A new data set, null when memory runs out.
inline DataSetOwner newDataSet() {
    try {
        return DataSetOwner(new (std::nothrow) CTrialIcaDatazq);
    } catch (const CMemoryException&) {
        return nullptr;
    }
}

} // namespace icawave
