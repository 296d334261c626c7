// SPDX-License-Identifier: BSD-3-Clause
// Whether records can be stored at all: every buffer of a channel or item must hold fewer than 2^29 values.
#pragma once

class CChnlIcaData;
class CTrialIcaData;
class CFaceIca;

namespace icawave {

bool isStorable(const CChnlIcaData& channel);
bool isStorable(const CTrialIcaData& dataSet);
bool isStorable(const CFaceIca& package);

} // namespace icawave
