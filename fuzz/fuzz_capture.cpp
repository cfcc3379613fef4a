// Any text is a capture or an error that tells its line. What is read can be written, and read
// again as the same.
//
// Input: the text.

#include "drivers/capture/capture.h"
#include "fuzz/checks.h"

#include <algorithm>
#include <set>

namespace {

using Events = std::vector<CaptureEvent>;

/// The first lines of a text, with their newlines.
std::string_view firstLines(std::string_view text, std::size_t count) {
    std::size_t size = 0;
    for (; count > 0; --count)
        size = text.find('\n', size) + 1;
    return text.substr(0, size);
}

void checkError(std::string_view text, const Capture& capture) {
    const CaptureError& error = *capture.error;
    const auto newlines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    check(capture.events.empty(), "a capture with an error has no events");
    check(error.line >= 1 && error.line <= newlines + 1, "the line of an error is one of the text");
    check(!error.message.empty() && std::all_of(error.message.begin(), error.message.end(),
                                                [](char c) { return c >= 0x20 && c < 0x7F; }),
          "an error's message is printable and in one line");
    check(captureErrorText("file", error) ==
              "file:" + std::to_string(error.line) + ": " + error.message,
          "an error's text has file, line and message");
    if (error.line > 1) {
        check(!parseCapture(firstLines(text, error.line - 1)).error,
              "the lines ahead of an error are right");
    }
}

void checkEvents(const Events& events) {
    std::set<int> plugged;
    std::chrono::nanoseconds last(0);
    for (const CaptureEvent& event : events) {
        check(event.time >= last, "no event is before the one ahead of it");
        last = event.time;
        if (const auto* const plug = std::get_if<CapturedPlug>(&event.what)) {
            check(plugged.insert(plug->device).second, "a board is plugged in once");
            check(plug->info.size() <= kLongestCaptureInfo, "information fits into a block");
            check(plug->info.find('\0') == std::string::npos, "information holds no NUL");
        } else if (const auto* const unplug = std::get_if<CapturedUnplug>(&event.what)) {
            check(plugged.erase(unplug->device) == 1, "a board that is pulled out was plugged in");
        } else {
            const auto& report = std::get<CapturedReport>(event.what);
            check(plugged.count(report.device) == 1, "a board that sends is plugged in");
            check(report.bytes.size() <= kLongestCaptureReport, "a report has no more bytes");
        }
    }
}

/// With the text itself as a comment after each event.
std::string written(const Events& events, std::string_view text) {
    std::string all = captureHeader();
    for (const CaptureEvent& event : events)
        all += captureLine(event) + captureComment(text.substr(0, 16));
    return all;
}

bool begins(const Events& events, const Events& first) {
    return first.size() <= events.size() && std::equal(first.begin(), first.end(), events.begin());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const Capture capture = parseCapture(text);
    if (capture.error) {
        checkError(text, capture);
        return 0;
    }
    checkEvents(capture.events);

    const Capture again = parseCapture(written(capture.events, text));
    check(!again.error && again.events == capture.events, "what is written is read as the same");

    const std::size_t header = firstLines(text, 1).size();
    const std::size_t kept = header + (size - header) * 2 / 3;
    if (header > 0) {
        const Capture cut = parseCapture(text.substr(0, kept));
        check(!cut.error && begins(capture.events, cut.events),
              "of a capture that was cut off, what is whole is read");
    }
    return 0;
}
