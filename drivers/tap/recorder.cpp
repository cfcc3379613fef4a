#include "drivers/tap/recorder.h"

#include "drivers/environment.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr char kCapture[] = "KESTRUNE_TAP_CAPTURE";

// One that takes longer was broken off, and reports do not wait for its end.
constexpr auto kLongestEnumeration = 1s;

std::int32_t numberAt(const _TAVEL_DEVICE_INFO& info, std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < sizeof value; ++i)
        value |= static_cast<std::uint32_t>(info.bytes[offset + i]) << 8 * i;
    return static_cast<std::int32_t>(value);
}

CapturedPlug plugOf(const _TAVEL_DEVICE_INFO& info) {
    const auto* const text =
        reinterpret_cast<const char*>(info.bytes) + _TAVEL_DEVICE_INFO::kAdditionalInfoOffset;
    return {numberAt(info, _TAVEL_DEVICE_INFO::kDeviceOffset),
            numberAt(info, _TAVEL_DEVICE_INFO::kStateOffset),
            std::string(text, strnlen(text, kLongestCaptureInfo))};
}

} // namespace

Recorder::Recorder() : m_path(fromEnvironment(kCapture)), m_file(nullptr, std::fclose) {
    if (m_path.empty()) {
        complain("tap", std::string(kCapture) + " is not set: nothing is recorded");
        return;
    }
    m_file.reset(std::fopen(m_path.c_str(), "we"));
    if (!m_file)
        complain("tap", m_path + ": " + std::strerror(errno) + ": nothing is recorded");
    writeLine(captureHeader());
}

void Recorder::flush() {
    const std::lock_guard lock(m_mutex);
    endEnumeration(false);
}

void Recorder::counted(int count) {
    const std::lock_guard lock(m_mutex);
    // A loop may ask for the count each time.
    if (m_enumeration && m_enumeration->count == count && !m_notice && !isBrokenOff())
        return;
    endEnumeration(false);
    m_enumeration = Enumeration{count, enumerationTime(), Clock::now()};
    if (count <= 0)
        endEnumeration(true);
}

void Recorder::described(int index, const _TAVEL_DEVICE_INFO* info) {
    const std::lock_guard lock(m_mutex);
    if (!m_enumeration || index < 0 || index >= m_enumeration->count) {
        if (info != nullptr) {
            m_time = std::max(m_time, enumerationTime());
            plugIn({plugOf(*info)});
        }
        return;
    }
    m_enumeration->asked.insert(index);
    if (info != nullptr)
        m_enumeration->found.push_back(plugOf(*info));
    if (m_enumeration->asked.size() == static_cast<std::size_t>(m_enumeration->count))
        endEnumeration(true);
}

void Recorder::notice() {
    const std::lock_guard lock(m_mutex);
    const auto time = now();
    if (!m_notice)
        m_notice = time;
    writeLine(captureComment(std::to_string(time.count()) + " plug-and-play notice"));
}

void Recorder::report(int device, int subscribed, const unsigned char* data, unsigned int length) {
    const std::lock_guard lock(m_mutex);
    if (length > kLongestCaptureReport || (data == nullptr && length != 0)) {
        writeLine(captureComment(std::to_string(now().count()) + " report " +
                                 std::to_string(device) + " of " + std::to_string(length) +
                                 (data == nullptr ? " bytes at no address" : " bytes, too long")));
        return;
    }
    CapturedReport captured{device, {}};
    if (length != 0)
        captured.bytes.assign(data, data + length);
    CaptureEvent event{now(), std::move(captured)};
    if (m_enumeration && isBrokenOff())
        endEnumeration(false);
    if (m_enumeration && !m_enumeration->asked.empty())
        m_waiting.emplace_back(std::move(event), subscribed);
    else
        writeReport(std::move(event), subscribed);
}

std::chrono::nanoseconds Recorder::now() const {
    return m_start ? Clock::now() - *m_start : 0ns;
}

/// The first one starts the clock. Another has the time of the notice that has led to it.
std::chrono::nanoseconds Recorder::enumerationTime() {
    if (!m_start)
        m_start = Clock::now();
    else if (!m_notice)
        return now();
    return std::exchange(m_notice, std::nullopt).value_or(0ns);
}

/// REQUIRES: there is an enumeration.
bool Recorder::isBrokenOff() const {
    return Clock::now() - m_enumeration->clock > kLongestEnumeration;
}

/// A board that an enumeration did not find has gone, if it was complete.
void Recorder::endEnumeration(bool isComplete) {
    if (!m_enumeration)
        return;
    const Enumeration enumeration = std::move(*m_enumeration);
    m_enumeration.reset();
    m_time = std::max(m_time, enumeration.time);
    if (isComplete) {
        const std::map<int, CapturedPlug> known = m_boards;
        for (const auto& [device, board] : known) {
            const bool isFound = std::any_of(
                enumeration.found.begin(), enumeration.found.end(),
                [number = device](const CapturedPlug& plug) { return plug.device == number; });
            if (!isFound)
                pullOut(device);
        }
    }
    plugIn(enumeration.found);
    for (auto& [event, subscribed] : m_waiting)
        writeReport(std::move(event), subscribed);
    m_waiting.clear();
}

void Recorder::plugIn(const std::vector<CapturedPlug>& boards) {
    std::set<int> seen; // of boards with one handle the first counts
    for (const CapturedPlug& board : boards) {
        if (!seen.insert(board.device).second)
            continue;
        const auto known = m_boards.find(board.device);
        if (known != m_boards.end() && known->second == board)
            continue;
        if (known != m_boards.end())
            pullOut(board.device);
        m_boards.emplace(board.device, board);
        writeEvent(board);
    }
}

void Recorder::pullOut(int device) {
    m_boards.erase(device);
    writeEvent(CapturedUnplug{device});
}

void Recorder::writeReport(CaptureEvent event, int subscribed) {
    auto& report = std::get<CapturedReport>(event.what);
    if (m_boards.count(report.device) == 0)
        report.device = subscribed;
    if (m_boards.count(report.device) == 0) {
        std::string line = captureLine(event);
        line.pop_back();
        writeLine(captureComment(line + " of a board that no enumeration has told of"));
        return;
    }
    m_time = std::max(m_time, event.time);
    writeEvent(std::move(report));
}

template <typename What>
void Recorder::writeEvent(What what) {
    writeLine(captureLine({m_time, std::move(what)}));
}

void Recorder::writeLine(const std::string& line) {
    if (!m_file)
        return;
    if (std::fwrite(line.data(), 1, line.size(), m_file.get()) == line.size() &&
        std::fflush(m_file.get()) == 0)
        return;
    complain("tap", m_path + ": " + std::strerror(errno) + ": nothing more is recorded");
    m_file.reset();
}
