#include "scene/item.h"

#include "scene/itemview.h"
#include "scene/pixels.h"

#include <QPainter>
#include <chrono>
#include <utility>

Item::Item(QPointF pos, float angle, float scale, int id)
    : m_pos(pos), m_angle(angle), m_scale(scale), m_id(id) {
    set_transforms();
}

Item::~Item() {
    update_end();
}

void Item::set_transforms() {
    m_transform = QTransform::fromTranslate(m_pos.x(), m_pos.y());
    m_transform.rotate(m_angle);
    m_transform.scale(m_scale, m_scale);
    m_inverse = m_transform.inverted();
}

void Item::set_outline(QPainterPath path) {
    m_outline = std::move(path);
    m_outline_bounds = m_outline.boundingRect();
}

bool Item::hit(QPointF p) const {
    return m_outline_bounds.contains(p) && m_outline.contains(p);
}

QPointF Item::map_to(QPointF p) const {
    return m_inverse.map(p);
}

QPointF Item::map_from(QPointF p) const {
    return m_transform.map(p);
}

void Item::update_begin() {
    // std::async() would start the new update before the assignment lets go of the last one, which
    // may still be running.
    if (m_update.valid() &&
        m_update.wait_for(std::chrono::seconds(0)) == std::future_status::timeout)
        m_update.wait();
    if (m_flags == Geometry)
        update_impl();
    else
        m_update = std::async(std::launch::async, &Item::update_impl, this);
}

void Item::update_end() {
    if (m_update.valid())
        m_update.wait();
}

void Item::update_impl() {
    if (m_view == nullptr)
        return;
    m_shown_pos = m_pos;
    m_shown_angle = m_angle;
    m_shown_scale = m_scale;
    if (m_flags & Rebuild)
        rebuild();
    if (m_flags & Rebuffer)
        rebuffer();
    if (m_flags & Redraw)
        redraw();
    if (m_flags & Geometry)
        update_geometry();
    m_flags = 0;
}

void Item::update_geometry() {
    const double x = m_pos.x();
    const double y = m_pos.y();
    const QRect rect =
        pixel_rect(integer_part(x + m_bounds.left() - 1.0), integer_part(y + m_bounds.top() - 1.0),
                   integer_part(((m_bounds.width() + x) - x) + 1.0),
                   integer_part(((m_bounds.height() + y) - y) + 1.0));
    m_view->add_dirty_region(m_painted_rect);
    m_view->add_dirty_region(rect);
    m_painted_rect = rect;
}

void Item::rebuffer() {
    QTransform shape;
    shape.rotate(m_shown_angle);
    shape.scale(m_shown_scale, m_shown_scale);
    const QRectF r = shape.map(m_outline).boundingRect();

    // One pixel of margin to the left and above; to the right and below that one and three more,
    // for the fraction of a pixel by which the item is shifted in its image and for antialiasing.
    constexpr long double before = 1.0L;
    constexpr long double around = 3.0L + before;
    m_bounds =
        QRectF(static_cast<double>(r.left() - before), static_cast<double>(r.top() - before),
               static_cast<double>(r.width() + around), static_cast<double>(r.height() + around));
    m_image_origin = QPointF(std::floor(m_bounds.left()), std::floor(m_bounds.top()));

    // The image has whole pixels and is compared with the unrounded bounds: where these have a
    // fraction, every rebuffer makes a new image. That is kept on purpose.
    if (m_image && m_bounds.width() <= m_image->width() && m_bounds.height() <= m_image->height())
        return;
    m_image.reset();
    const QSize size(integer_part(m_bounds.width()), integer_part(m_bounds.height()));
    if (!is_possible_image(size, kMostImagePixels))
        return;
    auto image = std::make_unique<QImage>(size, QImage::Format_ARGB32_Premultiplied);
    if (!image->isNull())
        m_image = std::move(image);
}

void Item::redraw() {
    if (!m_image)
        return;
    m_image->fill(0U);
    QPainter painter(m_image.get());
    painter.translate((m_shown_pos.x() - std::floor(m_shown_pos.x())) - m_image_origin.x(),
                      (m_shown_pos.y() - std::floor(m_shown_pos.y())) - m_image_origin.y());
    painter.rotate(m_shown_angle);
    painter.scale(m_shown_scale, m_shown_scale);
    painter.setRenderHint(QPainter::Antialiasing);
    redraw(painter);
}

void Item::paint(QPainter& painter) {
    if (!m_image)
        return;
    const QPointF target(integer_part(std::floor(m_shown_pos.x()) + m_image_origin.x()),
                         integer_part(std::floor(m_shown_pos.y()) + m_image_origin.y()));
    const QSize size(integer_part(m_bounds.width()), integer_part(m_bounds.height()));
    if (size == QSize(-1, -1))
        painter.drawImage(target, *m_image);
    else if (!size.isEmpty())
        painter.drawImage(target, *m_image, QRectF(QPointF(0.0, 0.0), size));
}

void Item::clear_image_cache() {
    m_image.reset();
}

void Item::to_front() const {
    if (m_view != nullptr)
        m_view->to_front(this);
}

void Item::to_back() const {
    if (m_view != nullptr)
        m_view->to_back(this);
}

void Item::lock(int) {
    ++m_lock_count;
}

void Item::unlock(int) {
    --m_lock_count;
}
