#include "app/kestrunedialog.h"

#include "scene/item.h"
#include "scene/itemview.h"
#include "scene/pixels.h"
#include "strokes/strokesview.h"

#include <QApplication>
#include <QDesktopWidget>
#include <QKeyEvent>
#include <QScreen>
#include <QStackedLayout>
#include <QTimer>
#include <algorithm>
#include <cmath>

namespace {

constexpr int kFrame_ms = 16;

/// `origin` plus the part of an extent that a normalised coordinate is. What is not a number lies
/// on no screen. No point is so far off that its difference to a window's position overflows.
int on_screen(int origin, int extent, double normalised) {
    constexpr std::int64_t farthest = 1 << 30;
    if (std::isnan(normalised))
        return -farthest;
    return static_cast<int>(
        std::clamp(origin + std::int64_t{integer_part(extent * normalised)}, -farthest, farthest));
}

/// The pixel in place of the normalised coordinate; what is not a number stays so.
double placed(double normalised, int pixel) {
    return std::isnan(normalised) ? normalised : pixel;
}

} // namespace

KestruneDialog::KestruneDialog(QWidget* parent) : QDialog(parent) {
    setAttribute(Qt::WA_TranslucentBackground);

    auto* const layout = new QStackedLayout;
    layout->setStackingMode(QStackedLayout::StackAll);
    setLayout(layout);

    m_strokes_view = new StrokesView;
    layout->addWidget(m_strokes_view);
    m_views.push_back(m_strokes_view);

    m_osterly = std::make_unique<Osterly>(this);
    connect(m_osterly.get(), &Osterly::out_osterly_pen_event, this,
            &KestruneDialog::in_osterly_pen);
    connect(m_osterly.get(), &Osterly::out_osterly_touch_event, this,
            &KestruneDialog::in_osterly_touch);
    connect(m_osterly.get(), &Osterly::out_osterly_erase_event, this,
            &KestruneDialog::in_osterly_erase);

    m_timer = new QTimer(this);
    m_timer->setSingleShot(true);
    connect(m_timer, SIGNAL(timeout()), this, SLOT(in_timer_update()));
    m_timer->start(kFrame_ms);

    show_full_screen();
}

KestruneDialog::~KestruneDialog() {
    m_views.clear();
    m_widget_to_erases_map.clear();
    m_widget_to_touches_map.clear();
    m_id_to_erase_widget_map.clear();
    m_id_to_touch_widget_map.clear();
    m_id_to_pen_widget_map.clear();
    m_osterly.reset();
}

QRect KestruneDialog::screen_geometry() const {
    return QApplication::desktop()->screenGeometry(this);
}

/// The widget that a contact is bound to. One that is bound to none is bound now to the widget
/// under its point, but only while this window has the keyboard: contacts beside it belong to other
/// windows.
QWidget* KestruneDialog::bind(QWidget*& bound, QPoint point) const {
    if (bound == nullptr && QApplication::activeWindow() == window() && rect().contains(point))
        bound = childAt(point);
    return bound;
}

/// Turns a normalised record into one in the widget's pixels. `point` in those of the dialog.
void KestruneDialog::place(Osterly::Controls& record, QPoint point, QWidget const& widget) const {
    const QRect screen = screen_geometry();
    const QPoint local = widget.mapFrom(this, point);
    record.radius_x *= screen.width();
    record.radius_y *= screen.height();
    record.x = record.hoop_x = placed(record.x, local.x());
    record.y = record.hoop_y = placed(record.y, local.y());
}

void KestruneDialog::in_osterly_pen(Osterly::Controls& record) {
    const QRect screen = screen_geometry();
    const QPoint point = mapFromGlobal({on_screen(screen.left(), screen.width(), record.x),
                                        on_screen(screen.top(), screen.height(), record.y)});
    QWidget*& bound = m_id_to_pen_widget_map[record.id];
    if (QWidget* const widget = bind(bound, point)) {
        Osterly::Controls delivered = record; // unclaimed, unlike the contacts of a touch report
        record.accepted |= Osterly::kClaimed;
        place(delivered, point, *widget);
        if (widget == m_strokes_view)
            m_strokes_view->in_pen_event(delivered);
    }
    if (record.buttons == 0)
        bound = nullptr;
}

