#include "drivers/simulated/session.h"

#include "drivers/simulated/callbackcounts.h"
#include "drivers/simulated/latecalls.h"

#include <algorithm>

namespace {

using namespace std::chrono_literals;

constexpr int kNoDevice = 0; // the key of what belongs to no board
constexpr char kCommandEnd = '\r';

// How long a playback that is not paced waits for the program to configure a board. It takes the
// program two seconds after an enumeration.
constexpr auto kPatience = 5s;

constexpr std::size_t kReportsOfGhost = 64;

void putNumber(_TAVEL_DEVICE_INFO& info, std::size_t offset, std::int32_t value) {
    for (std::size_t i = 0; i < sizeof value; ++i)
        info.bytes[offset + i] =
            static_cast<unsigned char>(static_cast<std::uint32_t>(value) >> 8 * i);
}

std::int32_t numberAt(const _TAVEL_DEVICE_INFO& info, std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < sizeof value; ++i)
        value |= static_cast<std::uint32_t>(info.bytes[offset + i]) << 8 * i;
    return static_cast<std::int32_t>(value);
}

using MaybeTime = std::optional<Playback::Clock::time_point>;

/// Of those that there are.
MaybeTime earlier(MaybeTime a, MaybeTime b) {
    return a && b ? std::min(a, b) : a ? a : b;
}

/// On this thread and on others, which are waited for.
template <typename Call>
void atOnce(int threads, Call call) {
    std::vector<std::thread> others;
    for (int i = 1; i < threads; ++i)
        others.emplace_back(call);
    call();
    for (std::thread& other : others)
        other.join();
}

} // namespace

std::shared_ptr<Session> Session::begin(Playlist playlist, Faults faults) {
    countNotices(0); // so that the counts are there from the start
    std::shared_ptr<Session> session(new Session(std::move(playlist), faults));
    session->m_thread = std::thread([session] { session->run(); });
    return session;
}

Session::Session(Playlist playlist, Faults faults)
    : m_playback(std::move(playlist)),
      m_firstBoards(m_playback.takeFirstBoards()),
      m_faults(faults) {
    for (const CapturedPlug& plug : m_firstBoards)
        m_boards.emplace_back(plug);
    const auto now = Playback::Clock::now();
    if (m_faults.length)
        m_faultsEnd = now + *m_faults.length;
    if (m_faults.notices_per_s > 0)
        m_nextNotice = now;
}

std::thread Session::end() {
    {
        const auto lock = locked();
        m_isOver = true;
    }
    m_changed.notify_all();
    m_packetCallbacks.removeAll();
    m_pnpCallbacks.removeAll();
    m_channels.closeAll();
    std::thread thread = std::move(m_thread);
    if (thread.get_id() != std::this_thread::get_id())
        thread.join();
    return thread;
}

void Session::beginLateCalls() {
    LateCalls calls;
    {
        const auto lock = locked();
        if (!m_faults.callsLate || std::exchange(m_callsLate, true))
            return;
        m_packetCallbacks.forEach(
            [this, &calls](int device, TavelPacketCallback callback, void* context) {
                for (const ReportBytes& report : m_recent[device])
                    calls.reports.push_back({callback, device, report, context});
            });
        m_pnpCallbacks.forEach([&calls](int, TavelPnpCallback callback, void* context) {
            calls.notices.push_back({callback, context});
        });
    }
    ::beginLateCalls(std::move(calls));
}

bool Session::isAttachable() const {
    const auto lock = locked();
    return !m_faults.attachFails;
}

bool Session::setCallback(int device, TavelPacketCallback callback, void* context) {
    if (callback == nullptr)
        return false;
    return withBoard(device, [this, device, callback, context](Board&) {
        m_packetCallbacks.add(device, callback, context);
    });
}

void Session::setPnpCallback(TavelPnpCallback callback, void* context) {
    if (callback != nullptr)
        m_pnpCallbacks.add(kNoDevice, callback, context);
}

bool Session::clearCallback(int device, TavelPacketCallback callback, void* context) {
    {
        const auto lock = locked();
        if (m_faults.keepsCallbacks())
            return true;
    }
    if (m_packetCallbacks.remove(device, callback, context))
        return true;
    // By way of void (*)(), which the compiler takes as the word that this is meant.
    const auto pnpCallback =
        reinterpret_cast<TavelPnpCallback>(reinterpret_cast<void (*)()>(callback));
    return device == kNoDevice && m_pnpCallbacks.remove(kNoDevice, pnpCallback, context);
}

