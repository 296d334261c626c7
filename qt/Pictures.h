// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <icawave/platform/Resource.h>

#include <QColor>
#include <QIcon>

namespace icawave::qt {

// An icon that is drawn from `small`, and from `large` where the screen has as many pixels for it. Either may
// be null. A picture of a single colour is a mark, and drawn in `ink` where that is valid: the colour of the
// text beside it stands out from every background.
QIcon makeIcon(const IconImage* small, const IconImage* large, const QColor& ink = {});

} // namespace icawave::qt
