// SPDX-License-Identifier: BSD-3-Clause
// Data sets that a dialog took out of its package's list. They are the dialog's, undamaged, until a package
// lists them again or something destroys them: either strikes them here, so that none is destroyed twice.
#pragma once

class CTrialIcaDatazq;

namespace icawave {

void noteTakenOut(CTrialIcaDatazq* dataSet, const void* dialog); // CMemoryException: nothing is noted
void strikeTakenOut(const CTrialIcaDatazq* dataSet) noexcept;
CTrialIcaDatazq* popTakenOut(const void* dialog) noexcept; // strikes one of the dialog's; null: none is left

} // namespace icawave
