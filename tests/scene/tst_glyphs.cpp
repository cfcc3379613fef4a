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

using Pieces = std::vector<QPainterPath>;

constexpr QPointF kShift(120.2533, 40.5077);

Pieces pieces(const Glyphs& glyphs, QPointF baseline, const QString& text, QPointF shift = kShift) {
    Pieces all;
    glyphs.add_pieces(baseline, text, shift, all);
    return all;
}

QPainterPath outlines(const Glyphs& glyphs, QPointF baseline, const QString& text) {
    QPainterPath path;
    glyphs.add_outlines(baseline, text, path);
    return path;
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

QImage picture(const Pieces& paths, QPointF shift = kShift) {
    QImage image(300, 60, QImage::Format_ARGB32_Premultiplied);
    image.fill(0U);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(shift);
    for (const QPainterPath& path : paths)
        painter.fillPath(path, Qt::black);
    return image;
}

} // namespace

class TestGlyphs : public QObject {
    Q_OBJECT

private slots:
    void numbers_are_the_toolkits_data();
    void numbers_are_the_toolkits();
    void the_picture_is_the_toolkits_data();
    void the_picture_is_the_toolkits();
    void pieces_have_a_pixel_between_them_data();
    void pieces_have_a_pixel_between_them();
    void a_glyph_within_another_ends_no_piece();
    void pieces_are_added_to_those_there_are();
    void pieces_have_no_curves();
    void blanks_are_no_pieces();
    void a_text_not_learnt_is_the_toolkits_data();
    void a_text_not_learnt_is_the_toolkits();
    void a_font_that_joins_letters_is_the_toolkits();
    void a_sample_shaped_by_more_than_neighbours_is_not_learnt();
    void the_line_height_is_the_fonts();
    void lines_are_apart_where_the_glyphs_are_low_data();
    void lines_are_apart_where_the_glyphs_are_low();
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
        const QPainterPath made = outlines(glyphs, baseline, text);
        QVERIFY2(are_same(made, expected(baseline, font, text)), qPrintable(text));
        QVERIFY(made == expected(baseline, font, text));
    }
}

void TestGlyphs::the_picture_is_the_toolkits_data() {
    QTest::addColumn<double>("x_steps"); // of a pixel; 0: anywhere
    QTest::addColumn<double>("y_steps");
    QTest::newRow("anywhere") << 0.0 << 0.0;
    QTest::newRow("on the toolkit's steps") << 64.0 << 64.0;
    QTest::newRow("on its steps across") << 64.0 << 0.0;
    QTest::newRow("on its steps down") << 0.0 << 64.0;
    QTest::newRow("on half steps across") << 128.0 << 64.0;
    QTest::newRow("on half steps down") << 64.0 << 128.0;
    QTest::newRow("on quarters of steps") << 256.0 << 256.0;
    QTest::newRow("on whole pixels") << 1.0 << 1.0;
}

void TestGlyphs::the_picture_is_the_toolkits() {
    QFETCH(const double, x_steps);
    QFETCH(const double, y_steps);
    const Glyphs glyphs(tag_font(), figures());
    std::mt19937 random(7);
    std::uniform_real_distribution<double> number(0.0, 20000.0);
    std::uniform_real_distribution<double> some_pixels(0.0, 3.0);
    std::uniform_real_distribution<double> far(0.0, 250.0);
    const auto shift = [&](double steps) {
        const double pixels = some_pixels(random);
        return steps > 0.0 ? std::round(pixels * steps) / steps : pixels;
    };
    for (int i = 0; i < 500; ++i) {
        const QString text = QStringLiteral("X Radius: ") + QString::number(number(random), 'g', 6);
        const QPointF baseline(-10.0 - far(random), -10.0 - far(random));
        const QPointF by(std::floor(-baseline.x()) + shift(x_steps),
                         std::floor(-baseline.y()) + 40.0 + shift(y_steps));
        QCOMPARE(picture(pieces(glyphs, baseline, text, by), by),
                 picture({expected(baseline, tag_font(), text)}, by));
    }
}

void TestGlyphs::pieces_have_a_pixel_between_them_data() {
    QTest::addColumn<double>("spacing");
    QTest::addColumn<int>("most");
    QTest::newRow("as the font has it") << 0.0 << 13;
    QTest::newRow("tight") << -1.5 << 12;
    QTest::newRow("over each other") << -12.0 << 1;
    QTest::newRow("wide") << 4.0 << 13;
}

