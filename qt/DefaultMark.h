// SPDX-License-Identifier: BSD-3-Clause
// The mark of a button that its template made a default one. Qt has only one default button at a time, and it
// changes with the focus.
#pragma once

#include <QPushButton>
#include <QVariant>

namespace icawave::qt {

inline void markDefault(QPushButton& button, bool isDefault) {
    button.setProperty("templateDefault", isDefault);
}

inline bool isDefault(const QPushButton& button) {
    return button.property("templateDefault").toBool();
}

} // namespace icawave::qt
