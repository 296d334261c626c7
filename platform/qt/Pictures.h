#pragma once

#include <icawave/platform/Resource.h>

#include <QIcon>

namespace icawave::qt {

// An icon that is drawn from `small` at its own size and from `large` where the screen has more pixels for
// it. Either may be null.
QIcon pictures(const IconImage* small, const IconImage* large);

} // namespace icawave::qt
