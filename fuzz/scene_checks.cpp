#include "fuzz/scene_checks.h"

#include "app/kestrunedialog.h"
#include "fuzz/checks.h"
#include "strokes/strokesview.h"

#include <QImage>
#include <algorithm>
#include <array>
#include <cmath>
#include <set>

namespace {

void check_markers(StrokesView const& view) {
    std::set<Item const*> markers;
    for (auto const& [id, marker] : view.m_id_to_item_map) {
        check(marker != nullptr && marker->m_contact_id == id, "a marker is of its contact");
        auto const state = view.m_id_to_draw_state_map.find(id);
        check(marker->m_buttons != 0 && state != view.m_id_to_draw_state_map.end() &&
                  state->second.state == 1,
              "a contact with a marker is down and draws");
        check((marker->m_view == &view) == (view.find_item(marker.get()) != nullptr),
              "a marker that knows the view is in it");
        markers.insert(marker.get());
    }
    for (auto const& item : view.items()) {
        check(dynamic_cast<EventItem const*>(item.get()) == nullptr ||
                  markers.count(item.get()) == 1,
              "a marker in the view is one of a contact");
    }
}

bool is_whole(std::vector<StrokesView::segment> const& segments) {
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const QLineF line = segments[i].line;
        if (!std::isfinite(line.x2()) || !std::isfinite(line.y2()) || std::isnan(segments[i].width))
            return false;
        if (i > 0 && line.p1() != segments[i - 1].line.p2())
            return false;
    }
    return true;
}

void check_strokes(StrokesView const& view) {
    for (auto const& [id, state] : view.m_id_to_draw_state_map) {
        check(state.state == 0 || state.state == 1, "a contact draws or is idle");
        check((state.state == 0) == state.segments.empty(), "a contact that draws has segments");
        check(is_whole(state.segments), "a stroke in progress is in one piece");
    }
    int count = 0;
    for (auto const& stroke : view.m_strokes) {
        check(!stroke.segments.empty() && is_whole(stroke.segments), "a stroke is in one piece");
        count += static_cast<int>(stroke.segments.size());
    }
    std::array<int, 5> figures{};
    view.statistics(figures[0], figures[1], figures[2], figures[3], figures[4]);
    check(figures[0] == static_cast<int>(view.m_strokes.size()), "all strokes are counted");
    check(figures[1] == count, "all segments are counted");
    check(count == 0 || (figures[2] <= figures[4] && figures[4] <= figures[3]),
          "the mean lies between the shortest and the longest");
}

void check_layers(StrokesView const& view) {
    check(view.m_strokes_image && view.m_test_image, "a view that was shown has its layers");
    QSize const size = view.m_strokes_image->size();
    check(size == view.m_test_image->size(), "the layers are of one size");
    check(size.width() >= view.width() && size.height() >= view.height(),
          "the layers are as large as the view");
    for (QRect const& rect : view.m_dirty_region)
        check(rect.left() <= rect.right() && rect.top() <= rect.bottom(),
              "what is dirty is a place");
}

template <typename Map>
bool are_emptied(Map const& batches) {
    return std::all_of(batches.begin(), batches.end(),
                       [](auto const& batch) { return batch.second.empty(); });
}

void check_maps(KestruneDialog const& dialog) {
    StrokesView const& view = *dialog.m_strokes_view;
    check(are_emptied(view.m_touch_batch_map) && are_emptied(view.m_erase_batch_map) &&
              are_emptied(dialog.m_widget_to_touches_map) &&
              are_emptied(dialog.m_widget_to_erases_map),
          "what was collected of a report is delivered");
    for (auto const* const bindings :
         {&dialog.m_id_to_pen_widget_map, &dialog.m_id_to_touch_widget_map,
          &dialog.m_id_to_erase_widget_map}) {
        for (auto const& [id, widget] : *bindings)
            check(widget == nullptr || widget == &view, "a contact is bound to a view");
    }
}

} // namespace

void check_dialog(KestruneDialog const& dialog) {
    StrokesView const& view = *dialog.m_strokes_view;
    for (auto const& item : view.items())
        check(item != nullptr, "each entry has an item");
    check_markers(view);
    check_strokes(view);
    check_layers(view);
    check_maps(dialog);
}
