#pragma once

#include "input/osterly.h"
#include "scene/geometry.h"

#include <QColor>
#include <QFont>
#include <QImage>
#include <QObject>
#include <QPainterPath>
#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QString>
#include <QTransform>
#include <future>
#include <memory>
#include <vector>

class ItemView;
class QPainter;

/// What an ItemView shows above its background: a shape with a position, a rotation and a scale,
/// and a cached image of it. The GUI thread owns an item, except from update_begin() to
/// update_end(): then the item's update thread renders the image and nobody else may touch the
/// item.
class Item : public QObject {
    Q_OBJECT

public:
    /// What the next update has to do, the bits of m_flags. An update serves them from the highest
    /// to the lowest and reads them anew at each step, so a step may ask for a lower one.
    enum Request {
        Geometry = 1, ///< move the painted rectangle, old and new become dirty
        Redraw = 2,   ///< paint the image
        Rebuffer = 4, ///< compute the bounds, make the image large enough
        Rebuild = 8,  ///< let the subclass build its shapes and outline
        Everything = Geometry | Redraw | Rebuffer | Rebuild,
    };

    /// No item's image has more pixels than this (256 MiB), which is a contact as wide as a screen
    /// of 3840x2160 pixels, twice over. A larger item shows nothing.
    static constexpr std::int64_t kMostImagePixels = std::int64_t{1} << 26;

    /// `pos` in pixels of the view, `angle` in degrees (clockwise on the screen).
    Item(QPointF pos, float angle, float scale, int id);
    /// Waits for the update. Each subclass does so too, in a destructor of its own: by now, the
    /// update would meet only what is left of it.
    ~Item() override;

    /// Contacts of the item, x and y in its local coordinates, the other fields as the view got
    /// them.
    virtual void pen_event(Osterly::Controls const& c) = 0;
    virtual void touch_event(std::vector<Osterly::Controls> const& v) = 0;
    virtual void erase_event(std::vector<Osterly::Controls> const& v) = 0;

    /// Builds the shapes and sets the outline. On the update thread: own data only.
    virtual void rebuild() = 0;
    /// Paints the item in local coordinates, antialiased. On the update thread: own data only.
    virtual void redraw(QPainter& painter) = 0;
    /// Computes the bounds from the outline and makes sure that the image holds them.
    virtual void rebuffer();

    /// To be called after a change of m_pos, m_angle or m_scale, together with the requests it
    /// needs.
    void set_transforms();
    void set_outline(QPainterPath path);
    bool hit(QPointF p) const;         ///< p in local coordinates
    QPointF map_to(QPointF p) const;   ///< from the view to the item
    QPointF map_from(QPointF p) const; ///< from the item to the view

    /// Starts the update on a thread of its own; a pure move is done at once instead. Waits for an
    /// update that is still running.
    /// \throws std::system_error where no thread can be started
    void update_begin();
    void update_end();  ///< waits for the update
    void update_impl(); ///< the update; leaves everything pending while the item is in no view

    void redraw();                 ///< paints the image
    void paint(QPainter& painter); ///< draws the image into the view
    void clear_image_cache();

    void to_front() const;
    void to_back() const;

    void lock(int); ///< counts; nothing reads the count yet
    void unlock(int);

    std::future<void> m_update;
    QPointF m_pos;
    float m_angle;
    float m_scale;
    float m_factor = 1.0F;
    int m_id;
    std::unique_ptr<QImage> m_image; ///< may be larger than m_bounds
    QPointF m_image_origin;          ///< of the image, relative to the item's; whole pixels
    QRectF m_bounds;                 ///< of the rotated and scaled outline, with margins
    QPointF m_shown_pos;             ///< what the image was made for
    float m_shown_angle = 0.0F;
    float m_shown_scale = 0.0F;
    QPainterPath m_outline; ///< local
    QRectF m_outline_bounds;
    QTransform m_transform;     ///< local to view
    QTransform m_inverse;       ///< view to local
    QRect m_painted_rect;       ///< in the view; last added to its dirty region
    ItemView* m_view = nullptr; ///< set and cleared by the view
    int m_flags = Everything;
    bool m_hittable = true;
    int m_lock_count = 0;

private:
    void update_geometry();
};

/// The marker of one contact: an ellipse of the contact's size with a cross through its centre, and
/// a tag above and to the left of it that tells what the contact last reported. Its owner gives it
/// each report; all input that is routed to it is ignored, and contacts pass through it.
class EventItem : public Item {
    Q_OBJECT

public:
    EventItem(QPointF pos, QColor color);
    ~EventItem() override;

    /// Takes over one report of the contact, which the next frame shows. `c` in pixels of the view.
    void refresh(Osterly::Controls const& c);

    void touch_event(std::vector<Osterly::Controls> const&) override {}
    void erase_event(std::vector<Osterly::Controls> const&) override {}
    void rebuild() override;
    using Item::redraw;
    void redraw(QPainter& painter) override;

    QPainterPath m_shape; ///< the ellipse and the tag's box; the item's outline too
    QPainterPath m_cross;
    QPainterPath m_text; ///< the glyphs of the tag's six lines
    int m_contact_id = 0;
    int m_buttons = 0;
    double m_radius_x = 0.0;
    double m_radius_y = 0.0;
    QColor m_color;
    QFont m_font;

private:
    struct TagLine {
        QPointF baseline;
        QString text;
    };

    void add_tag(QPointF corner);
    void draw_tag(QPainter& painter) const;

    std::vector<TagLine> m_lines; ///< of m_text
};

class Pen : public EventItem {
    Q_OBJECT

public:
    using EventItem::EventItem;
    ~Pen() override { update_end(); }
    void pen_event(Osterly::Controls const&) override {}
};

class Touch : public EventItem {
    Q_OBJECT

public:
    using EventItem::EventItem;
    ~Touch() override { update_end(); }
    void pen_event(Osterly::Controls const&) override {}
};

class Erase : public EventItem {
    Q_OBJECT

public:
    using EventItem::EventItem;
    ~Erase() override { update_end(); }
    void pen_event(Osterly::Controls const&) override {}
};
