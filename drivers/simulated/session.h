#pragma once

#include "drivers/simulated/board.h"
#include "drivers/simulated/callbacks.h"
#include "drivers/simulated/channels.h"
#include "drivers/simulated/faults.h"
#include "drivers/simulated/playback.h"
#include "hardware/abstracthardwarewrapper.h"

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// The boards from the time the driver is attached to until it is not any more, and the thread that
/// plays them and makes every callback. Any thread; no lock is held while a callback runs.
///
/// The playback starts when a usable board has both a packet callback and a transfer mask; where
/// there is no usable board from the start, when the boards are counted.
///
/// With more threads than one, a callback must not detach.
class Session : public std::enable_shared_from_this<Session> {
public:
    /// Plays as soon as the program is ready for it.
    static std::shared_ptr<Session> begin(Playlist playlist, Faults faults);
    /// To be called once. After it no callback is made, and none is under way but the caller's own,
    /// inside of which it cannot wait for the thread: that thread then comes back, to be joined.
    std::thread end();
    /// Where that is a fault of the driver's, callbacks go on from now, whatever comes.
    void beginLateCalls();

    /// Whether attaching is answered by yes.
    bool isAttachable() const;

    bool setCallback(int device, TavelPacketCallback callback, void* context);
    void setPnpCallback(TavelPnpCallback callback, void* context);
    /// Of either type; the plug-and-play callback's device is 0.
    bool clearCallback(int device, TavelPacketCallback callback, void* context);

    int countBoards();
    bool describeBoard(int index, _TAVEL_DEVICE_INFO* info);

    /// Gives `use` the board. \return false, without a call, where there is no such board
    template <typename Use>
    bool withBoard(int device, Use use) {
        {
            const auto lock = locked();
            Board* const board = find(device);
            if (board == nullptr)
                return false;
            use(*board);
        }
        m_changed.notify_all();
        return true;
    }

    /// Commands, each up to its carriage return. What follows the last one is no command.
    bool obey(int device, std::string_view commands);
    /// The board sends the bytes, soon. `isReport`: as one of its reports, if it is to send those.
    bool send(int device, ReportBytes bytes, bool isReport);

    Channels& channels() { return m_channels; }

private:
    struct Packet {
        int device;
        ReportBytes bytes;
        bool isReport;
    };

    Session(Playlist playlist, Faults faults);

    void run();
    bool isReady() const;
    std::optional<Playback::Clock::time_point> due(Playback::Clock::time_point now);
    bool isAwaited(const CapturedReport& report) const;
    void play(std::unique_lock<std::mutex>& lock);
    bool changeBoards(const CaptureEvent& event);
    bool restoreFirstBoards();
    void transmit(std::unique_lock<std::mutex>& lock, const Packet& packet);
    void notify(std::unique_lock<std::mutex>& lock);
    std::optional<Playback::Clock::time_point> dueFault() const;
    void commitFault(std::unique_lock<std::mutex>& lock);
    void haunt(std::unique_lock<std::mutex>& lock, int device);
    void sendOut(const Packet& packet, int threads);
    std::unique_lock<std::mutex> locked() const;
    Board* find(int device);
    const Board* find(int device) const;

    mutable std::mutex m_turn;  ///< held while waiting for the next, so that all get their turn
    mutable std::mutex m_mutex; ///< guards all down to the callbacks, which guard themselves
    std::condition_variable m_changed;
    bool m_isOver = false;
    bool m_isCounted = false;
    Playback m_playback;
    std::vector<CapturedPlug> m_firstBoards;
    std::vector<Board> m_boards; ///< in the order in which they are enumerated
    Faults m_faults;
    std::optional<Playback::Clock::time_point> m_faultsEnd;
    std::optional<Playback::Clock::time_point> m_nextNotice; ///< that comes without any reason
    unsigned int m_counts = 0;
    unsigned int m_descriptions = 0;
    std::map<int, std::deque<ReportBytes>> m_recent; ///< reports by device, for callbacks that stay
    bool m_callsLate = false;
    std::deque<Packet> m_outbox;
    std::optional<Playback::Clock::time_point> m_patience; ///< end of the wait for the program
    std::set<int> m_neglected;                             ///< boards not to be waited for

    Callbacks<TavelPacketCallback> m_packetCallbacks; ///< by device
    Callbacks<TavelPnpCallback> m_pnpCallbacks;       ///< by kNoDevice
    Channels m_channels;

    std::thread m_thread;
};
