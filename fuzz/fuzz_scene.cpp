// Whatever reports, events, keys and sizes come to the dialog, and whatever its items do, its parts
// agree with each other after each step.
//
// Input: steps, each with its number and what it takes. Each input has a dialog of its own.

#include "app/kestrunedialog.h"
#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "fuzz/scene_checks.h"
#include "scene/pixels.h"
#include "strokes/strokesview.h"
#include "tests/app/dialog_warnings.h"
#include "tests/support/fake_driver.h"
#include "tests/support/scene_items.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTimer>
#include <QTouchDevice>
#include <QTouchEvent>
#include <array>
#include <set>

namespace {

constexpr int kScreenSide = 800; // the platform's
constexpr int kMostSteps = 64;
constexpr std::size_t kMostItems = 12;
constexpr int kStrokesOnly = 1000; // the contact that only strokes are told of; no other has its id

/// Mostly a pixel in or near the dialog, in quarters; else something that no pixel can have, or
/// hardly one.
double coordinate(Input& input) {
    constexpr double odd[] = {kNan,          kInfinity,    -kInfinity,   1e300,
                              -1e300,        2147483647.0, 2147483648.0, -2147483648.0,
                              -2147483649.0, 1e9,          -1e9,         32768.0,
                              -40000.0,      1e-300,       5e-324,       -0.0};
    const int word = input.word();
    return word >= 0xF000 ? odd[word % std::size(odd)] : word % 4096 / 4.0 - 100.0;
}

/// Up to 128 pixels, or something that is too large for any image, or hardly a size.
double size(Input& input) {
    constexpr double odd[] = {kNan, kInfinity, -kInfinity, 1e300, 2147483647.0, 2147483648.0,
                              1e9,  32768.0,   40000.0,    -1.0,  -40000.0,     1e-300};
    const int word = input.word();
    return word >= 0xF000 ? odd[word % std::size(odd)] : word % 1024 / 8.0;
}

float factor(Input& input) {
    constexpr float odd[] = {1.0F,
                             0.0F,
                             0.5F,
                             -1.0F,
                             2.0F,
                             90.0F,
                             1e-30F,
                             1e30F,
                             std::numeric_limits<float>::quiet_NaN(),
                             std::numeric_limits<float>::infinity()};
    const int byte = input.byte();
    return odd[static_cast<std::size_t>(byte) % std::size(odd)];
}

enum Kind { PenKind, TouchKind, EraseKind };

Kind kind(Input& input) {
    return static_cast<Kind>(input.byte() % 3);
}

/// In pixels. Mostly one of four contacts of its kind, with the left and right button alone.
Controls record(Input& input, Kind kind) {
    constexpr int odd = 0xE0;
    const int byte = input.byte();
    const int number = byte & 3;
    Controls c;
    c.id = kind == PenKind     ? Osterly::pen_id(number)
           : kind == TouchKind ? Osterly::touch_id(number)
                               : Osterly::erase_id(number);
    c.buttons = byte >> 2 & 3;
    if (byte >= odd) {
        c.id = input.number() | 1;
        c.buttons = input.number();
    }
    c.x = c.hoop_x = coordinate(input);
    c.y = c.hoop_y = coordinate(input);
    if (kind != PenKind || byte >= odd) {
        c.radius_x = size(input);
        c.radius_y = size(input);
    }
    return c;
}

Contacts records(Input& input, Kind kind) {
    Contacts contacts;
    for (int left = 1 + input.byte() % 4; left > 0; --left)
        contacts.push_back(record(input, kind));
    return contacts;
}

/// A record in pixels as the input source would tell of it.
Controls normalised(Controls c) {
    for (double Controls::*const field :
         {&Controls::x, &Controls::y, &Controls::hoop_x, &Controls::hoop_y, &Controls::radius_x,
          &Controls::radius_y})
        c.*field /= kScreenSide;
    return c;
}

QPainterPath shape(Input& input) {
    enum { Box, Ellipse, Lines, Nothing, Kinds };
    QPainterPath path;
    const int kind = input.byte() % Kinds;
    const QPointF corner(size(input) - 64.0, size(input) - 64.0);
    const QSizeF extent(size(input), size(input));
    if (kind == Box)
        path.addRect(QRectF(corner, extent));
    else if (kind == Ellipse)
        path.addEllipse(QRectF(corner, extent));
    else if (kind == Lines)
        path.addPolygon(QPolygonF({corner, {0.0, 0.0}, {extent.width(), extent.height()}}));
    return path;
}

/// Has a dialog begin with the white card. Drawing the help over a full screen, which is what it
/// does else, would take longer than all of the input's steps.
class WithoutHelp : public QObject {
public:
    WithoutHelp() { QCoreApplication::instance()->installEventFilter(this); }

