#pragma once

#include <string>
#include <string_view>

/// The words and signs of the text, for its reader and its writer.
namespace captureformat {

constexpr std::string_view kName = "kestrune-capture";
constexpr std::string_view kVersion = "1";

constexpr std::string_view kPlug = "plug";
constexpr std::string_view kUnplug = "unplug";
constexpr std::string_view kReport = "report";
constexpr std::string_view kNoBytes = "-"; ///< a report of no bytes

constexpr char kComment = '#';
constexpr char kQuote = '"';
constexpr char kEscape = '\\';
constexpr char kHexEscape = 'x'; ///< after kEscape: two hexadecimal digits follow

/// In printable ASCII, without a quote that stands for itself.
std::string escaped(std::string_view text);

} // namespace captureformat
