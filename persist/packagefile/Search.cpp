// SPDX-License-Identifier: BSD-3-Clause
#include "persist/packagefile/Search.h"

namespace icawave {

std::int64_t Search::next(std::int64_t from) {
    if (m_found >= from) return m_found;
    const std::int64_t length = std::ssize(m_pattern);
    for (;;) {
        if (from < m_begin || from + length > m_begin + std::ssize(m_piece)) {
            m_piece.resize(
                static_cast<std::size_t>(std::clamp(m_file.size() - from, std::int64_t{0}, pieceBytes)));
            m_piece.resize(
                static_cast<std::size_t>(m_file.readAt(from, m_piece.data(), std::ssize(m_piece))));
            m_begin = from;
            if (std::ssize(m_piece) < length) return m_found = m_file.size();
        }
        const std::size_t at = m_piece.find(m_pattern, static_cast<std::size_t>(from - m_begin));
        if (at != m_piece.npos) return m_found = m_begin + static_cast<std::int64_t>(at);
        from = m_begin + std::ssize(m_piece) - length + 1;
    }
}

std::vector<std::int64_t> placesOfDataSets(const InputFile& file, std::span<const Tail::Extent> chunks) {
    const std::string keyword(DataSetRecord::keyword);
    const std::string wide = encodedText(DataSetRecord::keyword);
    const std::string narrow = static_cast<char>(keyword.size()) + keyword;
    std::vector<std::int64_t> found;
    Search searchWide(file, wide), searchNarrow(file, narrow);
    auto chunk = chunks.begin();
    for (std::int64_t at = 0;;) {
        const std::int64_t nextWide = searchWide.next(at), nextNarrow = searchNarrow.next(at);
        at = std::min(nextWide, nextNarrow);
        if (at >= file.size()) return found;
        while (chunk != chunks.end() && chunk->end <= at) ++chunk;
        if (chunk != chunks.end() && chunk->begin <= at) {
            at = chunk->end;
            continue;
        }
        std::int32_t version = 0;
        const std::int64_t versionAt = at + std::ssize(at == nextWide ? wide : narrow);
        file.readAt(versionAt, &version, sizeof version);
        if (std::ranges::count(DataSetRecord::versions, version) > 0) found.push_back(at);
        ++at;
    }
}

} // namespace icawave