int Session::countBoards() {
    int count = 0;
    {
        const auto lock = locked();
        m_isCounted = true;
        count = m_faults.attachFails ? 0 : static_cast<int>(m_boards.size());
        if (m_faults.enumeration == Faults::Enumeration::Changes && ++m_counts % 2 == 0)
            ++count;
        count = m_faults.count.value_or(count);
    }
    m_changed.notify_all();
    return count;
}

bool Session::describeBoard(int index, _TAVEL_DEVICE_INFO* info) {
    if (info == nullptr ||
        numberAt(*info, _TAVEL_DEVICE_INFO::kFormatTagOffset) != _TAVEL_DEVICE_INFO::kFormatTag)
        return false;
    const auto lock = locked();
    if (static_cast<std::size_t>(index) >= m_boards.size() || m_faults.attachFails ||
        m_faults.enumeration == Faults::Enumeration::Fails)
        return false;
    const CapturedPlug& board = m_boards[static_cast<std::size_t>(index)].plug();
    int device = board.device;
    if (m_faults.enumeration == Faults::Enumeration::Changes) {
        // As it is, then under another handle, then not at all.
        const unsigned int turn = m_descriptions++ % 3;
        if (turn == 2)
            return false;
        device = turn == 1 ? ~device : device;
    }
    putNumber(*info, _TAVEL_DEVICE_INFO::kStateOffset, board.state);
    putNumber(*info, _TAVEL_DEVICE_INFO::kDeviceOffset, device);
    unsigned char* const text = info->bytes + _TAVEL_DEVICE_INFO::kAdditionalInfoOffset;
    *std::copy(board.info.begin(), board.info.end(), text) = 0;
    return true;
}

bool Session::obey(int device, std::string_view commands) {
    return withBoard(device, [this, device, commands](Board& board) {
        std::string_view rest = commands;
        for (auto end = rest.find(kCommandEnd); end != std::string_view::npos;
             end = rest.find(kCommandEnd)) {
            if (board.obey(rest.substr(0, end)))
                m_outbox.push_back({device, board.touchStatus(), true});
            rest.remove_prefix(end + 1);
        }
    });
}

bool Session::send(int device, ReportBytes bytes, bool isReport) {
    return withBoard(device, [this, device, &bytes, isReport](Board&) {
        m_outbox.push_back({device, std::move(bytes), isReport});
    });
}

void Session::run() {
    auto lock = locked();
    while (!m_isOver) {
        const auto now = Playback::Clock::now();
        if (!m_playback.hasStarted() && isReady())
            m_playback.start(now);
        const auto next = due(now);
        const auto fault = dueFault();
        if (!m_outbox.empty()) {
            const Packet packet = std::move(m_outbox.front());
            m_outbox.pop_front();
            transmit(lock, packet);
        } else if (next && *next <= now) {
            play(lock);
        } else if (fault && *fault <= now) {
            commitFault(lock);
        } else if (next || fault) {
            m_changed.wait_until(lock, *earlier(next, fault));
        } else {
            m_changed.wait(lock);
        }
    }
}

bool Session::isReady() const {
    const auto isUsable = [](const Board& board) { return board.isUsable(); };
    if (std::none_of(m_boards.begin(), m_boards.end(), isUsable))
        return m_isCounted;
    return std::any_of(m_boards.begin(), m_boards.end(), [this](const Board& board) {
        return board.isUsable() && board.hasMask() && m_packetCallbacks.has(board.device());
    });
}

std::optional<Playback::Clock::time_point> Session::due(Playback::Clock::time_point now) {
    const auto next = m_playback.due();
    const CaptureEvent* const event = m_playback.next();
    const auto* const report =
        event == nullptr ? nullptr : std::get_if<CapturedReport>(&event->what);
    if (!next || !m_playback.isUnpaced() || report == nullptr || !isAwaited(*report)) {
        m_patience.reset();
        return next;
    }
    if (!m_patience)
        m_patience = now + kPatience;
    if (now >= *m_patience)
        m_neglected.insert(report->device);
    return m_patience;
}

/// Whether the program is still to say if it wants the report.
bool Session::isAwaited(const CapturedReport& report) const {
    const Board* const board = find(report.device);
    return board != nullptr && board->isUsable() && m_neglected.count(report.device) == 0 &&
           (!m_packetCallbacks.has(report.device) || !board->isToldOf(contentOf(report.bytes)));
}

void Session::play(std::unique_lock<std::mutex>& lock) {
    const CaptureEvent* event = m_playback.next();
    if (event == nullptr) {
        m_playback.rewind(Playback::Clock::now());
        if (restoreFirstBoards())
            notify(lock);
        return;
    }
    if (const auto* const report = std::get_if<CapturedReport>(&event->what)) {
        m_playback.advance();
        transmit(lock, {report->device, report->bytes, true});
        return;
    }
    // One notice for all that comes and goes at once.
    const auto time = event->time;
    std::vector<int> gone;
    while (event != nullptr && event->time == time && changeBoards(*event)) {
        if (const auto* const unplug = std::get_if<CapturedUnplug>(&event->what))
            gone.push_back(unplug->device);
        m_playback.advance();
        event = m_playback.next();
    }
    notify(lock);
    for (const int device : gone)
        haunt(lock, device);
}

