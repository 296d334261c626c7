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

// For a single line, whatever the text holds.
inline QString oneLine(QString text) {
    for (QChar& c : text) {
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator)
            c = QLatin1Char(' ');
    }
    return text;
}

// Where Qt tells rich text from plain by looking: characters without a width keep tags from being any.
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
