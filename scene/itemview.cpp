#include "scene/itemview.h"

#include "scene/item.h"
#include "scene/pixels.h"

#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QTouchEvent>
#include <algorithm>
#include <utility>

namespace {

/// The radius of a Qt touch point's hoop, in pixels: what a resting finger jitters.
constexpr double kTouchHoopRadius_px = 3.0;

/// Matches the entry of an item.
auto holds(Item const* item) {
    return [item](std::shared_ptr<Item> const& entry) { return entry.get() == item; };
}

Osterly::Controls mapped(Osterly::Controls c, Item const& item) {
    const QPointF p = item.map_to(QPointF(c.x, c.y));
    c.x = p.x();
    c.y = p.y();
    return c;
}

} // namespace

ItemView::ItemView(int transparent) : m_transparent(transparent != 0) {
    setAttribute(Qt::WA_MouseTracking);
    setAttribute(Qt::WA_AcceptTouchEvents);
    setAutoFillBackground(!m_transparent);
    setStyleSheet(m_transparent ? QStringLiteral("background-color: transparent;")
                                : QStringLiteral("background-color: white;"));
    setAttribute(Qt::WA_TranslucentBackground, m_transparent);
    // A style sheet with a background ends the filling as soon as the view is polished; of a class
    // of one's own, the toolkit then draws it only with this attribute.
    setAttribute(Qt::WA_StyledBackground, !m_transparent);
}

ItemView::~ItemView() = default;

void ItemView::add_item(std::shared_ptr<Item> item) {
    if (!item)
        return;
    item->m_view = this;
    m_items.push_back(std::move(item));
}

void ItemView::sub_item(Item* item) {
    const auto entry = std::find_if(m_items.begin(), m_items.end(), holds(item));
    if (entry == m_items.end())
        return;
    item->m_flags |= Item::Geometry;
    item->update_begin();
    item->update_end();
    item->m_view = nullptr;
    m_items.erase(entry);
}

void ItemView::sub_all() {
    for (auto const& item : m_items)
        item->m_view = nullptr;
    add_dirty_region(QRect(0, 0, width(), height()));
    m_items.clear();
}

std::shared_ptr<Item> ItemView::find_item(int id) const {
    const auto entry = std::find_if(m_items.rbegin(), m_items.rend(),
                                    [id](auto const& e) { return e->m_id == id; });
    return entry == m_items.rend() ? nullptr : *entry;
}

std::shared_ptr<Item> ItemView::find_item(Item const* item) const {
    const auto entry = std::find_if(m_items.rbegin(), m_items.rend(), holds(item));
    return entry == m_items.rend() ? nullptr : *entry;
}

void ItemView::to_front(Item const* item) {
    const auto entry = std::find_if(m_items.begin(), m_items.end(), holds(item));
    if (entry != m_items.end())
        std::rotate(entry, entry + 1, m_items.end());
}

void ItemView::to_back(Item const* item) {
    const auto entry = std::find_if(m_items.rbegin(), m_items.rend(), holds(item));
    if (entry != m_items.rend())
        std::rotate(entry, entry + 1, m_items.rend());
}

void ItemView::add_dirty_region(QRect const& rect) {
    const std::lock_guard<std::mutex> lock(m_dirty_mutex);
    m_dirty_region += rect;
}

QRegion ItemView::get_dirty_region() {
    return std::exchange(m_dirty_region, QRegion());
}

void ItemView::paintEvent(QPaintEvent* e) {
    QWidget::paintEvent(e);
    if (m_items.empty())
        return;
    QPainter painter(this);
    for (auto const& item : m_items)
        item->paint(painter);
}

std::shared_ptr<Item> ItemView::hit_item(Osterly::Controls const& c) {
    const auto entry = std::find_if(m_items.rbegin(), m_items.rend(), [&c](auto const& item) {
        return item->m_hittable && item->hit(item->map_to(QPointF(c.x, c.y)));
    });
    return entry == m_items.rend() ? nullptr : *entry;
}

