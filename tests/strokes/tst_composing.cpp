#include "strokes/strokesview.h"

#include "tests/strokes/messages.h"
#include "tests/strokes/pictures.h"
#include "tests/strokes/records.h"

#include <QImage>
#include <QPaintEngine>
#include <QPainter>
#include <QPainterPath>

namespace {

/// An item that fills a rectangle of the view.
class Patch : public Item {
public:
    Patch(QRect const& rect, QColor color)
        : Item(rect.topLeft(), 0.0F, 1.0F, 0), m_size(rect.size()), m_color(color) {}

    void pen_event(Osterly::Controls const&) override {}
    void touch_event(std::vector<Osterly::Controls> const&) override {}
    void erase_event(std::vector<Osterly::Controls> const&) override {}
    using Item::redraw;
    void rebuild() override {
        QPainterPath outline;
        outline.addRect(QRectF(QPointF(0.0, 0.0), m_size));
        set_outline(outline);
    }
    void redraw(QPainter& painter) override {
        painter.fillRect(QRectF(QPointF(0.0, 0.0), m_size), m_color);
    }

private:
    QSizeF m_size;
    QColor m_color;
};

/// Notes which parts of which images are drawn.
class NotingEngine : public QPaintEngine {
public:
    NotingEngine() : QPaintEngine(QPaintEngine::AllFeatures) {}
    bool begin(QPaintDevice*) override { return true; }
    bool end() override { return true; }
    void updateState(QPaintEngineState const&) override {}
    void drawPixmap(QRectF const&, QPixmap const&, QRectF const&) override {}
    void drawPolygon(QPointF const*, int, PolygonDrawMode) override {}
    void drawImage(QRectF const&, QImage const& image, QRectF const& part,
                   Qt::ImageConversionFlags) override {
        m_parts[image.format()] += part.toRect();
        m_pixels += static_cast<int>(part.width() * part.height());
    }
    Type type() const override { return User; }

    std::map<QImage::Format, QRegion> m_parts;
    int m_pixels = 0;
};

class NotingDevice : public QPaintDevice {
public:
    QPaintEngine* paintEngine() const override { return &m_engine; }
    NotingEngine& engine() { return m_engine; }

protected:
    int metric(PaintDeviceMetric metric) const override {
        switch (metric) {
        case PdmWidth:
            return kView.width();
        case PdmHeight:
            return kView.height();
        case PdmDevicePixelRatio:
            return 1;
        case PdmDevicePixelRatioScaled:
            return static_cast<int>(devicePixelRatioFScale());
        default:
            return 96;
        }
    }

private:
    mutable NotingEngine m_engine;
};

QImage blank_picture() {
    QImage image(kView, QImage::Format_RGB32);
    image.fill(Qt::darkYellow);
    return image;
}

} // namespace

class TestComposing : public QuietTest {
    Q_OBJECT

private slots:
    void the_card_is_below_the_strokes_and_the_items_above();
    void an_eraser_shows_the_card();
    void the_markers_are_above_the_strokes();
    void a_layer_that_is_not_there_is_not_painted();
    void only_the_region_of_the_event_is_composed();
    void small_and_large_rectangles_are_composed_alike();
    void the_layers_are_clipped_by_the_widget();
};

void TestComposing::the_card_is_below_the_strokes_and_the_items_above() {
    const auto view = bare_view(ColorsCard);
    draw(*view, {{Qt::magenta, 8.0, {{10.0, 45.0}, {110.0, 45.0}}}});
    const QRect place(50, 20, 25, 50);
    view->add_item(std::make_shared<Patch>(place, Qt::cyan));
    view->m_items[0]->update_begin();
    view->m_items[0]->update_end();

    QImage expected = view->m_test_image->copy(QRect(QPoint(0, 0), kView));
    QPainter painter(&expected);
    painter.drawImage(0, 0, *view->m_strokes_image);
    painter.fillRect(place, Qt::cyan);
    painter.end();
    QCOMPARE(expected.pixel(0, 0), 0xffff0000); // the card's
    QCOMPARE(expected.pixel(30, 45), 0xffff00ff);
    COMPARE_PICTURES(shot_of(*view), expected);
}

void TestComposing::an_eraser_shows_the_card() {
    const auto view = bare_view(ColorsCard);
    view->in_pen_event(down(-1, 10.0, 48.5, 10.0));
    view->in_pen_event(down(-1, 110.0, 48.5, 10.0));
    view->in_erase_event({down(512, 80.0, 20.0, 5.0, 5.0)});
    view->in_erase_event({down(512, 80.0, 80.0, 5.0, 5.0)});
    const QImage shot = shot_of(*view);
    QCOMPARE(shot.pixel(80, 48), QColor(Qt::green).rgb()); // a cell of the odd row
    QCOMPARE(shot.pixel(80, 30), QColor(Qt::red).rgb());   // and one of the even row
    QCOMPARE(shot.pixel(65, 48), QColor(Qt::red).rgb());   // the stroke
    QCOMPARE(shot.pixel(95, 48), QColor(Qt::red).rgb());
    QCOMPARE(shot.pixel(65, 35), QColor(Qt::green).rgb());
}