/// \return false where the event is no change of boards
bool Session::changeBoards(const CaptureEvent& event) {
    if (const auto* const plug = std::get_if<CapturedPlug>(&event.what)) {
        m_boards.emplace_back(*plug);
        return true;
    }
    const auto* const unplug = std::get_if<CapturedUnplug>(&event.what);
    if (unplug == nullptr)
        return false;
    m_neglected.erase(unplug->device);
    m_boards.erase(
        std::remove_if(m_boards.begin(), m_boards.end(),
                       [unplug](const Board& board) { return board.device() == unplug->device; }),
        m_boards.end());
    return true;
}

/// \return whether that changed anything
bool Session::restoreFirstBoards() {
    const auto isFirst = [this](const Board& board) {
        return std::find(m_firstBoards.begin(), m_firstBoards.end(), board.plug()) !=
               m_firstBoards.end();
    };
    const auto gone = std::stable_partition(m_boards.begin(), m_boards.end(), isFirst);
    bool hasChanged = gone != m_boards.end();
    m_boards.erase(gone, m_boards.end());
    for (const CapturedPlug& plug : m_firstBoards) {
        if (find(plug.device) != nullptr)
            continue;
        m_boards.emplace_back(plug);
        hasChanged = true;
    }
    return hasChanged;
}

void Session::transmit(std::unique_lock<std::mutex>& lock, const Packet& packet) {
    Board* const board = find(packet.device);
    if (board == nullptr)
        return;
    const ReportContent content = packet.isReport ? contentOf(packet.bytes) : ReportContent();
    board->sense(content);
    const bool isSent = board->transmits(content);
    if (isSent && m_faults.keepsCallbacks()) {
        auto& recent = m_recent[packet.device];
        recent.push_back(packet.bytes);
        if (recent.size() > kReportsOfGhost)
            recent.pop_front();
    }
    const int threads = m_faults.threads;
    lock.unlock();
    if (isSent)
        sendOut(packet, threads);
    lock = locked();
}

void Session::sendOut(const Packet& packet, int threads) {
    const ReportKind kind = contentOf(packet.bytes).kind;
    atOnce(threads, [this, kind, &packet] {
        countReports(kind, m_packetCallbacks.call(packet.device, packet.device, packet.bytes.data(),
                                                  static_cast<unsigned int>(packet.bytes.size())));
    });
    m_channels.deliver(packet.device, packet.bytes);
}

void Session::notify(std::unique_lock<std::mutex>& lock) {
    const int threads = m_faults.threads;
    lock.unlock();
    atOnce(threads, [this] { countNotices(m_pnpCallbacks.call(kNoDevice)); });
    lock = locked();
}

/// A board that has been pulled out sends once more what it has sent.
void Session::haunt(std::unique_lock<std::mutex>& lock, int device) {
    if (!m_faults.hasGhosts)
        return;
    const std::deque<ReportBytes> reports = std::exchange(m_recent[device], {});
    const int threads = m_faults.threads;
    lock.unlock();
    for (const ReportBytes& bytes : reports)
        sendOut({device, bytes, true}, threads);
    lock = locked();
}

/// When the driver is to do wrong next, or to do right from then on.
std::optional<Playback::Clock::time_point> Session::dueFault() const {
    return earlier(m_faultsEnd, m_nextNotice);
}

void Session::commitFault(std::unique_lock<std::mutex>& lock) {
    const auto now = Playback::Clock::now();
    if (m_faultsEnd && *m_faultsEnd <= now) {
        m_faults = Faults();
        m_faultsEnd.reset();
        m_nextNotice.reset();
    } else {
        // Those that it has been too slow for are left out.
        m_nextNotice =
            std::max(now, *m_nextNotice + std::chrono::nanoseconds(1s) / m_faults.notices_per_s);
    }
    notify(lock);
}

std::unique_lock<std::mutex> Session::locked() const {
    const std::lock_guard turn(m_turn);
    return std::unique_lock(m_mutex);
}

Board* Session::find(int device) {
    const auto found = std::find_if(m_boards.begin(), m_boards.end(), [device](const Board& board) {
        return board.device() == device;
    });
    return found == m_boards.end() ? nullptr : &*found;
}

const Board* Session::find(int device) const {
    return const_cast<Session*>(this)->find(device); // NOLINT: it changes nothing
}
