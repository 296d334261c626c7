// Texts to and from Qt, code unit by code unit, and whether there is a QApplication to show them in.
#pragma once

#include <icawave/platform/String.h>

#include <QApplication>
#include <QString>

namespace icawave::qt {

inline QString toQt(std::u16string_view text) {
    return QString(reinterpret_cast<const QChar*>(text.data()), static_cast<qsizetype>(text.size()));
}

inline QString toQt(const CString& text) {
    return toQt(text.view());
}

inline CString fromQt(const QString& text) {
    return std::u16string_view(reinterpret_cast<const char16_t*>(text.utf16()),
                               static_cast<std::size_t>(text.size()));
}

inline bool hasApplication() {
    return qobject_cast<QApplication*>(QCoreApplication::instance()) && !QCoreApplication::closingDown();
}

} // namespace icawave::qt
