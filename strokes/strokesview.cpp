#include "strokes/strokesview.h"

#include "input/tolerance.h"
#include "scene/pixels.h"
#include "strokes/layer.h"
#include "strokes/segmentpainter.h"

#include <QImage>
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

enum State { Idle = 0, Drawing = 1 };

/// Whether the record's position and size are numbers that a pixel can have.
bool is_drawable(Osterly::Controls const& record) {
    const double values[] = {record.x, record.y, record.radius_x, record.radius_y};
    return std::all_of(std::begin(values), std::end(values), [](double value) {
        return std::abs(value) <= std::numeric_limits<int>::max(); // false for not a number
    });
}

bool same_segment(StrokesView::segment const& a, StrokesView::segment const& b) {
    return same_point(a.line.x1(), a.line.y1(), b.line.x1(), b.line.y1()) &&
           same_point(a.line.x2(), a.line.y2(), b.line.x2(), b.line.y2()) && a.width == b.width;
}

/// What a segment covers, with some margin.
QRect dirty_rect(StrokesView::segment const& piece) {
    const QPoint a(integer_part(piece.line.x1()), integer_part(piece.line.y1()));
    const QPoint b(integer_part(piece.line.x2()), integer_part(piece.line.y2()));
    // Not QRect::normalized(): that leaves a rectangle whose corners are swapped by one pixel as it
    // is.
    const QRect spanned(QPoint(std::min(a.x(), b.x()), std::min(a.y(), b.y())),
                        QPoint(std::max(a.x(), b.x()), std::max(a.y(), b.y())));
    return widened(spanned, integer_part(piece.width + 1.0F));
}

/// Null before the first resize, without pixels where the view has none.
bool is_there(std::unique_ptr<QImage> const& layer) {
    return layer && !layer->isNull();
}

bool is_smaller(std::unique_ptr<QImage> const& layer, QSize size) {
    return !layer || layer->width() < size.width() || layer->height() < size.height();
}

void draw_part(QPainter& painter, QImage const& layer, QRect const& rect) {
    const QRect part = rect & layer.rect();
    if (!part.isEmpty())
        painter.drawImage(part.topLeft(), layer, part);
}

} // namespace

StrokesView::StrokesView() : ItemView(0) {
    setAttribute(Qt::WA_OpaquePaintEvent); // the layers cover it, so its background is not painted
    connect(this, &ItemView::out_pen_event, this, &StrokesView::my_pen_event);
    connect(this, &ItemView::out_touch_event, this, &StrokesView::my_touch_event);
    connect(this, &ItemView::out_erase_event, this, &StrokesView::my_erase_event);
}

StrokesView::~StrokesView() = default;

void StrokesView::my_pen_event(Osterly::Controls const& record) {
    take<Pen>(record, Qt::red, QColor(255, 0, 0, 32));
}

void StrokesView::my_touch_event(std::vector<Osterly::Controls> const& records) {
    take_all<Touch>(records, Qt::green, QColor(0, 255, 0, 32));
}

void StrokesView::my_erase_event(std::vector<Osterly::Controls> const& records) {
    take_all<Erase>(records, Qt::white, QColor(0, 0, 255, 32));
}

/// One report of contacts of a kind, whose segments share a painter.
template <typename Marker>
void StrokesView::take_all(std::vector<Osterly::Controls> const& records, QColor stroke_color,
                           QColor marker_color) {
    m_keeps_live_painter = true;
    for (Osterly::Controls const& record : records)
        take<Marker>(record, stroke_color, marker_color);
    m_keeps_live_painter = false;
    m_live_painter.reset();
}

/// One report of a contact: its marker follows it, and its stroke goes on.
template <typename Marker>
void StrokesView::take(Osterly::Controls const& record, QColor stroke_color, QColor marker_color) {
    const auto entry = m_id_to_item_map.find(record.id);
    if (entry != m_id_to_item_map.end()) {
        const std::shared_ptr<EventItem> marker = entry->second;
        if (record.buttons != 0) {
            if (is_drawable(record))
                marker->refresh(record);
        } else {
            m_id_to_item_map.erase(entry);
            if (marker->m_view != nullptr)
                marker->m_view->sub_item(marker.get());
        }
    } else if (m_info_tags && record.buttons != 0 && is_drawable(record)) {
        const auto marker = std::make_shared<Marker>(QPointF(record.x, record.y), marker_color);
        marker->refresh(record);
        add_item(marker);
        m_id_to_item_map[record.id] = marker;
    }
    draw_stroke(record, stroke_color);
}

// A contact's stroke:
//
//   state    | up (buttons 0)                       | down
//   idle     | nothing                              | drawing, with a dot
//   drawing  | idle, with a last segment; kept      | drawing, with a segment
//
// A record that cannot be drawn changes the state as any other, but starts no stroke and adds no
// segment.
void StrokesView::draw_stroke(Osterly::Controls const& record, QColor color) {
    draw_state& state = m_id_to_draw_state_map[record.id];
    const bool drawable = is_drawable(record);
    if (state.state == Idle) {
        if (record.buttons == 0 || !drawable)
            return;
        state.state = Drawing;
        state.last = QPointF(record.x, record.y);
        state.segments.clear();
        state.color = color;
    } else if (state.state != Drawing) {
        return;
    }

    if (drawable)
        add_segment(state, record, color);
    if (record.buttons == 0) {
        state.state = Idle;
        state.segments.shrink_to_fit(); // strokes are kept for long
        m_strokes.push_back({std::exchange(state.segments, {}), state.color});
    }
}

