#include "tests/app/routing_fixture.h"

#include "strokes/strokesview.h"
#include "tests/app/dialog_warnings.h"
#include "tests/support/no_warnings.h"

#include <QtTest>

namespace {

constexpr int kScreenSide = 1000;

/// The normalised coordinate of the middle of a pixel.
double normalised(double pixel) {
    return (pixel + 0.5) / kScreenSide;
}

} // namespace

void RoutingFixture::add_kinds() {
    QTest::addColumn<int>("kind");
    QTest::newRow("pen") << int(Pen);
    QTest::newRow("touch") << int(Touch);
    QTest::newRow("eraser") << int(Erase);
}

void RoutingFixture::add_batch_kinds() {
    QTest::addColumn<int>("kind");
    QTest::newRow("touch") << int(Touch);
    QTest::newRow("eraser") << int(Erase);
}

void RoutingFixture::initTestCase() {
    no_warnings::watch();
}

void RoutingFixture::init() {
    QFETCH_GLOBAL(const int, kind);
    m_kind = static_cast<Kind>(kind);

    m_dialog = std::make_unique<KestruneDialog>(nullptr);
    QVERIFY(are_dialog_warnings(no_warnings::taken()));
    m_screen.emplace(QRect(0, 0, kScreenSide, kScreenSide));
    m_dialog->setWindowFlag(
        Qt::FramelessWindowHint); // the platform leaves these where they are put
    place_dialog(QRect(100, 50, 400, 300));
    QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));

    m_delivered.clear();
    StrokesView const* const view = m_dialog->m_strokes_view;
    connect(view, &ItemView::out_pen_event, this, [this](Controls const& record) {
        m_delivered.push_back({Pen, {record}});
    });
    connect(view, &ItemView::out_touch_event, this, [this](Contacts const& records) {
        m_delivered.push_back({Touch, records});
    });
    connect(view, &ItemView::out_erase_event, this, [this](Contacts const& records) {
        m_delivered.push_back({Erase, records});
    });
}

void RoutingFixture::cleanup() {
    m_dialog.reset();
    m_screen.reset();
    QCOMPARE(no_warnings::taken(), QStringList());
}

void RoutingFixture::place_dialog(QRect geometry) {
    m_dialog->showNormal();
    m_dialog->setGeometry(geometry);
    QCoreApplication::processEvents();
    QCOMPARE(m_dialog->geometry(), geometry);
    QCOMPARE(m_dialog->m_strokes_view->geometry(), m_dialog->rect());
}

std::unique_ptr<QWidget> RoutingFixture::other_widget() {
    auto other = std::make_unique<QWidget>(m_dialog.get());
    other->setGeometry(0, 0, 50, 50);
    other->show();
    return other;
}

RoutingFixture::Controls RoutingFixture::contact_at(int id, QPoint global, int buttons) {
    Controls record;
    record.id = id;
    record.buttons = buttons;
    record.x = record.hoop_x = normalised(global.x());
    record.y = record.hoop_y = normalised(global.y());
    return record;
}

RoutingFixture::Contacts RoutingFixture::send_as(Kind kind, Contacts records) {
    switch (kind) {
    case Pen:
        for (Controls& record : records)
            emit m_dialog->m_osterly->out_osterly_pen_event(record);
        break;
    case Touch:
        emit m_dialog->m_osterly->out_osterly_touch_event(records);
        break;
    case Erase:
        emit m_dialog->m_osterly->out_osterly_erase_event(records);
        break;
    }
    return records;
}

KestruneDialog::WidgetMap& RoutingFixture::bindings(Kind kind) {
    switch (kind) {
    case Pen:
        return m_dialog->m_id_to_pen_widget_map;
    case Touch:
        return m_dialog->m_id_to_touch_widget_map;
    default:
        return m_dialog->m_id_to_erase_widget_map;
    }
}

KestruneDialog::BatchMap& RoutingFixture::batches(Kind kind) {
    return kind == Touch ? m_dialog->m_widget_to_touches_map : m_dialog->m_widget_to_erases_map;
}