    bool eventFilter(QObject* receiver, QEvent* event) override {
        auto* const view = qobject_cast<StrokesView*>(receiver);
        if (view != nullptr && event->type() == QEvent::Resize)
            view->m_test_mode = WhiteCard;
        return false;
    }
};

std::unique_ptr<KestruneDialog> shown_dialog() {
    const WithoutHelp filter;
    return std::make_unique<KestruneDialog>(nullptr);
}

/// One dialog, on boards that send nothing by themselves, and what was put into it.
class Scene {
public:
    Scene();
    ~Scene();

    void step(Input& input);
    void check_all() const;

private:
    using Step = void (Scene::*)(Input&);

    void report_to_dialog(Input& input);
    void report_to_view(Input& input);
    void stroke(Input& input);
    void mouse(Input& input);
    void touch(Input& input);
    void key(Input& input);
    void resize(Input& input);
    void add_item(Input& input);
    void change_item(Input& input);
    void remove_item(Input& input);
    void raise_item(Input& input);
    void redraw(Input& input);
    void tick(Input& input);

    Item* any_item(Input& input) const;
    std::function<void()> reaction(Input& input, Item* item);
    void send_touches(QEvent::Type type, const QList<QTouchEvent::TouchPoint>& points);
    std::size_t segments(int id) const;