void StrokesView::add_segment(draw_state& state, Osterly::Controls const& record, QColor color) {
    const double size = std::max(record.radius_x, record.radius_y);
    const QPointF point(record.x, record.y);
    const segment piece{QLineF(state.last, point),
                        size == 0.0 ? m_stroke_width : static_cast<float>(size)};
    if (!state.segments.empty() && same_segment(state.segments.back(), piece))
        return;
    state.segments.push_back(piece);
    state.last = point;
    paint_live(piece, color);
    add_dirty_region(dirty_rect(piece));
}

/// Before the first resize there is no layer yet to paint on; it will be painted when there is.
void StrokesView::paint_live(segment const& piece, QColor color) {
    if (!is_there(m_strokes_image))
        return;
    if (!m_live_painter)
        m_live_painter = std::make_unique<SegmentPainter>(*m_strokes_image);
    m_live_painter->paint(piece, color, QPainter::CompositionMode_SourceOver);
    if (!m_keeps_live_painter)
        m_live_painter.reset();
}

void StrokesView::clear_strokes() {
    m_strokes.clear();
    redraw_strokes();
    add_dirty_region(QRect(0, 0, width(), height()));
}

void StrokesView::redraw_strokes() {
    if (!is_there(m_strokes_image))
        return;
    m_strokes_image->fill(0U);
    SegmentPainter painter(*m_strokes_image);
    QPainter::CompositionMode mode = QPainter::CompositionMode_SourceOver;
    for (stroke const& finished : m_strokes) {
        for (segment const& piece : finished.segments) {
            painter.paint(piece, finished.color, mode);
            // Unlike the live painting, on purpose: from the second segment on, a segment replaces
            // what lies under it, with its alpha, and does not blend with it.
            mode = QPainter::CompositionMode_Source;
        }
    }
}

void StrokesView::paint_strokes_in_progress() {
    for (auto const& [id, state] : m_id_to_draw_state_map) {
        for (segment const& piece : state.segments)
            paint_live(piece, state.color);
    }
}

void StrokesView::statistics(int& strokes, int& segments, int& minimum, int& maximum,
                             int& mean) const {
    strokes = static_cast<int>(m_strokes.size());
    segments = 0;
    minimum = 1000000;
    maximum = -1;
    for (stroke const& finished : m_strokes) {
        const int count = static_cast<int>(finished.segments.size());
        segments += count;
        minimum = std::min(minimum, count);
        maximum = std::max(maximum, count);
    }
    mean = strokes == 0 ? 0 : segments / strokes;
}

void StrokesView::toggle_grid() {
    toggle_card(GridCard);
}

void StrokesView::toggle_colors() {
    toggle_card(ColorsCard);
}

void StrokesView::toggle_shapes() {
    toggle_card(ShapesCard);
}

void StrokesView::toggle_black() {
    toggle_card(BlackCard);
}

void StrokesView::toggle_vcalib() {
    toggle_card(VerticalBarsCard);
}

void StrokesView::toggle_hcalib() {
    toggle_card(HorizontalBarsCard);
}

void StrokesView::toggle_help() {
    toggle_card(HelpCard);
}

void StrokesView::toggle_card(TestCard card) {
    m_test_mode = m_test_mode == card ? WhiteCard : card;
    redraw_test();
    update();
}

void StrokesView::redraw_test() {
    if (m_test_image)
        draw_test_card(*m_test_image, size(), m_test_mode);
}

QSize StrokesView::sizeHint() const {
    return help_card_size();
}

void StrokesView::resizeEvent(QResizeEvent*) {
    // Of all views there have ever been, so that the layers grow only and a view that comes back to
    // a size finds its layers as they were.
    static int max_width = 0;
    static int max_height = 0;
    const QSize grown = size().expandedTo(QSize(max_width, max_height));
    if (is_possible_image(grown, kMostLayerPixels)) {
        max_width = grown.width();
        max_height = grown.height();
    }
    const QSize layer(max_width, max_height);

    if (is_smaller(m_strokes_image, layer)) {
        const bool is_first = !is_there(m_strokes_image);
        m_strokes_image = new_layer(layer, QImage::Format_ARGB32_Premultiplied);
        redraw_strokes();
        if (is_first)
            paint_strokes_in_progress();
    }
    if (is_smaller(m_test_image, layer))
        m_test_image = new_layer(layer, QImage::Format_RGB32);
    redraw_test();
}

void StrokesView::paintEvent(QPaintEvent* event) {
    paint_layers(event->region());
    ItemView::paintEvent(event);
}

/// Rectangle by rectangle: the toolkit would first walk each layer's whole extent under a clip. A
/// clip of one rectangle, in place of the region that Qt has set, makes it quicker still, but for
/// those that are painted in less time than a clip takes.
void StrokesView::paint_layers(QRegion const& region) {
    constexpr int worth_a_clip_px = 2048;
    QPainter painter(this);
    for (QRect const& rect : region) {
        if (rect.width() * rect.height() >= worth_a_clip_px)
            painter.setClipRect(rect);
        else if (painter.hasClipping())
            painter.setClipping(false);
        if (!m_test_image || !m_test_image->rect().contains(rect))
            painter.fillRect(rect, Qt::white);
        for (auto const* layer : {&m_test_image, &m_strokes_image}) {
            if (*layer)
                draw_part(painter, **layer, rect);
        }
    }
}
