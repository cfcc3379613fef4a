#pragma once

#include "input/osterly.h"

#include <QDialog>
#include <map>
#include <memory>
#include <vector>

class ItemView;
class QTimer;
class StrokesView;

/// The program's one window. Owns the input source and the views, binds each contact to the widget
/// under its first point, maps its reports to that widget's pixels, runs the frames of all views
/// and takes the keys. GUI thread only; shown full screen from its construction on.
class KestruneDialog : public QDialog {
    Q_OBJECT

public:
    explicit KestruneDialog(QWidget* parent);
    ~KestruneDialog() override; ///< ends the input before any view goes

public slots:
    /// Reports from the input source, normalised. Contacts that a widget is bound to are claimed:
    /// bit 0 of `accepted` is set in place.
    void in_osterly_pen(Osterly::Controls& record);
    void in_osterly_touch(std::vector<Osterly::Controls>& records);
    void in_osterly_erase(std::vector<Osterly::Controls>& records);
    /// One frame: updates all items, then lets the views repaint what has become dirty.
    void in_timer_update();

protected:
    void keyPressEvent(QKeyEvent* event) override;

public:
    using Contacts = std::vector<Osterly::Controls>;
    /// From contact id to the widget that the contact is bound to, or null. Entries stay.
    using WidgetMap = std::map<int, QWidget*>;
    /// The contacts of one report by widget. Empty between reports.
    using BatchMap = std::map<QWidget*, Contacts>;

    std::unique_ptr<Osterly> m_osterly;
    WidgetMap m_id_to_pen_widget_map;
    WidgetMap m_id_to_touch_widget_map;
    WidgetMap m_id_to_erase_widget_map;
    BatchMap m_widget_to_touches_map;
    BatchMap m_widget_to_erases_map;
    StrokesView* m_strokes_view = nullptr;
    std::vector<ItemView*> m_views;
    QTimer* m_timer = nullptr;
    bool m_full_screen = true;

private:
    QRect screen_geometry() const;
    QRect normal_geometry() const;
    QWidget* bind(QWidget*& bound, QPoint point) const;
    void place(Osterly::Controls& record, QPoint point, QWidget const& widget) const;
    void route(Contacts& records, WidgetMap& bindings, BatchMap& batches,
               void (ItemView::*deliver)(Contacts const&));
    void toggle_full_screen();
    void show_full_screen();
};