    std::unique_ptr<KestruneDialog> m_owned = shown_dialog();
    KestruneDialog& m_dialog = *m_owned;
    StrokesView& m_view;
    std::vector<std::weak_ptr<ProbeItem>> m_items; ///< each that there has been; the view owns them
    std::set<int> m_touch_points;
};

Scene::Scene() : m_view(*m_dialog.m_strokes_view) {
    m_dialog.m_timer->stop(); // frames are steps
    m_dialog.resize(480, 360);
    QApplication::setActiveWindow(&m_dialog);
    QCoreApplication::sendPostedEvents();
}

Scene::~Scene() {
    // The view's memory of touch points lasts as long as the process. Of one that is up, nothing is
    // left for the next input.
    QList<QTouchEvent::TouchPoint> lifted;
    for (const int id : m_touch_points) {
        lifted.append(QTouchEvent::TouchPoint(id));
        lifted.last().setState(Qt::TouchPointReleased);
    }
    for (auto const& entry : m_items) {
        if (const auto item = entry.lock())
            item->m_on_input = nullptr;
    }
    send_touches(QEvent::TouchEnd, lifted);
    // It would last as long as the process, too.
    delete std::exchange(m_dialog.m_osterly->config_timer, nullptr);
}

void Scene::step(Input& input) {
    static constexpr std::array<Step, 17> steps = {&Scene::report_to_dialog,
                                                   &Scene::report_to_dialog,
                                                   &Scene::report_to_view,
                                                   &Scene::report_to_view,
                                                   &Scene::stroke,
                                                   &Scene::mouse,
                                                   &Scene::touch,
                                                   &Scene::key,
                                                   &Scene::key,
                                                   &Scene::resize,
                                                   &Scene::add_item,
                                                   &Scene::add_item,
                                                   &Scene::change_item,
                                                   &Scene::remove_item,
                                                   &Scene::raise_item,
                                                   &Scene::redraw,
                                                   &Scene::tick};
    (this->*steps[static_cast<std::size_t>(input.byte()) % steps.size()])(input);
}

void Scene::report_to_dialog(Input& input) {
    const Kind k = kind(input);
    if (k == PenKind) {
        Controls c = normalised(record(input, k));
        m_dialog.in_osterly_pen(c);
        return;
    }
    Contacts contacts = records(input, k);
    std::transform(contacts.begin(), contacts.end(), contacts.begin(), normalised);
    if (k == TouchKind)
        m_dialog.in_osterly_touch(contacts);
    else
        m_dialog.in_osterly_erase(contacts);
}

void Scene::report_to_view(Input& input) {
    const Kind k = kind(input);
    if (k == PenKind)
        m_view.in_pen_event(record(input, k));
    else if (k == TouchKind)
        m_view.in_touch_event(records(input, k));
    else
        m_view.in_erase_event(records(input, k));
}

std::size_t Scene::segments(int id) const {
    const auto state = m_view.m_id_to_draw_state_map.find(id);
    return state == m_view.m_id_to_draw_state_map.end() ? 0 : state->second.segments.size();
}

void Scene::stroke(Input& input) {
    const QColor colors[] = {Qt::red, Qt::green, Qt::white, QColor(10, 20, 30, 100), QColor()};
    Controls c = record(input, kind(input));
    c.id = kStrokesOnly;
    const std::size_t before = segments(c.id);
    m_view.draw_stroke(c, colors[static_cast<std::size_t>(input.byte()) % std::size(colors)]);
    const QPoint place(integer_part(c.x), integer_part(c.y));
    if (segments(c.id) > before && m_view.rect().contains(place) && c.radius_x >= 0.0) {
        check((m_view.m_dirty_region & m_view.rect()).contains(place),
              "the place of a new segment is dirty");
    }
}

void Scene::mouse(Input& input) {
    constexpr QEvent::Type types[] = {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
                                      QEvent::MouseButtonDblClick, QEvent::MouseMove};
    const int byte = input.byte();
    const QPointF at(coordinate(input), coordinate(input));
    const auto source =
        (byte & 0x80) != 0 ? Qt::MouseEventSynthesizedByQt : Qt::MouseEventNotSynthesized;
    QMouseEvent event(types[byte & 3], at, at, at, Qt::LeftButton, Qt::MouseButtons(byte >> 2 & 7),
                      Qt::NoModifier, source);
    QCoreApplication::sendEvent(&m_view, &event);
}

void Scene::touch(Input& input) {
    constexpr QEvent::Type types[] = {QEvent::TouchBegin, QEvent::TouchUpdate, QEvent::TouchEnd,
                                      QEvent::TouchCancel};
    constexpr Qt::TouchPointState states[] = {Qt::TouchPointPressed, Qt::TouchPointMoved,
                                              Qt::TouchPointStationary, Qt::TouchPointReleased};
    const int byte = input.byte();
    QList<QTouchEvent::TouchPoint> points;
    for (int left = byte >> 2 & 3; left > 0; --left) {
        const int point = input.byte();
        QTouchEvent::TouchPoint touched(point >> 2 & 3);
        touched.setState(states[point & 3]);
        touched.setPos(QPointF(coordinate(input), coordinate(input)));
        m_touch_points.insert(touched.id());
        points.append(touched);
    }
    send_touches(types[byte & 3], points);
}

void Scene::send_touches(QEvent::Type type, const QList<QTouchEvent::TouchPoint>& points) {
    static QTouchDevice device;
    QTouchEvent event(type, &device, Qt::NoModifier, Qt::TouchPointMoved, points);
    QCoreApplication::sendEvent(&m_view, &event);
}

void Scene::key(Input& input) {
    constexpr int keys[] = {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Backspace, Qt::Key_Space,
                            Qt::Key_H,      Qt::Key_C,      Qt::Key_G,         Qt::Key_S,
                            Qt::Key_B,      Qt::Key_Left,   Qt::Key_Right,     Qt::Key_0,
                            Qt::Key_5,      Qt::Key_9,      Qt::Key_Enter};
    const auto byte = static_cast<std::size_t>(input.byte());
    const int key = byte < 0xF0 ? keys[byte % std::size(keys)] : input.number();
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(&m_dialog, &event);
}

void Scene::resize(Input& input) {
    enum { Dialog, View, Show, Ways };
    const int way = input.byte() % Ways;
    const QSize size(input.word() % 701, input.word() % 501);
    if (way == Dialog)
        m_dialog.resize(size);
    else if (way == View)
        m_view.resize(size);
    else
        m_dialog.show();
    QApplication::setActiveWindow(&m_dialog);
}

void Scene::add_item(Input& input) {
    if (m_view.items().size() >= kMostItems)
        return;
    if (input.flag() && !m_items.empty()) {
        m_view.add_item(m_items[static_cast<std::size_t>(input.byte()) % m_items.size()].lock());
        return;
    }
    const QPointF pos(coordinate(input), coordinate(input));
    const float angle = factor(input);
    const auto item =
        std::make_shared<ProbeItem>(shape(input), pos, angle, factor(input), input.byte() % 4);
    item->m_on_input = reaction(input, item.get());
    m_items.push_back(item);
    m_view.add_item(item);
}

/// What an item does when a contact comes to it.
std::function<void()> Scene::reaction(Input& input, Item* item) {
    enum { Leave, Rise, Sink, Move, Clear, Kinds };
    switch (input.byte() % (2 * Kinds)) {
    case Leave:
        return [this, item] { m_view.sub_item(item); };
    case Rise:
        return [item] { item->to_front(); };
    case Sink:
        return [item] { item->to_back(); };
    case Move:
        return [item] {
            item->m_pos += QPointF(3.25, -2.5);
            item->set_transforms();
            item->m_flags |= Item::Geometry;
        };
    case Clear:
        return [this] { m_view.sub_all(); };
    default:
        return nullptr;
    }
}

/// Null where there is none. The view alone owns it.
Item* Scene::any_item(Input& input) const {
    const auto& items = m_view.items();
    const auto byte = static_cast<std::size_t>(input.byte());
    return items.empty() ? nullptr : items[byte % items.size()].get();
}

void Scene::change_item(Input& input) {
    Item* const item = any_item(input);
    if (item == nullptr)
        return;
    const int byte = input.byte();
    item->m_pos = QPointF(coordinate(input), coordinate(input));
    if ((byte & 1) != 0) {
        item->m_angle = factor(input);
        item->m_scale = factor(input);
    }
    item->set_transforms();
    item->m_flags |= byte >> 1 & Item::Everything;
    if ((byte & 0x20) != 0)
        item->m_hittable = !item->m_hittable;
    if ((byte & 0x40) != 0)
        item->clear_image_cache();
    auto* const probe = dynamic_cast<ProbeItem*>(item);
    if (probe != nullptr && (byte & 0x80) != 0)
        probe->m_shape = shape(input);
}

void Scene::remove_item(Input& input) {
    Item* const item = any_item(input);
    if (input.byte() < 0xE0)
        m_view.sub_item(item);
    else
        m_view.sub_all();
}

void Scene::raise_item(Input& input) {
    Item* const item = any_item(input);
    const std::size_t count = m_view.items().size();
    if (input.flag()) {
        m_view.to_front(item);
        check(count == 0 || m_view.items().back().get() == item,
              "what is brought to the front is there");
    } else {
        m_view.to_back(item);
        check(count == 0 || m_view.items().front().get() == item,
              "what is sent to the back is there");
    }
    check(m_view.items().size() == count, "the order alone has changed");
}

void Scene::redraw(Input& input) {
    if (input.flag())
        m_view.redraw_strokes();
    else
        m_view.repaint();
}

/// One frame, and the painting that comes of it.
void Scene::tick(Input&) {
    m_dialog.in_timer_update();
    check(m_dialog.m_timer->isActive(), "a frame is followed by another");
    m_dialog.m_timer->stop();
    check(m_view.m_dirty_region.isEmpty(), "a frame repaints what is dirty");
    for (auto const& item : m_view.items()) {
        // An item that was in the view twice, and was removed once, stays as it is.
        check(item->m_flags == 0 || item->m_view == nullptr, "a frame does all that is asked for");
        check(!item->m_image || is_possible_image(item->m_image->size(), Item::kMostImagePixels),
              "an item's image can be afforded");
    }
    QCoreApplication::sendPostedEvents();
}

void Scene::check_all() const {
    check_dialog(m_dialog);
    for (auto const& entry : m_items) {
        const auto item = entry.lock();
        check(!item || item->m_view == nullptr || m_view.find_item(item.get()) == item,
              "an item that knows the view is in it");
    }
}

void stop_at_warnings(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type == QtDebugMsg || type == QtInfoMsg || are_dialog_warnings({text}))
        return;
    std::fprintf(stderr, "%s\n", qUtf8Printable(text));
    check(false, "the toolkit has nothing to warn of");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    new QApplication(*argc, *argv);
    QApplication::setQuitOnLastWindowClosed(false);
    qInstallMessageHandler(stop_at_warnings);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FakeDriver::instance().reset();
    Input input(data, size);
    Scene scene;
    scene.check_all();
    for (int steps = 0; steps < kMostSteps && !input.isEmpty(); ++steps) {
        scene.step(input);
        scene.check_all();
    }
    return 0;
}
