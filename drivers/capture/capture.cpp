#include "drivers/capture/capture.h"

#include "drivers/capture/captureformat.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

using namespace captureformat;

bool operator==(const CapturedPlug& a, const CapturedPlug& b) {
    return a.device == b.device && a.state == b.state && a.info == b.info;
}

bool operator==(const CapturedUnplug& a, const CapturedUnplug& b) {
    return a.device == b.device;
}

bool operator==(const CapturedReport& a, const CapturedReport& b) {
    return a.device == b.device && a.bytes == b.bytes;
}

bool operator==(const CaptureEvent& a, const CaptureEvent& b) {
    return a.time == b.time && a.what == b.what;
}

std::string toHex(const unsigned char* data, std::size_t size) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * size);
    for (std::size_t i = 0; i < size; ++i) {
        text += digits[data[i] >> 4];
        text += digits[data[i] & 0x0F];
    }
    return text;
}

std::string captureformat::escaped(std::string_view text) {
    std::string printable;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == kQuote || character == kEscape)
            printable += {kEscape, character};
        else if (byte >= 0x20 && byte < 0x7F)
            printable += character;
        else
            printable += kEscape + std::string(1, kHexEscape) + toHex(&byte, 1);
    }
    return printable;
}

std::string captureHeader() {
    return std::string(kName) + ' ' + std::string(kVersion) + '\n';
}

std::string captureLine(const CaptureEvent& event) {
    std::string line = std::to_string(event.time.count()) + ' ';
    if (const auto* const plugged = std::get_if<CapturedPlug>(&event.what)) {
        line += std::string(kPlug) + ' ' + std::to_string(plugged->device) + ' ' +
                std::to_string(plugged->state) + ' ' + kQuote + escaped(plugged->info) + kQuote;
    } else if (const auto* const unplugged = std::get_if<CapturedUnplug>(&event.what)) {
        line += std::string(kUnplug) + ' ' + std::to_string(unplugged->device);
    } else {
        const auto& report = std::get<CapturedReport>(event.what);
        line += std::string(kReport) + ' ' + std::to_string(report.device) + ' ';
        line += report.bytes.empty() ? std::string(kNoBytes)
                                     : toHex(report.bytes.data(), report.bytes.size());
    }
    return line + '\n';
}

std::string captureComment(std::string_view text) {
    return kComment + (' ' + escaped(text)) + '\n';
}

Capture readCapture(const std::string& path) {
    const auto failed = [] { return Capture{{}, CaptureError{0, std::strerror(errno)}}; };
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "re"),
                                                               std::fclose);
    if (!file)
        return failed();
    std::string text;
    char some[1 << 16];
    while (const std::size_t size = std::fread(some, 1, sizeof some, file.get()))
        text.append(some, size);
    if (std::ferror(file.get()) != 0)
        return failed();
    return parseCapture(text);
}

std::string captureErrorText(const std::string& path, const CaptureError& error) {
    return path + (error.line == 0 ? "" : ':' + std::to_string(error.line)) + ": " + error.message;
}
