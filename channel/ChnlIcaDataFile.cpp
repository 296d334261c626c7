// SPDX-License-Identifier: BSD-3-Clause
// WAVEICADATA   = text "WAVEICADATA", i32 20180619, body 20180619      (written, read)
//               | text "WAVEICADATA", i32 20161108, body 20161108      (read)
// body 20180619 = i64 tag, i32 show, text name, i64 size, i64 current point, values, i64 backup size, backup,
//                 i32 item count, i32 current item, i32 item flag, item count x ICPROJECTDATA (only when the
//                 flag is not 0)
// body 20161108 = i64 current point, i64 tag, i64 size, values, i64 backup size, backup
// ICPROJECTDATA = text "ICPROJECTDATA", i32 20180620, i32 a, i32 b, i32 c, text name, 5 doubles, i64 size,
//                 i64 current point, values, i64 backup size, backup
// values        = i32 flag, size doubles (only when the flag is not 0 and size is at least 1)
// backup        = likewise, of the backup's size
#include <icawave/ChnlIcaData.h>

#include "persist/archive/Exchange.h"
#include "persist/archive/RecordFacts.h"
#include "persist/archive/Storable.h"

using icawave::ChannelRecord;
using icawave::exchange;
using icawave::ItemRecord;

namespace {

constexpr const char* shortValues = "Read Ica data error!?";
constexpr const char* shortBackup = "Read back up data error!?";

template <class T>
std::int32_t exchangeValues(CArchive& archive, T& owner) {
    if (archive.IsLoading())
        return icawave::loadBlock(archive, owner.m_size, owner.m_data, false, shortValues);
    icawave::storeBlock(archive, owner.m_size, owner.m_data, owner.m_data && owner.m_size >= 1);
    return 1;
}

bool hasStorableBuffers(const auto& owner) {
    return (!owner.m_data || owner.m_size <= icawave::storableValues) &&
           (!owner.m_bkData || owner.m_bkSize <= icawave::storableValues);
}

} // namespace

bool icawave::isStorable(const CChnlIcaData& channel) {
    if (!hasStorableBuffers(channel)) return false;
    for (std::int32_t k = 0; channel.m_projectData && k < channel.m_projectCount; ++k) {
        if (!hasStorableBuffers(channel.m_projectData[k])) return false;
    }
    return true;
}

std::int32_t CChnlIcaData09File::serialize(CArchive& archive) {
    static const CString keyword = ChannelRecord::keyword;
    const CArchive::Record record(archive, ChannelRecord::keyword);
    if (archive.IsStoring() && record.isOutermost())
        icawave::requireStorable(archive, icawave::isStorable(*this));
    const auto version =
        icawave::exchangeFrame(archive, keyword, ChannelRecord::version20180619, "Unknown MMatrix1D file!");
    if (!version) return 0;
    switch (*version) {
    case ChannelRecord::version20180619:
        return icawave::finishRecord(archive, serialize20180619(archive));
    case ChannelRecord::version20161108:
        return serialize20161108(archive);
    default:
        return archive.reject("MMatrix1D format error!");
    }
}

std::int32_t CChnlIcaData09File::serialize20180619(CArchive& archive) {
    if (archive.IsLoading()) {
        releaseBuffers();
        cleanProjectData();
    }
    exchange(archive, m_chnlTag, m_show, m_chnlName, m_size, m_currentPt);
    if (!exchangeValues(archive, *this) || !exchangeBackup(archive)) return 0;
    exchange(archive, m_projectCount, m_projectCurrent);
    return exchangeItems(archive);
}

std::int32_t CChnlIcaData09File::serialize20161108(CArchive& archive) {
    if (archive.IsLoading()) releaseBuffers();
    exchange(archive, m_currentPt, m_chnlTag, m_size);
    return exchangeValues(archive, *this) && exchangeBackup(archive) ? 1 : 0;
}

std::int32_t CChnlIcaData09File::exchangeBackup(CArchive& archive) {
    exchange(archive, m_bkSize);
    if (archive.IsLoading()) return icawave::loadBlock(archive, m_bkSize, m_bkData, true, shortBackup);
    icawave::storeBlock(archive, m_bkSize, m_bkData, m_bkData && m_bkSize >= 1);
    return 1;
}

// A failing item neither stops the others nor changes the channel's result.
std::int32_t CChnlIcaData09File::exchangeItems(CArchive& archive) {
    std::int32_t flag = m_projectData && m_projectCount >= 1;
    exchange(archive, flag);
    if (flag == 0 || m_projectCount < 1) return 1;
    if (archive.IsLoading()) {
        if (icawave::isGranted(archive, m_projectCount, sizeof(CIcProjectData), ItemRecord::smallest))
            m_projectData = icawave::newArray<CIcProjectData>(m_projectCount);
        if (!m_projectData) {
            archive.noteFault(icawave::notEnoughMemory);
            return 0;
        }
    }
    for (std::int32_t k = 0; k < m_projectCount; ++k) m_projectData[k].serialize(archive);
    return 1;
}

void CChnlIcaData09File::releaseBuffers() {
    cleanData();
    cleanbkData();
}

std::int32_t CIcProjectData::serialize(CArchive& archive) {
    static const CString keyword = ItemRecord::keyword;
    const CArchive::Record record(archive, ItemRecord::keyword);
    if (archive.IsStoring() && record.isOutermost())
        icawave::requireStorable(archive, hasStorableBuffers(*this));
    const auto version =
        icawave::exchangeFrame(archive, keyword, ItemRecord::version20180620, "Unknown MMatrix1D file!");
    if (!version) return 0;
    if (*version != ItemRecord::version20180620) return archive.reject("IC Project Data format error!");
    return icawave::finishRecord(archive, serialize20180620(archive));
}

std::int32_t CIcProjectData::serialize20180620(CArchive& archive) {
    if (archive.IsLoading()) {
        delete[] std::exchange(m_data, nullptr);
        m_size = m_currentPt = 0;
    }
    exchange(archive, m_prjIntA, m_prjIntB, m_prjIntC, m_prjName, m_prjValue1, m_prjValue2, m_prjValue3,
             m_prjValue4, m_prjValue5, m_size, m_currentPt);
    if (!exchangeValues(archive, *this)) return 0;
    if (archive.IsLoading()) {
        delete[] std::exchange(m_bkData, nullptr); // a count must never stand beside another count's buffer
        archive >> m_bkSize;
        return icawave::loadBlock(archive, m_bkSize, m_bkData, true, shortBackup);
    }
    archive << m_bkSize;
    icawave::storeBlock(archive, m_bkSize, m_bkData, m_bkData != nullptr); // also when it counts no values
    return 1;
}
