// SPDX-License-Identifier: BSD-3-Clause
// TRIALICADATA  = text "TRIALICADATA", i32 20180629, core, info 20180629, i32 parameter flag,
//                 ICAPARAMETERS (only when the flag is not 0)
//               | text "TRIALICADATA", i32 20160311, core, info 20160311 (only read)
// core          = i32 aux, i64 samples, i64 select begin, i64 select end, i64 selected channel, i64 channels,
//                 i32 channel flag, channels x WAVEICADATA (only when the flag is not 0)
// info 20180629 = i32 class, 8 x i32 info, 3 doubles, 2 x i64, 2 doubles, text name, text compute info,
//                 byte shown, i32 list id, i32 aux, i32 class, 3 doubles, i32 normalized, double rms, i64 aux,
//                 3 doubles, 2 x i32
// info 20160311 = the same without the second class, and with the compute info behind the rms
#include <icawave/TrialIcaData.h>

#include "persist/archive/Exchange.h"
#include "persist/archive/RecordFacts.h"
#include "persist/archive/Storable.h"

using icawave::exchange;
using Facts = icawave::DataSetRecord;

namespace {

void exchangeHead(CArchive& archive, CTrialIcaData& d) {
    exchange(archive, d.m_icaClass);
    for (std::int32_t& value : d.m_icaInfo) exchange(archive, value);
    exchange(archive, d.m_sampleRate, d.m_anaLatencyBegin, d.m_anaLatencyEnd, d.m_auxIndex1, d.m_auxIndex2,
             d.m_filterParam1, d.m_filterParam2, d.m_icaName);
}

void exchangeTail(CArchive& archive, CTrialIcaData& d) {
    exchange(archive, d.m_auxLong, d.m_absMin, d.m_absMax, d.m_absMid, d.m_auxFlag1, d.m_auxFlag2);
}

} // namespace

bool icawave::isStorable(const CTrialIcaData& dataSet) {
    for (std::int64_t k = 0; dataSet.m_chnlIcaData && k < dataSet.m_chnlTotal; ++k) {
        if (!isStorable(dataSet.m_chnlIcaData[k])) return false;
    }
    return true;
}

std::int32_t CTrialIcaData09File::serialize(CArchive& archive) {
    const CArchive::Record record(archive, Facts::keyword);
    if (archive.IsStoring() && record.isOutermost())
        icawave::requireStorable(archive, icawave::isStorable(*this));
    const auto version = icawave::exchangeFrame(archive, Facts::keyword, Facts::version20180629,
                                                "The opened file is not CIcaData09File or corrupted!");
    if (!version) return 0;
    switch (*version) {
    case Facts::version20180629:
        return icawave::finishRecord(archive, serialize20180629(archive));
    case Facts::version20160311:
        return serialize20160311(archive);
    default:
        return archive.reject("TrialIca  data format!");
    }
}

std::int32_t CTrialIcaData09File::serialize20180629(CArchive& archive) {
    if (!_01serializeIcaData(archive) || !_02serializeInfo(archive)) return 0;
    if (archive.IsLoading()) cleanIcaParam();
    std::int32_t flag = m_icaParam != nullptr;
    exchange(archive, flag);
    if (flag == 0) return 1;
    if (!getIcaParamzq(1)) AfxThrowMemoryException();
    const std::int32_t result = m_icaParam->serialize(archive);
    return archive.IsStoring() ? 1 : result; // a set whose record failed stays attached
}

// The parameter set is not part of this version and stays as it is.
std::int32_t CTrialIcaData09File::serialize20160311(CArchive& archive) {
    if (!_01serializeIcaData(archive)) return 0;
    exchangeHead(archive, *this);
    exchange(archive, m_icaShow, m_listID, m_auxInt, m_dataMin, m_dataMax, m_dataMean, m_normalized,
             m_normRMS, m_icaCmptInfo);
    exchangeTail(archive, *this);
    return 1;
}

std::int32_t CTrialIcaData09File::_01serializeIcaData(CArchive& archive) {
    if (archive.IsLoading()) cleanSnsIcaData();
    exchange(archive, m_auxDataInt, m_totalSample, m_selectBegin, m_selectEnd, m_selectIca, m_chnlTotal);
    std::int32_t flag = m_chnlIcaData && m_chnlTotal >= 1;
    exchange(archive, flag);
    if (flag == 0) return 1;
    if (archive.IsLoading()) {
        if (icawave::isGranted(archive, m_chnlTotal, sizeof(CChnlIcaDatazq),
                               icawave::ChannelRecord::smallest))
            m_chnlIcaData = icawave::newArray<CChnlIcaDatazq>(m_chnlTotal);
        if (!m_chnlIcaData) {
            archive.noteFault(icawave::notEnoughMemory);
            AfxThrowMemoryException();
        }
    }
    for (std::int64_t k = 0; k < m_chnlTotal; ++k) {
        const std::int32_t result = m_chnlIcaData[k].serialize(archive);
        if (archive.IsLoading() && result == 0) {
            cleanSnsIcaData();
            return 0;
        }
    }
    return 1;
}

std::int32_t CTrialIcaData09File::_02serializeInfo(CArchive& archive) {
    exchangeHead(archive, *this);
    exchange(archive, m_icaCmptInfo, m_icaShow, m_listID, m_auxInt, m_icaClass, m_dataMin, m_dataMax,
             m_dataMean, m_normalized, m_normRMS);
    exchangeTail(archive, *this);
    return 1;
}
