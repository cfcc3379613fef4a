#pragma once

#include <QObject>
#include <QPointF>
#include <cstdint>
#include <vector>

/// The source of the boards' input. Lives in the GUI thread and emits there, directly: a receiver
/// claims a contact by setting bit 0 of its `accepted` before it returns.
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

    explicit Osterly(QObject* parent);

signals:
    void out_osterly_pen_event(Osterly::Controls& event);
    void out_osterly_touch_event(std::vector<Osterly::Controls>& event);
    void out_osterly_erase_event(std::vector<Osterly::Controls>& event);
};

/// Whether two records tell the same of a contact: id, buttons, position and radii, the latter two
/// within kSameCoordinate. The claim and the hoop take no part.
bool operator==(const Osterly::Controls& a, const Osterly::Controls& b);
bool operator!=(const Osterly::Controls& a, const Osterly::Controls& b);
