// SPDX-License-Identifier: BSD-3-Clause
// Texts of menu items, shown with a mnemonic and read without one that was added.
#pragma once

#include "qt/Text.h"

#include <QAction>
#include <QKeySequence>
#include <QVariant>

namespace icawave::qt {

// An item without a mnemonic gets its first letter, so that this key chooses it (or, where several items have
// the same one, moves from one to the next).
inline void setMenuText(QAction& action, const CString& text) {
    const QString plain = toQt(text);
    const bool add =
        !plain.isEmpty() && plain[0].isLetterOrNumber() && QKeySequence::mnemonic(plain).isEmpty();
    action.setProperty("mnemonicAdded", add);
    action.setText(add ? QLatin1Char('&') + plain : plain);
}

inline QString menuText(const QAction& action) {
    return action.property("mnemonicAdded").toBool() ? action.text().mid(1) : action.text();
}

} // namespace icawave::qt
