#pragma once

#include "input/osterly.h"

#include <QRegion>
#include <QWidget>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

class Item;
class QMouseEvent;
class QTouchEvent;

/// A widget that shows a stack of items and routes input to them: a contact goes to the topmost
/// item under its first point and stays with it until it lifts; a contact on no item leaves through
/// the `out_` signals. Qt's own mouse and touch events enter as the same records.
///
/// GUI thread only, but for add_dirty_region(). Items and region must not be changed between the
/// items' update_begin() and update_end(). Items that outlive the view need sub_all() first.
class ItemView : public QWidget {
    Q_OBJECT

public:
    /// Transparent where `transparent` is not 0, else on white. No parent.
    explicit ItemView(int transparent);
    ~ItemView() override;

    void add_item(std::shared_ptr<Item> item); ///< on top; an empty pointer is ignored
    /// Removes the lowest entry of the item; what it last painted becomes dirty.
    void sub_item(Item* item);
    void sub_all();

    /// The topmost match, or an empty pointer.
    std::shared_ptr<Item> find_item(int id) const;
    std::shared_ptr<Item> find_item(Item const* item) const;

    /// Neither makes anything dirty: the item's next move or redraw shows the new order.
    void to_front(Item const* item);
    void to_back(Item const* item);

    /// From the bottom to the top.
    std::vector<std::shared_ptr<Item>> const& items() const { return m_items; }

    void add_dirty_region(QRect const& rect); ///< on any thread
    /// Takes what has become dirty. Takes no lock: only while no item is being updated.
    QRegion get_dirty_region();

    /// The topmost hittable item under the contact, or an empty pointer.
    virtual std::shared_ptr<Item> hit_item(Osterly::Controls const& c);

public slots:
    virtual void in_pen_event(Osterly::Controls const& c);
    virtual void in_touch_event(std::vector<Osterly::Controls> const& v);
    virtual void in_erase_event(std::vector<Osterly::Controls> const& v);

signals:
    void out_pen_event(Osterly::Controls const& c);
    void out_touch_event(std::vector<Osterly::Controls> const& v);
    void out_erase_event(std::vector<Osterly::Controls> const& v);

protected:
    bool event(QEvent* e) override;
    void paintEvent(QPaintEvent* e) override;

public:
    static constexpr std::int32_t kPenLeft = 2; ///< bit 1 of accepted: the pen has left the item

    using Contacts = std::vector<Osterly::Controls>;
    /// From contact id to the item that has the contact; an empty pointer is "no item".
    using GrabMap = std::map<int, std::shared_ptr<Item>>;
    /// The contacts of one report by item, null for those on no item. Entries stay, emptied.
    using BatchMap = std::map<Item*, Contacts>;

    bool m_transparent;
    QRegion m_dirty_region;
    std::mutex m_dirty_mutex; ///< guards m_dirty_region against the update threads
    GrabMap m_pen_grab_map;
    GrabMap m_pen_hover_map; ///< the item under the lifted pen at its last report
    GrabMap m_touch_grab_map;
    GrabMap m_erase_grab_map;
    BatchMap m_touch_batch_map;
    BatchMap m_erase_batch_map;
    std::vector<std::shared_ptr<Item>> m_items; ///< from the bottom to the top

private:
    std::shared_ptr<Item> captured_by(GrabMap& grabs, Osterly::Controls const& c);
    void route(Contacts const& contacts, GrabMap& grabs, BatchMap& batches,
               void (Item::*deliver)(Contacts const&), void (ItemView::*leave)(Contacts const&));
    bool mouse_event(QMouseEvent* e);
    bool touch_event(QTouchEvent* e);
};