void TestComposing::the_markers_are_above_the_strokes() {
    const auto view = bare_view();
    view->m_info_tags = true;
    view->m_stroke_width = 9.0F;
    view->in_pen_event(down(-1, 60.0, 45.0));
    QImage expected = shot_of(*view);
    QCOMPARE(expected.pixel(60, 45), 0xffff0000); // no frame has drawn the marker yet
    view->m_items[0]->update_begin();
    view->m_items[0]->update_end();
    QPainter painter(&expected);
    view->m_items[0]->paint(painter);
    painter.end();
    QVERIFY(qRed(expected.pixel(60, 45)) < 128); // its cross
    COMPARE_PICTURES(shot_of(*view), expected);
}

void TestComposing::a_layer_that_is_not_there_is_not_painted() {
    const auto view = bare_view(BlackCard);
    draw(*view, {{Qt::red, 5.0, {{40.0, 30.0}}}});
    view->setAttribute(Qt::WA_DontShowOnScreen);
    view->show(); // a hidden view is resized again for each shot
    view->m_test_image.reset();
    QCOMPARE(shot_of(*view).pixel(40, 30), 0xffff0000);
    QCOMPARE(shot_of(*view).pixel(90, 60), 0xffffffff); // the widget's own white
    view->m_strokes_image.reset();
    QCOMPARE(shot_of(*view).pixel(40, 30), 0xffffffff);
    view->redraw_strokes();
    view->redraw_test();
    view->clear_strokes();
    view->in_pen_event(down(-1, 20.0, 60.0));
    QVERIFY(!view->m_strokes_image && !view->m_test_image);
}

void TestComposing::only_the_region_of_the_event_is_composed() {
    const auto view = bare_view(ColorsCard);
    const QRegion region = QRegion(10, 10, 20, 30) + QRegion(70, 5, 9, 80) + QRegion(0, 70, 5, 20);
    NotingDevice device;
    view->render(&device, region.boundingRect().topLeft(), region, QWidget::RenderFlags());
    NotingEngine const& engine = device.engine();
    QCOMPARE(engine.m_parts.size(), 2U);
    QCOMPARE(engine.m_parts.at(QImage::Format_RGB32), region);
    QCOMPARE(engine.m_parts.at(QImage::Format_ARGB32_Premultiplied), region);
    QCOMPARE(engine.m_pixels, 2 * (20 * 30 + 9 * 80 + 5 * 20)); // none twice
}

void TestComposing::small_and_large_rectangles_are_composed_alike() {
    const auto view = bare_view(ColorsCard);
    draw(*view, {{QColor(0, 0, 255, 100), 20.0, {{10.0, 45.0}, {110.0, 45.0}}}});
    // Below each other, as a region cuts what is beside each other.
    const QRegion region = QRegion(3, 2, 6, 5) + QRegion(20, 10, 60, 40) + QRegion(10, 55, 5, 5) +
                           QRegion(30, 62, 80, 26) + QRegion(50, 89, 9, 1);
    QImage shot = blank_picture();
    view->render(&shot, region.boundingRect().topLeft(), region, QWidget::RenderFlags());

    QImage expected = blank_picture();
    QPainter painter(&expected);
    painter.setClipRegion(region);
    painter.drawImage(0, 0, *view->m_test_image);
    painter.drawImage(0, 0, *view->m_strokes_image);
    painter.end();
    COMPARE_PICTURES(shot, expected);
}

/// Grows the layers of all views that come after it.
void TestComposing::the_layers_are_clipped_by_the_widget() {
    const auto view = bare_view(ColorsCard);
    give_size(*view, {300, 200});
    draw(*view, {{Qt::red, 5.0, {{10.0, 45.0}, {290.0, 45.0}}}});
    give_size(*view, {50, 60});
    QCOMPARE(view->m_test_image->size(), QSize(300, 200));
    const QImage shot = shot_of(*view);
    QCOMPARE(shot.size(), QSize(50, 60));
    QCOMPARE(shot.pixel(49, 45), 0xffff0000);
    QCOMPARE(shot.pixel(49, 10), 0xff0000ff);
}

QTEST_MAIN(TestComposing)
#include "tst_composing.moc"
