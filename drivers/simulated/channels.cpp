#include "drivers/simulated/channels.h"

#include <algorithm>

namespace {

constexpr std::size_t kMostPackets = 256; // that wait to be read; then the oldest goes

} // namespace

int Channels::open(int device, TavelPacketCallback callback, void* context) {
    int number = 0;
    {
        const std::lock_guard lock(m_mutex);
        number = ++m_lastNumber;
        m_channels.emplace(number, Channel{device, callback, context});
    }
    if (callback != nullptr)
        m_callbacks.add(number, callback, context);
    return number;
}

bool Channels::close(int device, int channel) {
    TavelPacketCallback callback = nullptr;
    void* context = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        const Channel* const found = find(device, channel);
        if (found == nullptr)
            return false;
        callback = found->callback;
        context = found->context;
        m_channels.erase(channel);
    }
    m_changed.notify_all();
    m_callbacks.remove(channel, callback, context);
    return true;
}

void Channels::closeAll() {
    {
        const std::lock_guard lock(m_mutex);
        m_channels.clear();
    }
    m_changed.notify_all();
    m_callbacks.removeAll();
}

int Channels::read(int device, int channel, void* buffer, int length,
                   std::chrono::milliseconds timeout) {
    if (buffer == nullptr || length < 0)
        return -1;
    std::unique_lock lock(m_mutex);
    Channel* found = nullptr;
    m_changed.wait_for(lock, timeout, [this, device, channel, &found] {
        found = find(device, channel);
        return found == nullptr || !found->packets.empty();
    });
    if (found == nullptr)
        return -1;
    if (found->packets.empty())
        return 0;
    const ReportBytes packet = std::move(found->packets.front());
    found->packets.pop_front();
    const std::size_t size = std::min(packet.size(), static_cast<std::size_t>(length));
    std::copy_n(packet.begin(), size, static_cast<unsigned char*>(buffer));
    return static_cast<int>(size);
}

void Channels::deliver(int device, const ReportBytes& bytes) {
    std::vector<int> numbers;
    {
        const std::lock_guard lock(m_mutex);
        for (auto& [number, channel] : m_channels) {
            if (channel.device != device)
                continue;
            if (channel.packets.size() == kMostPackets)
                channel.packets.pop_front();
            channel.packets.push_back(bytes);
            numbers.push_back(number);
        }
    }
    m_changed.notify_all();
    for (const int number : numbers)
        m_callbacks.call(number, device, bytes.data(), static_cast<unsigned int>(bytes.size()));
}

Channels::Channel* Channels::find(int device, int channel) {
    const auto found = m_channels.find(channel);
    return found == m_channels.end() || found->second.device != device ? nullptr : &found->second;
}
