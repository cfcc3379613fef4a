#pragma once

#include "scene/item.h"
#include "scene/itemview.h"
#include "strokes/testcard.h"

#include <QColor>
#include <QLineF>
#include <QPointF>
#include <map>
#include <memory>
#include <vector>

class QImage;
class SegmentPainter;

/// Records one stroke per contact and shows the strokes over a test card, with a marker at each
/// contact where the info tags are on. Two layers are composed into the widget, the card and above
/// it the strokes; a new segment is painted into its layer at once and only its place becomes
/// dirty. GUI thread only.
class StrokesView : public ItemView {
    Q_OBJECT

public:
    /// A straight piece of a stroke, in pixels of the view.
    struct segment {
        QLineF line; ///< from the contact's previous point to its new one; a dot where they are the
                     ///< same
        float width = 0.0F; ///< half of the painted width: a dot has this radius
    };

    struct stroke {
        std::vector<segment> segments; ///< in drawing order
        QColor color;                  ///< white erases
    };

    struct draw_state {
        int state = 0;                 ///< 0: idle, 1: drawing; of any other state nothing comes
        QPointF last;                  ///< the contact's last point while it draws
        std::vector<segment> segments; ///< of the stroke in progress
        QColor color;                  ///< of the stroke in progress, that of its first point
    };

    /// No layer has more pixels than this (1 GiB), some 32 screens of 3840x2160. A view that is
    /// larger keeps the layers that it has.
    static constexpr std::int64_t kMostLayerPixels = std::int64_t{1} << 28;

    StrokesView();
    ~StrokesView() override;

    /// Takes in one report of one contact: begins, continues or ends its stroke, and paints the new
    /// segment. `record` in pixels of the view. A position or a size that no pixel can have adds no
    /// segment.
    void draw_stroke(Osterly::Controls const& record, QColor color);
    /// Forgets the finished strokes and clears the layer. Strokes in progress keep what they have.
    void clear_strokes();
    /// Paints the layer anew from the finished strokes. Marks nothing dirty.
    void redraw_strokes();

    /// Figures about the finished strokes: their number, their segments in all, and the segments of
    /// the shortest, the longest and the mean one (rounded down). Without strokes the shortest is
    /// 1000000, the longest -1 and the mean 0.
    void statistics(int& strokes, int& segments, int& minimum, int& maximum, int& mean) const;

    /// Each shows its card, or the white one where its card is shown already.
    void toggle_grid();
    void toggle_colors();
    void toggle_shapes();
    void toggle_black();
    void toggle_vcalib();
    void toggle_hcalib();
    void toggle_help();
    /// Draws the card anew. Marks nothing dirty.
    void redraw_test();

    QSize sizeHint() const override; ///< shows the help card whole

public slots:
    void my_pen_event(Osterly::Controls const& record);
    void my_touch_event(std::vector<Osterly::Controls> const& records);
    void my_erase_event(std::vector<Osterly::Controls> const& records);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

public:
    std::vector<stroke> m_strokes; ///< finished, in the order in which they ended
    std::map<int, std::shared_ptr<EventItem>> m_id_to_item_map;
    std::unique_ptr<QImage> m_strokes_image;          ///< null until the first resize
    std::map<int, draw_state> m_id_to_draw_state_map; ///< of each contact ever seen
    float m_stroke_width = 3.0F; ///< half-width in pixels for contacts that report no size
    bool m_info_tags = true;     ///< whether contacts that begin get a marker
    int m_test_mode = HelpCard;
    std::unique_ptr<QImage> m_test_image; ///< null until the first resize

private:
    template <typename Marker>
    void take(Osterly::Controls const& record, QColor stroke_color, QColor marker_color);
    template <typename Marker>
    void take_all(std::vector<Osterly::Controls> const& records, QColor stroke_color,
                  QColor marker_color);
    void add_segment(draw_state& state, Osterly::Controls const& record, QColor color);
    void paint_live(segment const& piece, QColor color);
    void paint_strokes_in_progress();
    void toggle_card(TestCard card);
    void paint_layers(QRegion const& region);

    std::unique_ptr<SegmentPainter> m_live_painter; ///< open for the segments of one report
    bool m_keeps_live_painter = false;
};
