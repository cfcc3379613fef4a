#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QString>
#include <algorithm>
#include <cstdlib>

/// Tells the first pixel in which two pictures differ by more than `tolerance` in a channel; empty
/// where there is none.
inline QString difference(QImage const& actual, QImage const& expected, int tolerance = 0) {
    if (actual.size() != expected.size())
        return QStringLiteral("%1x%2 pixels instead of %3x%4")
            .arg(actual.width())
            .arg(actual.height())
            .arg(expected.width())
            .arg(expected.height());
    const auto far = [tolerance](int a, int b) { return std::abs(a - b) > tolerance; };
    for (int y = 0; y < actual.height(); ++y) {
        for (int x = 0; x < actual.width(); ++x) {
            const QRgb a = actual.pixel(x, y);
            const QRgb e = expected.pixel(x, y);
            if (far(qRed(a), qRed(e)) || far(qGreen(a), qGreen(e)) || far(qBlue(a), qBlue(e)) ||
                far(qAlpha(a), qAlpha(e)))
                return QStringLiteral("pixel (%1, %2) is %3 instead of %4")
                    .arg(x)
                    .arg(y)
                    .arg(QColor::fromRgba(a).name(QColor::HexArgb),
                         QColor::fromRgba(e).name(QColor::HexArgb));
        }
    }
    return QString();
}

inline QImage blank(QSize size, QColor color) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    return image;
}

/// `layer` on a picture of one colour.
inline QImage laid_on(QColor color, QImage const& layer) {
    QImage image = blank(layer.size(), color);
    QPainter(&image).drawImage(0, 0, layer);
    return image;
}
