#include "scene/glyphs.h"

#include <QImage>
#include <QPainter>
#include <QTextLayout>
#include <QtTest>
#include <cmath>
#include <cstring>
#include <random>
#include <thread>

namespace {

QFont tag_font() {
    QFont font;
    font.setStyleHint(QFont::Times, QFont::PreferAntialias);
    font.setPixelSize(16);
    return font;
}

QString figures() {
    const QString characters = QStringLiteral(" 0123456789.-+e");
    QString sample = QStringLiteral("X Radius: ");
    for (const QChar a : characters) {
        for (const QChar b : characters) {
            sample += a;
            sample += b;
        }
    }
    return sample;
}

QPainterPath expected(QPointF baseline, const QFont& font, const QString& text) {
    QPainterPath path;
    path.addText(baseline, font, text);
    return path;
}

/// As far as a sum in another order may take them.
bool are_same(const QPainterPath& a, const QPainterPath& b) {
    if (a.elementCount() != b.elementCount())
        return false;
    for (int i = 0; i < a.elementCount(); ++i) {
        const QPainterPath::Element p = a.elementAt(i);
        const QPainterPath::Element q = b.elementAt(i);
        if (p.type != q.type || std::abs(p.x - q.x) > 1e-9 || std::abs(p.y - q.y) > 1e-9)
            return false;
    }
    return true;
}

QImage picture(const QPainterPath& path) {
    QImage image(300, 60, QImage::Format_ARGB32_Premultiplied);
    image.fill(0U);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(120.25, 40.5);
    painter.fillPath(path, Qt::black);
    return image;
}

} // namespace

class TestGlyphs : public QObject {
    Q_OBJECT

private slots:
    void numbers_are_the_toolkits_data();
    void numbers_are_the_toolkits();
    void the_picture_is_the_toolkits();
    void a_text_not_learnt_is_the_toolkits_data();
    void a_text_not_learnt_is_the_toolkits();
    void a_font_that_joins_letters_is_the_toolkits();
    void a_sample_shaped_by_more_than_neighbours_is_not_learnt();
    void the_line_height_is_the_fonts();
    void it_is_read_on_many_threads();
};

void TestGlyphs::numbers_are_the_toolkits_data() {
    QTest::addColumn<QFont>("font");
    QTest::newRow("tag") << tag_font();
    QFont font = tag_font();
    font.setPixelSize(37);
    QTest::newRow("large") << font;
    font.setBold(true);
    font.setItalic(true);
    QTest::newRow("bold and italic") << font;
    QFont spaced = tag_font();
    spaced.setLetterSpacing(QFont::AbsoluteSpacing, 3.25);
    QTest::newRow("with letter spacing") << spaced;
    QFont unhinted = tag_font();
    unhinted.setHintingPreference(QFont::PreferNoHinting);
    QTest::newRow("not hinted") << unhinted;
}

void TestGlyphs::numbers_are_the_toolkits() {
    QFETCH(const QFont, font);
    const Glyphs glyphs(font, figures());
    std::mt19937_64 random(7);
    for (int i = 0; i < 400; ++i) {
        double value = 0.0;
        const std::uint64_t bits = random();
        if (i % 2 == 0)
            std::memcpy(&value, &bits, sizeof value);
        else
            value = static_cast<double>(bits % 4000000) / 1000.0;
        const QString text = QStringLiteral("X Radius: ") + QString::number(value, 'g', 6);
        const QPointF baseline(-static_cast<double>(random() % 100000) / 317.0,
                               static_cast<double>(random() % 100000) / 317.0 - 150.0);
        const QPainterPath outlines = glyphs.outlines(baseline, text);
        QVERIFY2(are_same(outlines, expected(baseline, font, text)), qPrintable(text));
        QVERIFY(outlines == expected(baseline, font, text));
    }
}

void TestGlyphs::the_picture_is_the_toolkits() {
    const Glyphs glyphs(tag_font(), figures());
    std::mt19937 random(7);
    std::uniform_real_distribution<double> number(0.0, 20000.0);
    std::uniform_real_distribution<double> shift(0.0, 3.0);
    for (int i = 0; i < 100; ++i) {
        const QString text = QStringLiteral("X Radius: ") + QString::number(number(random), 'g', 6);
        const QPointF baseline(-100.0 - shift(random), shift(random));
        QCOMPARE(picture(glyphs.outlines(baseline, text)),
                 picture(expected(baseline, tag_font(), text)));
    }
}

void TestGlyphs::a_text_not_learnt_is_the_toolkits_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QString();
    QTest::newRow("another character") << QStringLiteral("12A");
    QTest::newRow("another character alone") << QStringLiteral("A");
    QTest::newRow("other neighbours") << QStringLiteral("R1");
    QTest::newRow("another script") << QStringLiteral("1\u05d0\u05d1 2");
}

void TestGlyphs::a_text_not_learnt_is_the_toolkits() {
    QFETCH(const QString, text);
    const Glyphs glyphs(tag_font(), figures());
    const QPointF baseline(-3.7, 2.9);
    QVERIFY(are_same(glyphs.outlines(baseline, text), expected(baseline, tag_font(), text)));
}

void TestGlyphs::a_font_that_joins_letters_is_the_toolkits() {
    const QString joined = QStringLiteral("fi");
    QTextLayout layout(joined, tag_font());
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    const Glyphs glyphs(tag_font(), QStringLiteral("fi f i fi"));
    QVERIFY(are_same(glyphs.outlines({}, joined), expected({}, tag_font(), joined)));
}

void TestGlyphs::a_sample_shaped_by_more_than_neighbours_is_not_learnt() {
    const QString joined = QStringLiteral("\u0628\u0628\u0628"); // a form for each place
    const Glyphs glyphs(tag_font(), joined + joined + QStringLiteral("11"));
    QVERIFY(are_same(glyphs.outlines({}, joined), expected({}, tag_font(), joined)));
}

void TestGlyphs::the_line_height_is_the_fonts() {
    QFont font = tag_font();
    font.setPixelSize(41);
    QCOMPARE(Glyphs(font, QString()).line_height(), QFontMetrics(font).height());
}

void TestGlyphs::it_is_read_on_many_threads() {
    const Glyphs glyphs(tag_font(), figures());
    const QString text = QStringLiteral("X Radius: 1234.57");
    const QPainterPath path = expected({1.5, 2.5}, tag_font(), text);
    std::vector<std::thread> threads;
    std::atomic<int> right{0};
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 50; ++n)
                right += are_same(glyphs.outlines({1.5, 2.5}, text), path) ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    QCOMPARE(right.load(), 200);
}

QTEST_MAIN(TestGlyphs)
#include "tst_glyphs.moc"
