// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/DataSetOwner.h>

#include "package/TakenOut.h"
#include "platform/Alloc.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace icawave {

namespace {

struct TakenOut {
    CTrialIcaDatazq* dataSet;
    const void* dialog;
};

// A user's few. The lock is for hosts that read data sets on several threads.
std::mutex takenOutMutex;
std::vector<TakenOut> takenOut;

} // namespace

void DestroyDataSet::operator()(CTrialIcaDatazq* dataSet) const noexcept {
    strikeTakenOut(dataSet);
    dataSet->cleanSnsIcaData();
    dataSet->cleanIcaParam();
    delete dataSet;
}

DataSetOwner newDataSet() noexcept {
    try {
        return DataSetOwner(new (std::nothrow) CTrialIcaDatazq);
    } catch (const CMemoryException&) {
        return nullptr;
    }
}

void noteTakenOut(CTrialIcaDatazq* dataSet, const void* dialog) {
    const std::scoped_lock lock(takenOutMutex);
    withMemoryException([&] { takenOut.push_back({dataSet, dialog}); });
}

void strikeTakenOut(const CTrialIcaDatazq* dataSet) noexcept {
    const std::scoped_lock lock(takenOutMutex);
    std::erase_if(takenOut, [&](const TakenOut& each) { return each.dataSet == dataSet; });
}

CTrialIcaDatazq* popTakenOut(const void* dialog) noexcept {
    const std::scoped_lock lock(takenOutMutex);
    const auto found = std::find_if(takenOut.begin(), takenOut.end(),
                                    [&](const TakenOut& each) { return each.dialog == dialog; });
    if (found == takenOut.end()) return nullptr;
    CTrialIcaDatazq* dataSet = found->dataSet;
    takenOut.erase(found);
    return dataSet;
}

} // namespace icawave
