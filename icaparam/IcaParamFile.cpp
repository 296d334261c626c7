// SPDX-License-Identifier: BSD-3-Clause
// ICAPARAMETERS = text "ICAPARAMETERS", i32 20180629, i32 nIca, i32 nComp, i32 nSample,
//                 4 x MMATRIX2D (extra A, extra B, unmixing, second), i32 extra A, i32 extra B, i32 n, n x u32
#include <icawave/IcaParam.h>

#include "persist/archive/Exchange.h"
#include "persist/archive/RecordFacts.h"

#include <algorithm>

using icawave::exchange;
using Facts = icawave::ParametersRecord;

std::int32_t CIcaParam09File::serialize(CArchive& archive) {
    const CArchive::Record record(archive, Facts::keyword);
    const auto version = icawave::exchangeFrame(archive, Facts::keyword, Facts::version20180629,
                                                "The opened file is not CIcaData09File or corrupted!");
    if (!version) return 0;
    if (*version != Facts::version20180629) return archive.reject("ICA parameter data format error!");
    return icawave::finishRecord(archive, serialize20180629(archive));
}

std::int32_t CIcaParam09File::serialize20180629(CArchive& archive) {
    if (archive.IsLoading()) clean();
    exchange(archive, m_nIca, m_nComp, m_nSample);
    for (CMMatrix2Dzq* matrix : {&m_extraMatrixA, &m_extraMatrixB, &m_Wunmix, &m_Wsecond})
        matrix->serialize(archive);
    exchange(archive, m_extraIntA, m_extraIntB);

    auto count = static_cast<std::int32_t>(m_extraUintList.GetSize());
    exchange(archive, count);
    if (archive.IsLoading())
        m_extraUintList.Reserve(std::clamp<std::int64_t>(count, 0, archive.remainingBytes() / 4));
    for (std::int32_t k = 0; k < count; ++k) {
        std::uint32_t value = archive.IsStoring() ? m_extraUintList[k] : 0;
        exchange(archive, value);
        if (archive.IsLoading()) m_extraUintList.Add(value);
    }
    return 1;
}
