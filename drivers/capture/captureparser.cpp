#include "drivers/capture/capture.h"
#include "drivers/capture/captureformat.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <set>

using namespace captureformat;

namespace {

constexpr std::string_view kBlanks = " \t\r";

/// What a message shows of a word that is wrong.
std::string shown(std::string_view word) {
    constexpr std::size_t longest = 24;
    if (word.empty())
        return "the end of the line";
    return kQuote + escaped(word.substr(0, longest)) + (word.size() > longest ? "..." : "") +
           kQuote;
}

/// -1 where it is no hexadecimal digit.
int digitValue(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return -1;
}

/// -1 where the text does not begin with two hexadecimal digits.
int byteValue(std::string_view text) {
    if (text.size() < 2)
        return -1;
    const int high = digitValue(text[0]);
    const int low = digitValue(text[1]);
    return high < 0 || low < 0 ? -1 : high << 4 | low;
}

/// Takes one line apart. The first thing that is wrong is kept; from then on nothing more is read.
class LineParser {
public:
    explicit LineParser(std::string_view line) : m_rest(line) { skipBlanks(); }

    bool failed() const { return m_message.has_value(); }
    const std::string& message() const { return *m_message; }
    void fail(const std::string& message) {
        if (!failed())
            m_message = message;
        m_rest = {};
    }

    bool isEmpty() const { return m_rest.empty(); }
    bool isComment() const { return !m_rest.empty() && m_rest.front() == kComment; }

    std::string_view word() {
        const std::string_view taken = m_rest.substr(0, m_rest.find_first_of(kBlanks));
        m_rest.remove_prefix(taken.size());
        skipBlanks();
        return taken;
    }

    template <typename Number>
    Number number(const char* expected) {
        const std::string_view taken = word();
        const char* const end = taken.data() + taken.size();
        Number value = 0;
        const auto [next, problem] = std::from_chars(taken.data(), end, value);
        if (problem == std::errc::result_out_of_range)
            fail(shown(taken) + " is too great a number");
        else if (problem != std::errc() || next != end)
            fail(std::string(expected) + " is expected, not " + shown(taken));
        return value;
    }

    std::string quoted() {
        std::string text;
        if (m_rest.empty() || m_rest.front() != kQuote) {
            fail("additional information in double quotes is expected, not " + shown(word()));
            return text;
        }
        m_rest.remove_prefix(1);
        while (!m_rest.empty() && m_rest.front() != kQuote && !failed())
            text += m_rest.front() == kEscape ? escape() : plain();
        if (m_rest.empty())
            fail("the additional information has no closing quote");
        else
            m_rest.remove_prefix(1);
        skipBlanks();
        if (text.size() > kLongestCaptureInfo)
            fail("the additional information is longer than " +
                 std::to_string(kLongestCaptureInfo) + " bytes");
        return text;
    }

    std::vector<unsigned char> bytes() {
        const std::string_view taken = word();
        std::vector<unsigned char> values;
        if (taken == kNoBytes)
            return values;
        if (taken.size() > 2 * kLongestCaptureReport) {
            fail("the report is longer than " + std::to_string(kLongestCaptureReport) + " bytes");
            return values;
        }
        for (std::size_t i = 0; i == 0 || i < taken.size(); i += 2) {
            const int value = byteValue(taken.substr(i));
            if (value < 0) {
                fail("report bytes of two hexadecimal digits each are expected, not " +
                     shown(taken.substr(i)));
                return values;
            }
            values.push_back(static_cast<unsigned char>(value));
        }
        return values;
    }

    void end() {
        if (!m_rest.empty())
            fail("nothing more is expected, but there is " + shown(m_rest));
    }

private:
    void skipBlanks() {
        m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size()));
    }

    char plain() {
        const char character = m_rest.front();
        m_rest.remove_prefix(1);
        if (character == '\0')
            fail("the additional information holds a NUL");
        return character;
    }

    char escape() {
        const std::string_view sequence = m_rest.substr(1);
        if (!sequence.empty() && (sequence.front() == kQuote || sequence.front() == kEscape)) {
            m_rest.remove_prefix(2);
            return sequence.front();
        }
        if (!sequence.empty() && sequence.front() == kHexEscape) {
            const int value = byteValue(sequence.substr(1));
            if (value == 0)
                fail("the additional information holds a NUL");
            if (value > 0) {
                m_rest.remove_prefix(4);
                return static_cast<char>(value);
            }
        }
        fail("an escape that is none of \\\\, \\\" and \\x with two digits: " +
             shown(m_rest.substr(0, 4)));
        return '\0';
    }

    std::string_view m_rest;
    std::optional<std::string> m_message;
};

