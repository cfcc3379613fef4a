#pragma once

#include "hardware/abstracthardwarewrapper.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// A capture is what boards did, in the order in which they did it, as a text of one event a line.
// docs/capture-format.md tells how it looks. All functions: any thread.

/// The additional information that a driver's block has room for, in bytes without the NUL.
constexpr std::size_t kLongestCaptureInfo =
    sizeof(_TAVEL_DEVICE_INFO::bytes) - _TAVEL_DEVICE_INFO::kAdditionalInfoOffset - 1;
/// In bytes: far more than any board has contacts for.
constexpr std::size_t kLongestCaptureReport = 4096;

struct CapturedPlug {
    int device = 0;   ///< handle; no other board that is plugged in has it
    int state = 0;    ///< as at enumeration
    std::string info; ///< additional information: any bytes but NUL
};

struct CapturedUnplug {
    int device = 0;
};

struct CapturedReport {
    int device = 0;
    std::vector<unsigned char> bytes; ///< raw, as a packet callback receives them
};

struct CaptureEvent {
    std::chrono::nanoseconds time{0}; ///< from the start; none is before the one ahead of it
    std::variant<CapturedPlug, CapturedUnplug, CapturedReport> what;
};

bool operator==(const CapturedPlug& a, const CapturedPlug& b);
bool operator==(const CapturedUnplug& a, const CapturedUnplug& b);
bool operator==(const CapturedReport& a, const CapturedReport& b);
bool operator==(const CaptureEvent& a, const CaptureEvent& b);

struct CaptureError {
    std::size_t line = 0; ///< from 1; 0 where it is not about one line
    std::string message;  ///< printable, in one line
};

struct Capture {
    std::vector<CaptureEvent> events; ///< empty where there is an error
    std::optional<CaptureError> error;
};

/// `text` may be any bytes. What follows the last newline is a line that was cut off, and is left
/// out without a word.
Capture parseCapture(std::string_view text);
/// The same of a file, which may be missing or unreadable.
Capture readCapture(const std::string& path);

/// For a person: the file, the line if there is one, and what is wrong.
std::string captureErrorText(const std::string& path, const CaptureError& error);

// What a capture is written of. Each is one line with its newline.

std::string captureHeader();
/// REQUIRES: a time of 0 or more; information and report of no more than their longest.
std::string captureLine(const CaptureEvent& event);
/// A line that is not played. `text` may be any bytes.
std::string captureComment(std::string_view text);

/// Two digits a byte, lower case. `data` may be null where `size` is 0.
std::string toHex(const unsigned char* data, std::size_t size);
