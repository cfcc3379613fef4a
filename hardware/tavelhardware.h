#pragma once

#include "hardware/callbackgate.h"
#include "hardware/reportflow.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QRect>
#include <QString>
#include <atomic>
#include <deque>
#include <memory>
#include <mutex>

class AbstractHardwareWrapper;

/// The one connection to the boards: finds them, receives their reports, decodes and announces
/// them, and carries settings to them.
///
/// Lives in the thread that creates it. The driver calls on threads of its own, where reports are
/// decoded and plug-and-play passes run; from there every signal reaches receivers in the owner's
/// thread queued. No lock is held during a call of the driver or an emission.
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

    /// Lets no callback in any more, and unloads the driver.
    ~TavelHardware() override;

    /// Loads the driver, asks it for notices and finds the boards. To be called once, after the
    /// receivers have connected: what it finds is announced before it returns.
    /// \return false, with no signal ever after, where there is no driver
    bool init();
    /// Loads the driver at the first call only. \return whether it is loaded
    bool initialiseTavelWrapper();
    /// Finds the boards and subscribes to their reports. Boards that are in use already stay so.
    void enumerate();
    /// One value out of the driver's text of key<value>key<value>... The key is taken where its
    /// letters first stand, even if that is inside of another key or of a value. A null string
    /// where there is no such key or no value in brackets after it.
    static QString parseAdditionalInfoKeyValue(const QString& info, const QString& key);

    /// Has the driver wait while this thread cannot follow its reports. For a receiver in this
    /// thread that takes pen, touch and erase reports and holds a reportDelivery() during each.
    void startFlowControl();
    ReportFlow::Delivery reportDelivery() { return {m_flow, isLoopRunning()}; }
    /// Whether this turn of the event loop has some of its share left; always where none runs.
    bool hasTimeForReports() const { return m_flow.has_time() || !isLoopRunning(); }

    /// Finds the boards anew, subscribing from scratch. Where such a pass is under way already, the
    /// thread that is at it does this one next.
    void pnp();
    static void pnpCallback(void* context);

    /// A raw report. `data` may be null and `length` anything: what can be no report is dropped.
    static void processPacketCallback(int device, const unsigned char* data, unsigned int length,
                                      void* context);
    /// Announces one report as one signal. What is no report is dropped.
    void processPacket(const QByteArray& packet);

    // Settings of every board in use. Whether a board takes them it does not tell.
    void setPenReportMode(unsigned char pen, PenReportMode mode);
    void setPenHardwareMode(unsigned char pen, PenHardwareMode mode);
    void setTouchReportMode(TouchReportMode mode);
    void setEraseReportMode(EraseReportMode mode);
    void setGlintray(bool on); ///< the pointer light

    /// Writes the command's bytes to one board. \return false where the driver refuses or there is
    /// none
    bool sendCommand(int device, const QByteArray& command);
    /// Asks one board; its reply comes as touchStatus() with this device.
    void getTouchStatus(int device);

    // Hand a pen or touch contacts to the operating system, through the first board in use. Nothing
    // is sent while there is no board.
    void redirectPenEvent(PenEvent event);
    void redirectTouchEvent(QList<TouchContact> contacts);

    /// Ends the access to the boards: from here on the driver's callbacks lead nowhere. To be
    /// called once, before the destruction.
    void uninit();

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

signals:
    void pnpEvent();
    /// `index` is the board's position in the driver's enumeration, not its device handle.
    void deviceEnumerated(int index, const TavelHardware::DeviceInfo& info);
    /// After all boards of one enumeration. The driver's count: boards that cannot be used as well.
    void deviceEnumCount(int count);
    void penEvent(const TavelHardware::PenEvent& event);
    void touchEvent(const TavelHardware::TouchEvent& event);
    void eraseEvent(const TavelHardware::EraseEvent& event);
    void touchStatus(int index, const TavelHardware::TouchStatus& status);

private:
    enum class Pass { Enumerate, PlugAndPlay };

    void run(Pass pass);
    void enumerationPass();
    void plugAndPlayPass();
    QList<int> devices() const;
    void publish(const QList<int>& devices);
    void sendToAll(const QByteArray& command);
    /// For this object's thread alone.
    bool isLoopRunning() const;

    /// The driver for the length of one call.
    class DriverCall {
    public:
        DriverCall(AbstractHardwareWrapper& driver, ReportFlow& flow)
            : m_driver(driver), m_call(flow) {}
        AbstractHardwareWrapper* operator->() const { return &m_driver; }
        AbstractHardwareWrapper& operator*() const { return m_driver; }

    private:
        AbstractHardwareWrapper& m_driver;
        ReportFlow::DriverCall m_call;
    };
    DriverCall driver() { return {*m_driver, m_flow}; } ///< REQUIRES: m_driver

    std::unique_ptr<AbstractHardwareWrapper> m_driver; ///< a TavelWrapper; null before init()
    QList<int> m_devices; ///< handles of the boards in use; a pass sets it when it has finished
    std::atomic<int> m_touchStatusDevice{0}; ///< the last one asked

    mutable std::mutex m_devicesMutex; ///< guards m_devices
    std::mutex m_passesMutex;          ///< guards m_passes
    std::deque<Pass> m_passes;         ///< the one under way and those to come after it
    ReportFlow m_flow;
    CallbackGate m_gate{this};
};
