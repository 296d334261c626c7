// SPDX-License-Identifier: BSD-3-Clause
// A package's own fields: the current index, type, name, info and whether it is shown, always in this order.
// A record has the first before its data sets (the head) and the others behind them (the tail).
#pragma once

#include <icawave/FaceIca.h>

#include "persist/archive/Exchange.h"

#include <concepts>
#include <tuple>

namespace icawave {

// References to the fields: ownFields(a) = ownFields(b) copies them all.
template <std::derived_from<CFaceIca> Package>
auto ownFields(Package& package) {
    return std::tie(package.m_curntIcaDataSetID, package.m_pkgType, package.m_pkgName, package.m_pkgInfo,
                    package.m_pkgShow);
}

void exchangeHead(CArchive& archive, const auto& fields, std::int32_t& slots) {
    exchange(archive, std::get<0>(fields), slots);
}

void exchangeTail(CArchive& archive, const auto& fields) {
    std::apply([&](auto&, auto&... tail) { exchange(archive, tail...); }, fields);
}

} // namespace icawave
