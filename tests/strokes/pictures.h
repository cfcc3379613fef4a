#pragma once

#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QWidget>
#include <QtTest>

/// Where pictures that are not as expected are left to be looked at.
inline QDir mismatch_folder() {
    return QDir(QCoreApplication::applicationDirPath() + QStringLiteral("/mismatches"));
}

/// Compares pixel by pixel. Empty where the pictures are the same, else what differs; then the
/// shot, what was expected and a picture of the difference (white where they differ) are written
/// to the folder.
inline QString difference(QImage const& shot_image, QImage const& expected_image,
                          QString const& name, QDir const& folder = mismatch_folder()) {
    const QImage shot = shot_image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QImage expected = expected_image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QImage differing(shot.size().expandedTo(expected.size()), QImage::Format_RGB32);
    differing.fill(Qt::black);
    int count = 0;
    QString first;
    for (int y = 0; y < differing.height(); ++y) {
        for (int x = 0; x < differing.width(); ++x) {
            const bool in_both = shot.valid(x, y) && expected.valid(x, y);
            const auto pixel = [x, y](QImage const& image) {
                return reinterpret_cast<QRgb const*>(image.constScanLine(y))[x];
            };
            if (in_both && pixel(shot) == pixel(expected))
                continue;
            differing.setPixel(x, y, 0xffffff);
            if (count++ == 0)
                first = in_both ? QStringLiteral("(%1, %2) is %3, not %4")
                                      .arg(x)
                                      .arg(y)
                                      .arg(pixel(shot), 8, 16, QLatin1Char('0'))
                                      .arg(pixel(expected), 8, 16, QLatin1Char('0'))
                                : QStringLiteral("(%1, %2) is in one of them only").arg(x).arg(y);
        }
    }
    if (count == 0 && shot.size() == expected.size())
        return {};
    folder.mkpath(QStringLiteral("."));
    QString stem = name;
    stem.replace(QLatin1Char('/'), QLatin1Char('_')).replace(QLatin1Char(' '), QLatin1Char('_'));
    shot.save(folder.filePath(stem + QStringLiteral(".shot.png")));
    expected.save(folder.filePath(stem + QStringLiteral(".expected.png")));
    differing.save(folder.filePath(stem + QStringLiteral(".difference.png")));
    return QStringLiteral("%1: %2 pixels differ; %3; see %4")
        .arg(name)
        .arg(count)
        .arg(first, folder.filePath(stem));
}

inline QString picture_name() {
    QString name = QString::fromUtf8(QTest::currentTestFunction());
    if (QTest::currentDataTag() != nullptr)
        name += QLatin1Char('.') + QString::fromUtf8(QTest::currentDataTag());
    return name;
}

/// What the widget shows.
inline QImage shot_of(QWidget& widget) {
    return widget.grab().toImage();
}

#define COMPARE_PICTURES(shot, expected)                                                           \
    do {                                                                                           \
        const QString what_differs = difference(shot, expected, picture_name());                   \
        QVERIFY2(what_differs.isEmpty(), qPrintable(what_differs));                                \
    } while (false)
