// SPDX-License-Identifier: BSD-3-Clause
// FACEICA = text "FACEICA", i32 20161108, list, own
// list    = i32 current index, i32 slots, slots x (i32 0 | i32 1, TRIALICADATA)
// own     = i32 type, text name, text info, byte shown
#include <icawave/FaceIca.h>

#include <icawave/DataSetOwner.h>

#include "persist/archive/Exchange.h"
#include "persist/archive/RecordFacts.h"
#include "persist/archive/Storable.h"
#include "persist/records/PackageFields.h"
#include "platform/MemoryAhead.h"

using icawave::exchange;
using Facts = icawave::PackageRecord;

bool icawave::isStorable(const CFaceIca& package) {
    for (std::int64_t k = 0; k < package.m_icaDataArray.GetSize(); ++k) {
        const auto* dataSet = static_cast<const CTrialIcaDatazq*>(package.m_icaDataArray[k]);
        if (dataSet && !isStorable(*dataSet)) return false;
    }
    return true;
}

std::int32_t CFaceIca09File::serialize(CArchive& archive) {
    const CArchive::Record record(archive, Facts::keyword);
    if (archive.IsStoring() && record.isOutermost())
        icawave::requireStorable(archive, icawave::isStorable(*this));
    const auto version =
        icawave::exchangeFrame(archive, Facts::keyword, Facts::version20161108, "Unknown face ICA file!");
    if (!version) return 0;
    if (*version != Facts::version20161108) return archive.reject("Face ICA data format error!");
    return icawave::finishRecord(archive, serialize20161108(archive));
}

std::int32_t CFaceIca09File::serialize20161108(CArchive& archive) {
    return _01SerializeIcaDataPA(archive) && _03SerializeOthers(archive) ? 1 : 0;
}

std::int32_t CFaceIca09File::_01SerializeIcaDataPA(CArchive& archive) {
    if (archive.IsLoading()) {
        cleanIcaFace();
        icawave::prepareMemory(archive.remainingBytes());
    }
    std::int32_t slots = count();
    icawave::exchangeHead(archive, icawave::ownFields(*this), slots);
    for (std::int32_t k = 0; k < slots; ++k) {
        CTrialIcaDatazq* stored = archive.IsStoring() ? entry(k) : nullptr;
        std::int32_t present = stored != nullptr;
        exchange(archive, present);
        if (present == 0) continue;
        if (stored) {
            stored->serialize(archive);
            continue;
        }
        icawave::DataSetOwner loaded = icawave::newDataSet();
        if (!loaded) {
            archive.noteFault(icawave::notEnoughMemory);
            return 0;
        }
        loaded->serialize(archive); // a data set whose record failed has shown why, and stays
        m_icaDataArray.Add(loaded.get());
        loaded.release();
    }
    return 1;
}

std::int32_t CFaceIca09File::_03SerializeOthers(CArchive& archive) {
    icawave::exchangeTail(archive, icawave::ownFields(*this));
    return 1;
}
