#pragma once

#include "drivers/simulated/callbacks.h"
#include "drivers/simulated/reports.h"
#include "hardware/abstracthardwarewrapper.h"

#include <chrono>
#include <deque>
#include <map>

/// The synchronous channels: each keeps what its board sends until the program reads it. Any
/// thread; no lock is held while a callback runs.
class Channels {
public:
    /// `callback` may be null; else it is called with each packet too. \return the channel's number
    int open(int device, TavelPacketCallback callback, void* context);
    /// Ends the reads that wait at it. \return false where there is none of this board
    bool close(int device, int channel);
    void closeAll();

    /// Waits for a packet. \return how many of its bytes were copied; 0 when the time is over; -1
    /// where there is no such channel (any more) or no buffer
    int read(int device, int channel, void* buffer, int length, std::chrono::milliseconds timeout);

    void deliver(int device, const ReportBytes& bytes);

private:
    struct Channel {
        int device;
        TavelPacketCallback callback;
        void* context;
        std::deque<ReportBytes> packets = {};
    };

    Channel* find(int device, int channel);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<int, Channel> m_channels; ///< by number
    int m_lastNumber = 0;
    Callbacks<TavelPacketCallback> m_callbacks; ///< by number
};
