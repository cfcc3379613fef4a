#include "tests/support/fake_driver.h"

#include <algorithm>
#include <cstring>
#include <utility>

FakeDriver& FakeDriver::instance() {
    static auto* const driver = new FakeDriver; // outlives the library that calls it
    return *driver;
}

/// For the library, which finds it in the program that loads it.
extern "C" FakeDriver* fake_driver() {
    return &FakeDriver::instance();
}

void FakeDriver::reset() {
    const std::lock_guard lock(m_mutex);
    m_boards.clear();
    m_log.clear();
    m_subscriptions.clear();
    m_cleared_subscriptions.clear();
    m_notifications.clear();
    m_cleared_notifications.clear();
    on_call = nullptr;
    count = nullptr;
    write_result = 0;
    keeps_log = true;
}

void FakeDriver::set_boards(std::vector<Board> boards) {
    const std::lock_guard lock(m_mutex);
    m_boards = std::move(boards);
}

std::vector<std::string> FakeDriver::take_log() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_log, {});
}

int FakeDriver::report(const std::string& bytes, bool late) {
    std::vector<Subscription> called;
    {
        const std::lock_guard lock(m_mutex);
        called = late ? m_cleared_subscriptions : m_subscriptions;
    }
    for (const Subscription& s : called) {
        s.callback(s.device, reinterpret_cast<const unsigned char*>(bytes.data()),
                   static_cast<unsigned int>(bytes.size()), s.context);
    }
    return static_cast<int>(called.size());
}

int FakeDriver::notice(bool late) {
    std::vector<Notification> called;
    {
        const std::lock_guard lock(m_mutex);
        called = late ? m_cleared_notifications : m_notifications;
    }
    for (const Notification& n : called)
        n.callback(n.context);
    return static_cast<int>(called.size());
}

std::vector<std::pair<int, void*>> FakeDriver::subscriptions() const {
    const std::lock_guard lock(m_mutex);
    std::vector<std::pair<int, void*>> all;
    for (const Subscription& s : m_subscriptions)
        all.emplace_back(s.device, s.context);
    return all;
}

void FakeDriver::called(const std::string& name, const std::string& arguments) {
    if (on_call)
        on_call(name);
    if (!keeps_log)
        return;
    const std::lock_guard lock(m_mutex);
    m_log.push_back(name + '(' + arguments + ')');
}

int FakeDriver::device_count() const {
    if (count)
        return count();
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_boards.size());
}

unsigned char FakeDriver::enumerate(int index, unsigned char* block) {
    const std::lock_guard lock(m_mutex);
    if (index < 0 || index >= static_cast<int>(m_boards.size()))
        return 0;
    const Board& board = m_boards[static_cast<std::size_t>(index)];
    std::int32_t format_tag = 0;
    std::memcpy(&format_tag, block + _TAVEL_DEVICE_INFO::kFormatTagOffset, sizeof format_tag);
    if (!board.readable || format_tag != _TAVEL_DEVICE_INFO::kFormatTag)
        return 0;
    std::memcpy(block + _TAVEL_DEVICE_INFO::kStateOffset, &board.state, sizeof board.state);
    std::memcpy(block + _TAVEL_DEVICE_INFO::kDeviceOffset, &board.device, sizeof board.device);
    const std::size_t room = sizeof(_TAVEL_DEVICE_INFO) - _TAVEL_DEVICE_INFO::kAdditionalInfoOffset;
    std::memcpy(block + _TAVEL_DEVICE_INFO::kAdditionalInfoOffset, board.info.c_str(),
                std::min(room, board.info.size() + 1));
    return 1;
}

void FakeDriver::set_callback(int device, TavelPacketCallback callback, void* context) {
    const std::lock_guard lock(m_mutex);
    m_subscriptions.push_back({device, callback, context});
}

void FakeDriver::clear_callback(int device, TavelPacketCallback callback, void* context) {
    const std::lock_guard lock(m_mutex);
    const auto subscription =
        std::find_if(m_subscriptions.begin(), m_subscriptions.end(), [&](const Subscription& s) {
            return s.device == device && s.callback == callback && s.context == context;
        });
    if (subscription != m_subscriptions.end()) {
        m_cleared_subscriptions.push_back(*subscription);
        m_subscriptions.erase(subscription);
        return;
    }
    if (device != 0)
        return;
    const auto notification =
        std::find_if(m_notifications.begin(), m_notifications.end(), [&](const Notification& n) {
            return reinterpret_cast<void (*)()>(n.callback) ==
                       reinterpret_cast<void (*)()>(callback) &&
                   n.context == context;
        });
    if (notification != m_notifications.end()) {
        m_cleared_notifications.push_back(*notification);
        m_notifications.erase(notification);
    }
}

void FakeDriver::set_pnp_callback(TavelPnpCallback callback, void* context) {
    const std::lock_guard lock(m_mutex);
    m_notifications.push_back({callback, context});
}
