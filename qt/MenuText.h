// SPDX-License-Identifier: BSD-3-Clause
// Texts of menu items, shown with a mnemonic and read without one that was added.
#pragma once

#include "qt/Text.h"

#include <QAction>
#include <QKeySequence>
#include <QVariant>

namespace icawave::qt {

// A letter chooses the item of that mnemonic, or goes from one to the next of several: without a mnemonic of
// its own an item has its first letter.
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
