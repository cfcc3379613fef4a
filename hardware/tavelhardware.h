#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QRect>
#include <QString>

/// The boards: the records of what they report, and the decoding of the raw reports in which the
/// driver library hands that over. Decoding touches no state, so any thread may do it.
class TavelHardware : public QObject {
    Q_OBJECT

public:
    // The records are registered meta types. A signal spells theirs out (TavelHardware::PenEvent):
    // a queued delivery looks them up by these names.

    /// What the driver tells of one attached board. A field that it does not tell, or not in
    /// figures, is empty or 0.
    struct DeviceInfo {
        QString hid;
        int vid = 0;
        int pid = 0;
        int xp = 0; ///< pens that the board supports
        int xt = 0; ///< simultaneous touches that the board supports
        int xl = 0; ///< carried along; its meaning is the board maker's
    };

    /// One report of one pen.
    struct PenEvent {
        int id = 0; ///< 0 to 15
        int x = 0;  ///< board units: 0 to 65535 as sent, of which the board's surface is 0 to 32767
        int y = 0;
        bool button0 = false; ///< the tip: the pen touches the surface
        bool button1 = false;
        bool button2 = false;
    };

    /// One finger of a touch report. Positions and sizes are in board units.
    struct TouchContact {
        int id = 0; ///< 0 to 127
        int x = 0;
        int y = 0;
        int size = 0;
        bool tip = false; ///< the finger is down
    };

    /// One eraser of an erase report. Positions and sizes are in board units.
    struct EraseContact {
        int id = 0; ///< 0 to 127
        int x = 0;  ///< of the centre
        int y = 0;
        int width = 0;
        int height = 0;
        bool tip = false; ///< the eraser is down
    };

    /// A board's reply to the query of its touch status: six signed bytes in the order of the
    /// report. Their meaning is the board maker's.
    struct TouchStatus {
        int s0 = 0;
        int s1 = 0;
        int s2 = 0;
        int s3 = 0;
        int s4 = 0;
        int s5 = 0;
    };

    using TouchEvent = QList<TouchContact>; ///< in the order of the report
    using EraseEvent = QList<EraseContact>; ///< in the order of the report

    // What a board can be set to. The value itself goes to the driver or, as a figure, into a
    // command, so any other value a board may know can be cast to these.

    /// Whether a pen's reports come to the program.
    enum class PenReportMode : unsigned char { Off = 0, On = 1 };

    /// Mode 2 is the one that every pen is used in.
    enum class PenHardwareMode : unsigned char { Standard = 2 };

    /// Whether touch reports come to the program.
    enum class TouchReportMode : unsigned char { Off = 0, On = 1 };

    /// Whether the board reports erasers. Every value but On is off.
    enum class EraseReportMode : unsigned char { Off = 0, On = 1 };

    /// Takes the primary screen's geometry, once and for all, and registers the records' meta
    /// types. Needs no application object: without one that has a screen the geometry is empty.
    explicit TavelHardware(QObject* parent);

    // What a report is, in the order in which they are asked: the first that says yes decides. A
    // buffer that is too short to have a tag is no report.
    static bool isPenPacket(const QByteArray& packet);
    static bool isTouchPacket(const QByteArray& packet); ///< of any length, down to no contact
    static bool isErasePacket(const QByteArray& packet); ///< of any length, down to no contact
    static bool isTouchStatusPacket(const QByteArray& packet);

    /// REQUIRES: isPenPacket(packet). It is not asked again.
    static void getPenData(const QByteArray& packet, PenEvent& event);
    /// Appends the contacts that the packet holds in full. It does not ask for the tag.
    static void getTouchData(const QByteArray& packet, QList<TouchContact>& contacts);
    /// Appends the contacts that the packet holds in full. It does not ask for the tag.
    static void getEraseData(const QByteArray& packet, QList<EraseContact>& contacts);
    /// Leaves the status as it is where the packet is no touch-status report.
    static void getTouchStatusData(const QByteArray& packet, TouchStatus& status);

    /// A position in board units in pixels from the screen's own corner, whatever the screen's
    /// place on the desktop. The board's last unit lands one past the last pixel.
    QPoint mapUSBPosToDevicePos(QPoint position) const;
    /// A length in board units in pixels. Scaled by the screen's width on purpose, heights as well.
    int mapUSBValToDeviceVal(int value) const;

    /// A raw buffer in readable decimal form, for use from a debugger. `data` may be null where
    /// `length` is 0.
    static QString dumpPacket(const QString& name, const unsigned char* data, unsigned int length);

    QRect m_screen; ///< the primary screen at construction, empty if there was none
};
