#include "strokes/layer.h"

#include "tests/strokes/messages.h"

#include <QPainter>
#include <cstdint>

class TestLayer : public QuietTest {
    Q_OBJECT

private slots:
    void a_layer_is_an_image_of_its_size_data();
    void a_layer_is_an_image_of_its_size();
    void a_large_layer_begins_with_a_huge_page();
    void a_copy_outlives_the_layer();
    void a_layer_without_pixels_is_null();
};

void TestLayer::a_layer_is_an_image_of_its_size_data() {
    QTest::addColumn<QSize>("size");
    for (const QSize size : {QSize(1, 1), QSize(640, 480), QSize(1023, 512), QSize(1024, 512),
                             QSize(1025, 513), QSize(3840, 2160)})
        QTest::addRow("%dx%d", size.width(), size.height()) << size;
}

void TestLayer::a_layer_is_an_image_of_its_size() {
    QFETCH(const QSize, size);
    for (const QImage::Format format :
         {QImage::Format_RGB32, QImage::Format_ARGB32_Premultiplied}) {
        const auto layer = new_layer(size, format);
        QCOMPARE(layer->size(), size);
        QCOMPARE(layer->format(), format);
        const uchar* const pixels = layer->constBits();
        layer->fill(0xff102030U);
        QPainter(layer.get()).fillRect(size.width() - 1, size.height() - 1, 1, 1, QColor(1, 2, 3));
        QCOMPARE(layer->constBits(), pixels); // painted in place
        QCOMPARE(layer->pixel(0, 0), size == QSize(1, 1) ? 0xff010203U : 0xff102030U);
        QCOMPARE(layer->pixel(size.width() - 1, size.height() - 1), 0xff010203U);
    }
}

void TestLayer::a_large_layer_begins_with_a_huge_page() {
    const auto layer = new_layer({3840, 2160}, QImage::Format_RGB32);
    QCOMPARE(reinterpret_cast<std::uintptr_t>(layer->constBits()) % (1U << 21), std::uintptr_t{0});
}

void TestLayer::a_copy_outlives_the_layer() {
    auto layer = new_layer({1920, 1080}, QImage::Format_RGB32);
    layer->fill(Qt::red);
    const QImage copy = *layer;
    layer->fill(Qt::blue);
    QCOMPARE(copy.pixel(1919, 1079), 0xffff0000U);
    const QImage last = *layer;
    layer.reset();
    QCOMPARE(copy.pixel(1919, 1079), 0xffff0000U);
    QCOMPARE(last.pixel(1919, 1079), 0xff0000ffU);
}

void TestLayer::a_layer_without_pixels_is_null() {
    for (const QSize size : {QSize(), QSize(0, 0), QSize(0, 5000), QSize(5000, 0)})
        QVERIFY(new_layer(size, QImage::Format_RGB32)->isNull());
}

QTEST_MAIN(TestLayer)
#include "tst_layer.moc"
