// SPDX-License-Identifier: BSD-3-Clause
#include "qt/Pictures.h"

#include <QIconEngine>
#include <QImage>
#include <QPainter>

namespace icawave::qt {

namespace {

int digit(char c) {
    return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

QImage drawn(const IconImage& picture, const QColor& ink) {
    QImage image(picture.size, picture.size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    quint32 used = 0; // a bit for each colour
    for (int y = 0; y < picture.size; ++y) {
        for (int x = 0; x < picture.size; ++x) {
            const int colour = digit(picture.rows[y][x]);
            if (colour < 0) continue;
            image.setPixel(x, y, 0xFF000000u | iconColours[colour]);
            used |= 1u << colour;
        }
    }
    const bool mark = (used & (used - 1)) == 0;
    if (mark && ink.isValid()) {
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), ink);
    }
    return image;
}

// Draws the picture's points as squares, in every mode alike: smoothed or tinted, thin lines would fade.
class PictureEngine : public QIconEngine {
public:
    PictureEngine(const IconImage* small, const IconImage* large, const QColor& ink)
        : m_small(small ? small : large), m_large(large ? large : small), m_ink(ink) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
        const qreal pixels = rect.width() * painter->device()->devicePixelRatio();
        painter->save();
        painter->setRenderHint(QPainter::SmoothPixmapTransform, false);
        painter->drawImage(rect, drawn(pixels < m_large->size ? *m_small : *m_large, m_ink));
        painter->restore();
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, pixmap.rect(), mode, state);
        return pixmap;
    }
    QIconEngine* clone() const override { return new PictureEngine(*this); }

private:
    const IconImage* m_small;
    const IconImage* m_large;
    QColor m_ink;
};

} // namespace

QIcon makeIcon(const IconImage* small, const IconImage* large, const QColor& ink) {
    return small || large ? QIcon(new PictureEngine(small, large, ink)) : QIcon();
}

} // namespace icawave::qt