/// Takes the lines one by one and keeps what one of them means for the next.
class Parser {
public:
    /// Nothing where the line is right.
    std::optional<std::string> header(std::string_view line) {
        LineParser parser(line);
        if (parser.word() != kName)
            return "this is no capture: the first line is not " + shown(expectedHeader());
        const std::string_view version = parser.word();
        if (version != kVersion)
            return "version " + std::string(kVersion) + " is expected, not " + shown(version);
        parser.end();
        return problemOf(parser);
    }

    std::optional<std::string> event(std::string_view line) {
        LineParser parser(line);
        if (parser.isEmpty() || parser.isComment())
            return {};
        CaptureEvent event;
        event.time = time(parser);
        what(parser, event);
        parser.end();
        if (!parser.failed())
            m_events.push_back(std::move(event));
        return problemOf(parser);
    }

    /// Whether a line that was cut off may have been the header.
    static bool beginsHeader(std::string_view line) {
        return line == expectedHeader().substr(0, line.size());
    }

    std::vector<CaptureEvent> takeEvents() { return std::move(m_events); }

private:
    static std::string expectedHeader() {
        const std::string line = captureHeader();
        return line.substr(0, line.size() - 1);
    }

    static std::optional<std::string> problemOf(const LineParser& parser) {
        return parser.failed() ? std::make_optional(parser.message()) : std::nullopt;
    }

    std::chrono::nanoseconds time(LineParser& parser) const {
        const std::chrono::nanoseconds time(parser.number<std::int64_t>("a time in nanoseconds"));
        if (time.count() < 0)
            parser.fail("a time before the start");
        else if (!m_events.empty() && time < m_events.back().time)
            parser.fail("the time goes backwards");
        return time;
    }

    void what(LineParser& parser, CaptureEvent& event) {
        const std::string_view name = parser.word();
        if (name == kPlug) {
            CapturedPlug plugged;
            plugged.device = device(parser);
            plugged.state = parser.number<int>("a state");
            plugged.info = parser.quoted();
            if (!parser.failed() && !m_plugged.insert(plugged.device).second)
                parser.fail("device " + std::to_string(plugged.device) + " is plugged in already");
            event.what = std::move(plugged);
        } else if (name == kUnplug) {
            const CapturedUnplug unplugged{device(parser)};
            if (!parser.failed() && m_plugged.erase(unplugged.device) == 0)
                failForMissing(parser, unplugged.device);
            event.what = unplugged;
        } else if (name == kReport) {
            CapturedReport report;
            report.device = device(parser);
            report.bytes = parser.bytes();
            if (m_plugged.count(report.device) == 0)
                failForMissing(parser, report.device);
            event.what = std::move(report);
        } else {
            parser.fail("plug, unplug or report is expected, not " + shown(name));
        }
    }

    static int device(LineParser& parser) { return parser.number<int>("a device handle"); }

    static void failForMissing(LineParser& parser, int device) {
        parser.fail("device " + std::to_string(device) + " is not plugged in");
    }

    std::vector<CaptureEvent> m_events;
    std::set<int> m_plugged;
};

} // namespace

Capture parseCapture(std::string_view text) {
    Parser parser;
    std::size_t line = 0;
    while (true) {
        ++line;
        const std::size_t end = text.find('\n');
        if (end == std::string_view::npos)
            break;
        const auto problem =
            line == 1 ? parser.header(text.substr(0, end)) : parser.event(text.substr(0, end));
        if (problem)
            return {{}, CaptureError{line, *problem}};
        text.remove_prefix(end + 1);
    }
    if (line == 1 && (text.empty() || !Parser::beginsHeader(text))) {
        if (const auto problem = parser.header(text))
            return {{}, CaptureError{line, *problem}};
    }
    return {parser.takeEvents(), {}};
}
