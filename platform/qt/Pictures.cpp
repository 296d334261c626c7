#include "platform/qt/Pictures.h"

#include <QImage>
#include <QPixmap>

namespace icawave::qt {

namespace {

constexpr int largestEdge = 128; // pixels: 32 points on a screen of four pixels a point

int digit(char c) {
    return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

QImage drawn(const IconImage& picture) {
    QImage image(picture.size, picture.size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    for (int y = 0; y < picture.size; ++y) {
        for (int x = 0; x < picture.size; ++x) {
            const int colour = digit(picture.rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]);
            if (colour >= 0) image.setPixel(x, y, 0xFF000000u | iconColours[colour]);
        }
    }
    return image;
}

} // namespace

// Qt scales an icon down by itself, but never up.
QIcon pictures(const IconImage* small, const IconImage* large) {
    QIcon icon;
    if (small) icon.addPixmap(QPixmap::fromImage(drawn(*small)));
    const IconImage* finest = large ? large : small;
    if (!finest) return icon;
    const QImage image = drawn(*finest);
    if (large) icon.addPixmap(QPixmap::fromImage(image));
    for (int edge = 2 * finest->size; edge <= largestEdge; edge *= 2)
        icon.addPixmap(
            QPixmap::fromImage(image.scaled(edge, edge, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)));
    return icon;
}

} // namespace icawave::qt
