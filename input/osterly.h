#pragma once

#include "hardware/tavelhardware.h"

#include <QBasicTimer>
#include <QObject>
#include <QPointF>
#include <cstdint>
#include <deque>
#include <map>
#include <variant>
#include <vector>

class QTimer;

/// The source of the boards' input. Owns the session with the boards, keeps them configured and
/// turns their reports into Controls. A receiver claims a contact by setting bit 0 of its
/// `accepted` before it returns from the signal; a pen or finger that nobody claims is handed to
/// the operating system until it lifts, an eraser is dropped until then.
///
/// Lives in the GUI thread and emits there, directly. Where more reports are queued to it than a
/// turn of the event loop has time for, the others keep their order and wait for the next turns, so
/// that keys and frames come in between. The converters keep what they know of contacts for the
/// life of the process, so one thread alone may ever call them.
class Osterly : public QObject {
    Q_OBJECT

public:
    /// One report of one contact: a pen, a finger, an eraser, or a mouse. What kind it is, only the
    /// id tells. Positions and radii are normalised (0 to 1 spans the board, in steps of 1/32768)
    /// as Osterly emits them, and pixels of the widget once the dialog has mapped them.
    struct Controls {
        std::int32_t id = 0;
        std::int32_t accepted = 0; ///< bit 0: a receiver has claimed the contact
        std::int32_t buttons = 0;  ///< 0: the contact is up, that is released or hovering
        double radius_x = 0.0;
        double radius_y = 0.0;
        double x = 0.0;
        double y = 0.0;
        double hoop_x = 0.0; ///< always equal to x
        double hoop_y = 0.0; ///< always equal to y
    };

    /// The ring that a contact drags along. Its centre is the position that is reported, so a ring
    /// of some radius calms a contact that jitters within it.
    struct Hoop {
        double x = 0.0;
        double y = 0.0;
        bool down = false; ///< the contact was down at its previous report

        /// Takes in one report of the contact and returns the ring's centre. `point` and `radius`
        /// share a unit. A contact that was up takes the ring with it; one that was down drags it,
        /// so that the centre trails the point by the radius at most.
        QPointF track(QPointF point, std::int32_t buttons, double radius);
    };

    /// The radius of a board contact's hoop, normalised. Zero on purpose: boards smooth their
    /// reports themselves, so the newest point is reported as it is.
    static constexpr double kBoardHoopRadius = 0.0;

    static constexpr std::int32_t kClaimed = 1; ///< bit 0 of Controls::accepted

    static constexpr std::int32_t kUnassignedId = -9999; ///< of a record that is being filled
    static constexpr std::int32_t kMouseId = -1;         ///< shared with the board's pen 0

    static constexpr std::int32_t pen_id(int pen) { return ~pen; } ///< pen: 0 to 15
    static constexpr std::int32_t touch_id(int contact) {
        return 256 + contact;
    } ///< contact: 0 to 127
    static constexpr std::int32_t erase_id(int contact) {
        return 512 + contact;
    } ///< contact: 0 to 127

    /// Opens the session and switches all reports on. Where there is no driver nothing comes of it.
    explicit Osterly(QObject* parent);
    /// Switches all reports off and ends the session.
    ~Osterly() override;

    /// Switches every board's reports off, or on but for those that are disabled.
    void configureHardware(bool off);

public slots:
    void in_pnp_event();
    /// Never called by the hardware, on purpose: its signal has another signature than the one that
    /// this slot is connected to.
    void in_device_enumerated(int maxPens, int maxTouch);
    /// Configures the boards when this has not been called for two seconds.
    void in_device_enum_count(int count);
    void in_config_delay_timeout();
    void in_pen_event(const TavelHardware::PenEvent& event);
    void in_touch_event(const TavelHardware::TouchEvent& event);
    void in_erase_event(const TavelHardware::EraseEvent& event);

signals:
    void out_osterly_pen_event(Osterly::Controls& event);
    void out_osterly_touch_event(std::vector<Osterly::Controls>& event);
    void out_osterly_erase_event(std::vector<Osterly::Controls>& event);

public:
    TavelHardware* hardware;
    std::vector<Controls> touch_contacts; ///< between reports: claimed and still down
    std::vector<Controls> erase_contacts;
    std::map<int, bool> redirected;   ///< contact id to: it is the operating system's, or dropped
    std::map<int, bool> pen_disabled; ///< pen index 0 to 3. Nothing disables one yet, as below.
    bool touch_disabled = false;
    bool erase_disabled = false;
    QTimer* config_timer = nullptr; ///< running, or null

private:
    using Hoops = std::map<int, Hoop>;
    using Report =
        std::variant<TavelHardware::PenEvent, TavelHardware::TouchEvent, TavelHardware::EraseEvent>;

    bool event(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    template <typename Event>
    void take_or_put_off(const Event& report);
    bool has_turn();
    void take_backlog();
    void take(const TavelHardware::PenEvent& report);
    void take(const TavelHardware::TouchEvent& report);
    void take(const TavelHardware::EraseEvent& report);

    template <typename Contact>
    QList<Contact> offer(const QList<Contact>& report, std::vector<Controls>& contacts,
                         std::vector<Controls>& last, Hoops& hoops,
                         void (Osterly::*out)(std::vector<Controls>&));

    bool m_is_call_queued = false; ///< of the slot that is called next
    std::deque<Report> m_backlog;  ///< put off, in their order
    QBasicTimer m_backlog_timer;   ///< runs while there is a backlog
};

/// Whether two records tell the same of a contact: id, buttons, position and radii, the latter two
/// within kSameCoordinate. The claim and the hoop take no part.
bool operator==(const Osterly::Controls& a, const Osterly::Controls& b);
bool operator!=(const Osterly::Controls& a, const Osterly::Controls& b);
