#pragma once

#include "scene/item.h"
#include "scene/itemview.h"

#include <QByteArray>
#include <QPainter>
#include <QString>
#include <QStringList>
#include <functional>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

using Controls = Osterly::Controls;
using Contacts = std::vector<Controls>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

inline QPainterPath box(double x, double y, double width, double height) {
    QPainterPath path;
    path.addRect(x, y, width, height);
    return path;
}

/// All nine fields, so that a comparison of texts misses none and tells what differs.
inline QString text(Controls const& c) {
    const auto number = [](double value) { return QString::number(value, 'g', 17); };
    return QStringLiteral("id %1 accepted %2 buttons %3 radius %4 %5 at %6 %7 hoop %8 %9")
        .arg(c.id)
        .arg(c.accepted)
        .arg(c.buttons)
        .arg(number(c.radius_x), number(c.radius_y), number(c.x), number(c.y), number(c.hoop_x),
             number(c.hoop_y));
}

inline QStringList text(Contacts const& contacts) {
    QStringList texts;
    for (Controls const& c : contacts)
        texts << text(c);
    return texts;
}

/// A report of a contact, its hoop and radii told apart from its position.
inline Controls contact(int id, double x, double y, int buttons = 1) {
    return {id, 0, buttons, 3.0, 4.0, x, y, x + 0.25, y + 0.25};
}

inline Controls at(Controls c, double x, double y) {
    c.x = x;
    c.y = y;
    return c;
}

/// What was delivered to whom.
struct Delivery {
    QByteArray receiver; ///< "a.pen", "out.touch"
    Contacts contacts;
};

/// An item whose shape, picture and reactions the test gives, and whose calls it reads.
class ProbeItem : public Item {
public:
    explicit ProbeItem(QPainterPath shape = box(0, 0, 10, 10), QPointF pos = {0, 0},
                       float angle = 0.0F, float scale = 1.0F, int id = 0)
        : Item(pos, angle, scale, id), m_shape(std::move(shape)) {}
    ~ProbeItem() override {
        update_end();
        if (m_on_death)
            m_on_death();
    }

    void pen_event(Controls const& c) override { deliver("pen", {c}); }
    void touch_event(Contacts const& v) override { deliver("touch", v); }
    void erase_event(Contacts const& v) override { deliver("erase", v); }

    void rebuild() override {
        step("rebuild");
        set_outline(m_shape);
        if (m_on_rebuild)
            m_on_rebuild();
    }
    void rebuffer() override {
        step("rebuffer");
        Item::rebuffer();
        if (m_on_rebuffer)
            m_on_rebuffer();
    }
    using Item::redraw;
    void redraw(QPainter& painter) override {
        step("redraw");
        if (m_on_redraw)
            m_on_redraw(painter);
        else
            painter.fillPath(m_shape, m_color);
    }

    QPainterPath m_shape;
    QColor m_color = Qt::red;
    std::function<void()> m_on_rebuild;
    std::function<void()> m_on_rebuffer;
    std::function<void(QPainter&)> m_on_redraw;
    std::function<void()> m_on_input;
    std::function<void()> m_on_death;
    QByteArray m_steps;            ///< "rebuild rebuffer redraw"
    std::thread::id m_step_thread; ///< of the last step
    QByteArray m_name;
    std::vector<Delivery>* m_deliveries = nullptr;

private:
    void step(const char* name) {
        if (!m_steps.isEmpty())
            m_steps += ' ';
        m_steps += name;
        m_step_thread = std::this_thread::get_id();
    }
    void deliver(const char* kind, Contacts const& contacts) {
        if (m_deliveries != nullptr)
            m_deliveries->push_back({m_name + '.' + kind, contacts});
        if (m_on_input)
            m_on_input();
    }
};

inline void update(Item& item) {
    item.update_begin();
    item.update_end();
}