void TestGlyphs::pieces_have_a_pixel_between_them() {
    QFETCH(const double, spacing);
    QFETCH(const int, most);
    QFont font = tag_font();
    font.setLetterSpacing(QFont::AbsoluteSpacing, spacing);
    const Glyphs glyphs(font, figures());
    const QString text = QStringLiteral("1234567890+.7");
    const Pieces all = pieces(glyphs, {0.3, 0.0}, text);
    QVERIFY(!all.empty() && all.size() <= static_cast<std::size_t>(most));
    QVERIFY(spacing < 4.0 || all.size() == static_cast<std::size_t>(most)); // each for itself
    for (std::size_t i = 1; i < all.size(); ++i)
        QVERIFY(all[i].boundingRect().left() - all[i - 1].boundingRect().right() > 1.0);
    QCOMPARE(outlines(glyphs, {0.3, 0.0}, text), expected({0.3, 0.0}, font, text));
    QCOMPARE(picture(all), picture({expected({0.3, 0.0}, font, text)}));
}

void TestGlyphs::a_glyph_within_another_ends_no_piece() {
    QFont font = tag_font();
    font.setLetterSpacing(QFont::AbsoluteSpacing, -9.0);
    font.setWordSpacing(12.0);
    const Glyphs glyphs(font, figures());
    const QString text = QStringLiteral("0. 7"); // the dot stands in the 0, and the 7 over its end
    const double dot_end = expected({}, font, QStringLiteral("0.")).boundingRect().right();
    QCOMPARE(dot_end, expected({}, font, QStringLiteral("0")).boundingRect().right());
    QCOMPARE(pieces(glyphs, {}, text).size(), std::size_t{1});
    QCOMPARE(outlines(glyphs, {}, text), expected({}, font, text));
}

void TestGlyphs::pieces_are_added_to_those_there_are() {
    const Glyphs glyphs(tag_font(), figures());
    const QString text = QStringLiteral("77");
    Pieces all;
    glyphs.add_pieces({0.0, 0.0}, text, kShift, all);
    const QPainterPath first = all.front();
    const std::size_t count = all.size();
    glyphs.add_pieces({0.0, 0.0}, text, kShift, all); // in the same place
    QCOMPARE(all.size(), 2 * count);
    QCOMPARE(all.front(), first);
    QCOMPARE(all[count], first);
}

void TestGlyphs::pieces_have_no_curves() {
    const Glyphs glyphs(tag_font(), figures());
    for (const QPainterPath& piece : pieces(glyphs, {}, QStringLiteral("0123456789"))) {
        for (int i = 0; i < piece.elementCount(); ++i)
            QVERIFY(!piece.elementAt(i).isCurveTo());
    }
}

void TestGlyphs::blanks_are_no_pieces() {
    const Glyphs glyphs(tag_font(), figures());
    QVERIFY(pieces(glyphs, {}, QStringLiteral("  ")).empty());
    QCOMPARE(pieces(glyphs, {}, QStringLiteral("1 1")).size(), std::size_t{2});
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
    QVERIFY(are_same(outlines(glyphs, baseline, text), expected(baseline, tag_font(), text)));
}

void TestGlyphs::a_font_that_joins_letters_is_the_toolkits() {
    const QString joined = QStringLiteral("fi");
    QTextLayout layout(joined, tag_font());
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    const Glyphs glyphs(tag_font(), QStringLiteral("fi f i fi"));
    QVERIFY(are_same(outlines(glyphs, {}, joined), expected({}, tag_font(), joined)));
}

void TestGlyphs::a_sample_shaped_by_more_than_neighbours_is_not_learnt() {
    const QString joined = QStringLiteral("\u0628\u0628\u0628"); // a form for each place
    const Glyphs glyphs(tag_font(), joined + joined + QStringLiteral("11"));
    QVERIFY(are_same(outlines(glyphs, {}, joined), expected({}, tag_font(), joined)));
}

void TestGlyphs::the_line_height_is_the_fonts() {
    QFont font = tag_font();
    font.setPixelSize(41);
    QCOMPARE(Glyphs(font, QString()).line_height(), QFontMetrics(font).height());
}

void TestGlyphs::lines_are_apart_where_the_glyphs_are_low_data() {
    QTest::addColumn<QString>("sample");
    QTest::addColumn<bool>("apart");
    QTest::newRow("figures") << figures() << true;
    QTest::newRow("a line through") << QStringLiteral("1\u2502") << false;
    QTest::newRow("nothing learnt") << QString() << false;
}

void TestGlyphs::lines_are_apart_where_the_glyphs_are_low() {
    QFETCH(const QString, sample);
    QFETCH(const bool, apart);
    QCOMPARE(Glyphs(tag_font(), sample).are_lines_apart(), apart);
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
                right += are_same(outlines(glyphs, {1.5, 2.5}, text), path) ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    QCOMPARE(right.load(), 200);
}

QTEST_MAIN(TestGlyphs)
#include "tst_glyphs.moc"