void KestruneDialog::in_osterly_touch(std::vector<Osterly::Controls>& records) {
    route(records, m_id_to_touch_widget_map, m_widget_to_touches_map, &ItemView::in_touch_event);
}

void KestruneDialog::in_osterly_erase(std::vector<Osterly::Controls>& records) {
    route(records, m_id_to_erase_widget_map, m_widget_to_erases_map, &ItemView::in_erase_event);
}

void KestruneDialog::route(Contacts& records, WidgetMap& bindings, BatchMap& batches,
                           void (ItemView::*deliver)(Contacts const&)) {
    const QRect screen = screen_geometry();
    for (Osterly::Controls& record : records) {
        // The screen's origin is subtracted here and added for a pen: on purpose.
        const QPoint point = mapFromGlobal({on_screen(-screen.left(), screen.width(), record.x),
                                            on_screen(-screen.top(), screen.height(), record.y)});
        QWidget* const widget = bind(bindings[record.id], point);
        if (widget == nullptr)
            continue;
        record.accepted |= Osterly::kClaimed;
        Osterly::Controls& delivered = batches[widget].emplace_back(record);
        place(delivered, point, *widget);
    }
    for (auto& [widget, batch] : batches) {
        if (!batch.empty() && widget == m_strokes_view)
            (m_strokes_view->*deliver)(batch);
        batch.clear();
    }
    for (Osterly::Controls const& record : records) {
        if (record.buttons == 0)
            bindings[record.id] = nullptr;
    }
}

void KestruneDialog::in_timer_update() {
    m_timer->start(kFrame_ms); // first, so that the tick's work does not slow the rate
    for (ItemView* const view : m_views) {
        for (auto const& item : view->items())
            item->update_begin();
    }
    for (ItemView* const view : m_views) {
        for (auto const& item : view->items())
            item->update_end();
    }
    for (ItemView* const view : m_views)
        view->update(view->get_dirty_region());
}

void KestruneDialog::keyPressEvent(QKeyEvent* event) {
    constexpr int case_bit = 0x20; // the codes of small letters act like those of the capital ones
    const int key = event->key();
    if (key == Qt::Key_Escape)
        close();
    else if (key == Qt::Key_Return)
        toggle_full_screen();
    else if (key == Qt::Key_Backspace)
        m_strokes_view->clear_strokes();
    else if (key == Qt::Key_Space)
        m_strokes_view->m_info_tags = !m_strokes_view->m_info_tags;
    else if ((key & ~case_bit) == Qt::Key_H)
        m_strokes_view->toggle_help();
    else if ((key & ~case_bit) == Qt::Key_C)
        m_strokes_view->toggle_colors();
    else if ((key & ~case_bit) == Qt::Key_G)
        m_strokes_view->toggle_grid();
    else if ((key & ~case_bit) == Qt::Key_S)
        m_strokes_view->toggle_shapes();
    else if ((key & ~case_bit) == Qt::Key_B)
        m_strokes_view->toggle_black();
    else if (key == Qt::Key_Left)
        m_strokes_view->toggle_vcalib();
    else if (key == Qt::Key_Right)
        m_strokes_view->toggle_hcalib();
    else if (key >= Qt::Key_0 && key <= Qt::Key_9)
        m_strokes_view->m_stroke_width = static_cast<float>(key - Qt::Key_0);
}

void KestruneDialog::toggle_full_screen() {
    if (m_full_screen) {
        showNormal();
        setGeometry(normal_geometry());
    } else {
        show_full_screen();
    }
    m_full_screen = !m_full_screen;
}

/// Covers the screen also where no window manager makes the window as large as its state says.
void KestruneDialog::show_full_screen() {
    setGeometry(screen_geometry());
    showFullScreen();
}

/// Where the window stands when it is not full screen: in the middle of its screen, three quarters
/// of it wide and high, and larger where the help needs it.
QRect KestruneDialog::normal_geometry() const {
    const QRect available = QApplication::desktop()->availableGeometry(this);
    const QSize size = (available.size() * 3 / 4)
                           .expandedTo(m_strokes_view->sizeHint())
                           .boundedTo(available.size());
    QRect geometry(QPoint(0, 0), size);
    geometry.moveCenter(available.center());
    return geometry;
}
