// SPDX-License-Identifier: BSD-3-Clause
// Texts to and from Qt, code unit by code unit, and whether there is a QApplication to show them in.
#pragma once

#include <icawave/platform/String.h>

#include <QApplication>
#include <QString>
#include <QTextDocument>

namespace icawave::qt {

inline QString toQt(std::u16string_view text) {
    return QString(reinterpret_cast<const QChar*>(text.data()), text.size());
}

inline QString toQt(const CString& text) {
    return toQt(text.view());
}

inline CString fromQt(const QString& text) {
    return std::u16string_view(reinterpret_cast<const char16_t*>(text.utf16()), text.size());
}

// The text on a single line: control characters and line separators become spaces.
inline QString oneLine(QString text) {
    for (QChar& c : text) {
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator)
            c = QLatin1Char(' ');
    }
    return text;
}

// For texts that Qt shows as rich text when they look like it: zero-width spaces break up the tags.
inline QString plainText(QString text) {
    if (!Qt::mightBeRichText(text)) return text;
    for (const char16_t mark : {u'<', u'&'})
        text.replace(QChar(mark), QString(QChar(mark)) + QChar(u'\u200B'));
    return text;
}

inline bool hasApplication() {
    return qobject_cast<QApplication*>(QCoreApplication::instance()) && !QCoreApplication::closingDown();
}

} // namespace icawave::qt