/// The item that has the contact. A contact that nobody has starts here, on the item under it or on
/// none.
std::shared_ptr<Item> ItemView::captured_by(GrabMap& grabs, Osterly::Controls const& c) {
    const auto entry = grabs.find(c.id);
    if (entry != grabs.end())
        return entry->second;
    return grabs[c.id] = hit_item(c);
}

void ItemView::in_pen_event(Osterly::Controls const& c) {
    Osterly::Controls w = c;
    if (const auto item = captured_by(m_pen_grab_map, c)) {
        w = mapped(c, *item);
        item->pen_event(w);
    } else {
        emit out_pen_event(c);
    }
    if (c.buttons != 0)
        return;

    m_pen_grab_map.erase(c.id);
    const auto hovered = hit_item(c);
    const auto left = std::exchange(m_pen_hover_map[c.id], hovered);
    if (left == hovered)
        return;
    if (hovered) {
        w = mapped(c, *hovered);
        hovered->pen_event(w);
    }
    if (left) {
        // On purpose in the coordinates of the last mapping above, not in those of the item left.
        w.accepted |= kPenLeft;
        left->pen_event(w);
    }
}

void ItemView::in_touch_event(std::vector<Osterly::Controls> const& v) {
    route(v, m_touch_grab_map, m_touch_batch_map, &Item::touch_event, &ItemView::out_touch_event);
}

void ItemView::in_erase_event(std::vector<Osterly::Controls> const& v) {
    route(v, m_erase_grab_map, m_erase_batch_map, &Item::erase_event, &ItemView::out_erase_event);
}

/// Gives each item all of its contacts of one report in one call, after those on no item have left.
void ItemView::route(Contacts const& contacts, GrabMap& grabs, BatchMap& batches,
                     void (Item::*deliver)(Contacts const&),
                     void (ItemView::*leave)(Contacts const&)) {
    for (Osterly::Controls const& c : contacts) {
        const auto item = captured_by(grabs, c);
        batches[item.get()].push_back(item ? mapped(c, *item) : c);
    }
    // The null key comes first, then the items by address: not in z-order, on purpose.
    for (auto& [item, batch] : batches) {
        if (batch.empty())
            continue;
        if (item == nullptr)
            emit(this->*leave)(batch);
        else
            (item->*deliver)(batch);
        batch.clear();
    }
    for (Osterly::Controls const& c : contacts) {
        if (c.buttons == 0)
            grabs.erase(c.id);
    }
}

bool ItemView::event(QEvent* e) {
    switch (e->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
        return mouse_event(static_cast<QMouseEvent*>(e));
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
        return touch_event(static_cast<QTouchEvent*>(e));
    default:
        return QWidget::event(e);
    }
}

bool ItemView::mouse_event(QMouseEvent* e) {
    if (e->source() != Qt::MouseEventNotSynthesized) {
        e->ignore();
        return false;
    }
    Osterly::Controls record;
    record.id = Osterly::kMouseId;
    record.buttons = static_cast<int>(e->buttons() & (Qt::LeftButton | Qt::RightButton));
    record.x = record.hoop_x = rounded(e->localPos().x());
    record.y = record.hoop_y = rounded(e->localPos().y());
    in_pen_event(record);
    return true;
}

bool ItemView::touch_event(QTouchEvent* e) {
    static std::map<int, Osterly::Hoop> m_id_to_hoop_map;
    Contacts contacts;
    for (QTouchEvent::TouchPoint const& tp : e->touchPoints()) {
        Osterly::Controls record;
        record.id = tp.id();
        record.buttons = (tp.state() & Qt::TouchPointReleased) ? 0 : 1;
        const QPointF centre =
            m_id_to_hoop_map[record.id].track(tp.pos(), record.buttons, kTouchHoopRadius_px);
        record.x = record.hoop_x = centre.x();
        record.y = record.hoop_y = centre.y();
        contacts.push_back(record);
    }
    in_touch_event(contacts);
    return true;
}
