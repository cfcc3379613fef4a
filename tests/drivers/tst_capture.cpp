#include "drivers/capture/capture.h"

#include <QTemporaryDir>
#include <QtTest>
#include <fstream>
#include <limits>
#include <random>

Q_DECLARE_METATYPE(std::vector<CaptureEvent>)
Q_DECLARE_METATYPE(std::string)

namespace {

using Plugged = CapturedPlug;
using Unplugged = CapturedUnplug;
using Report = CapturedReport;
using Bytes = std::vector<unsigned char>;
using std::chrono::nanoseconds;

const std::string kHeader = "kestrune-capture 1\n";
const std::string kPlugged = "0 plug 1 1 \"\"\n"; // what most events need ahead of them

std::string written(const std::vector<CaptureEvent>& events) {
    std::string text = captureHeader();
    for (const CaptureEvent& event : events)
        text += captureLine(event);
    return text;
}

QByteArray messageOf(const Capture& capture) {
    return capture.error ? QByteArray::fromStdString(capture.error->message) : QByteArray();
}

/// Of all 255 that a text can have.
std::string everyByteButNul() {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

} // namespace

class TestCapture : public QObject {
    Q_OBJECT

private slots:
    void what_is_written_is_read_data();
    void what_is_written_is_read();
    void the_text_is_as_documented();
    void blanks_and_comments_and_upper_case_are_read();
    void a_comment_stays_one_line();
    void a_malformed_line_is_told_data();
    void a_malformed_line_is_told();
    void a_message_is_printable();
    void a_cut_off_last_line_is_left_out();
    void a_cut_off_header_holds_nothing();
    void random_bytes_are_survived();
    void random_changes_are_survived();
    void a_file_is_read();
    void a_file_that_cannot_be_read_is_told_data();
    void a_file_that_cannot_be_read_is_told();
};

void TestCapture::what_is_written_is_read_data() {
    QTest::addColumn<std::vector<CaptureEvent>>("events");
    const auto row = [](const char* name, const std::vector<CaptureEvent>& events) {
        QTest::newRow(name) << events;
    };
    const CaptureEvent plugged{nanoseconds(0), Plugged{1, 1, ""}};
    row("nothing", {});
    row("a board", {{nanoseconds(0), Plugged{1, 1, "hid<H1>vid<abcd>xl<2>"}}});
    row("a board that cannot be used", {{nanoseconds(0), Plugged{1, 0, ""}}});
    row("information of any bytes", {{nanoseconds(0), Plugged{1, 1, everyByteButNul()}}});
    row("information of quotes and blanks", {{nanoseconds(0), Plugged{1, 1, " \" \\ \\x41 #  "}}});
    row("information that is as long as it can be",
        {{nanoseconds(0), Plugged{1, 1, std::string(kLongestCaptureInfo, '\xFF')}}});
    row("greatest numbers",
        {{nanoseconds(0), Plugged{std::numeric_limits<int>::max(), 1, ""}},
         {nanoseconds::max(), Report{std::numeric_limits<int>::max(), {0xFF}}}});
    row("least numbers", {{nanoseconds(0), Plugged{std::numeric_limits<int>::min(),
                                                   std::numeric_limits<int>::min(), ""}}});
    row("a report", {plugged, {nanoseconds(5), Report{1, {0x08, 0x21, 0xAF, 0x00}}}});
    row("a report of nothing", {plugged, {nanoseconds(5), Report{1, {}}}});
    row("a report that is as long as it can be",
        {plugged, {nanoseconds(5), Report{1, Bytes(kLongestCaptureReport, 0xA5)}}});
    row("out and in again",
        {plugged, {nanoseconds(5), Unplugged{1}}, {nanoseconds(5), Plugged{1, 0, "xp<1>"}}});
    row("two boards", {plugged,
                       {nanoseconds(0), Plugged{-2, 1, ""}},
                       {nanoseconds(1), Report{-2, {1}}},
                       {nanoseconds(1), Report{1, {2}}}});
}

void TestCapture::what_is_written_is_read() {
    QFETCH(const std::vector<CaptureEvent>, events);
    const Capture capture = parseCapture(written(events));
    QCOMPARE(messageOf(capture), QByteArray());
    QVERIFY(capture.events == events);
}

void TestCapture::the_text_is_as_documented() {
    QCOMPARE(written({{nanoseconds(0), Plugged{1, 1, "hid<H \"1\">\n"}},
                      {nanoseconds(7), Report{1, {0x08, 0xAF}}},
                      {nanoseconds(8), Report{1, {}}},
                      {nanoseconds(90), Unplugged{1}}}),
             std::string("kestrune-capture 1\n"
                         "0 plug 1 1 \"hid<H \\\"1\\\">\\x0a\"\n"
                         "7 report 1 08af\n"
                         "8 report 1 -\n"
                         "90 unplug 1\n"));
}

void TestCapture::blanks_and_comments_and_upper_case_are_read() {
    const Capture capture = parseCapture("kestrune-capture \t 1 \r\n"
                                         "\n"
                                         "  \t\r\n"
                                         "# 5 report 1 zz\n"
                                         "  # more\n"
                                         "0  plug\t1 1   \"\\x4a\\x4B\"  \r\n"
                                         " 5 report 1 0AfF \n");
    QCOMPARE(messageOf(capture), QByteArray());
    const std::vector<CaptureEvent> expected = {{nanoseconds(0), Plugged{1, 1, "JK"}},
                                                {nanoseconds(5), Report{1, {0x0A, 0xFF}}}};
    QVERIFY(capture.events == expected);
}

void TestCapture::a_comment_stays_one_line() {
    const std::string comment = captureComment("a\n5 report 1 00" + everyByteButNul());
    QCOMPARE(comment.find('\n'), comment.size() - 1);
    const Capture capture = parseCapture(kHeader + comment);
    QCOMPARE(messageOf(capture), QByteArray());
    QVERIFY(capture.events.empty());
}

void TestCapture::a_malformed_line_is_told_data() {
    QTest::addColumn<std::string>("text");
    QTest::addColumn<int>("line");
    QTest::addColumn<QByteArray>("message");
    const auto row = [](const char* name, const std::string& text, int line, const char* message) {
        QTest::newRow(name) << text << line << QByteArray(message);
    };
    // The wrong line is the third.
    const auto event = [&row](const char* name, const std::string& line, const char* message) {
        row(name, kHeader + kPlugged + line + "\n9 unplug 1\n", 3, message);
    };
    row("nothing at all", "", 1,
        "this is no capture: the first line is not \"kestrune-capture 1\"");
    row("no header", kPlugged, 1, "this is no capture");
    row("a blank line first", '\n' + kHeader, 1, "this is no capture");
    row("no newline anywhere",
        "\x7F"
        "ELF",
        1, "this is no capture");
    row("another name", "kestrune-captures 1\n", 1, "this is no capture");
    row("no version", "kestrune-capture\n", 1, "version 1 is expected, not the end of the line");
    row("another version", "kestrune-capture 2\n", 1, "version 1 is expected, not \"2\"");
    row("another version, cut off", "kestrune-capture 2", 1, "version 1 is expected");
    row("more after the version", "kestrune-capture 1 1\n", 1, "nothing more is expected");
    row("header twice", kHeader + kHeader, 2, "a time in nanoseconds is expected");
    row("after comments and blanks", kHeader + "#\n\n  \n#\n" + "0 play 1\n", 6, "not \"play\"");

    event("no time", "report 1 00", "a time in nanoseconds is expected, not \"report\"");
    event("a time with a unit", "5ms report 1 00", "a time in nanoseconds is expected");
    event("a time with a point", "5.0 report 1 00", "a time in nanoseconds is expected");
    event("a time before the start", "-1 report 1 00", "a time before the start");
    event("a time that no number holds", "9223372036854775808 report 1 00", "too great a number");
    event("only a time", "5", "plug, unplug or report is expected, not the end of the line");
    event("no event of ours", "5 Report 1 00", "plug, unplug or report is expected");
    event("no device", "5 report", "a device handle is expected, not the end of the line");
    event("a device in words", "5 unplug one", "a device handle is expected, not \"one\"");
    event("a device in hexadecimal", "5 unplug 0x1", "a device handle is expected");
    event("a device that no number holds", "5 unplug 2147483648", "too great a number");
    event("more after unplug", "5 unplug 1 1", "nothing more is expected, but there is \"1\"");
    event("unplug of no board", "5 unplug 2", "device 2 is not plugged in");

    event("no bytes", "5 report 1", "report bytes of two hexadecimal digits each are expected");
    event("half a byte", "5 report 1 123", "not \"3\"");
    event("no hexadecimal digit", "5 report 1 120g", "not \"0g\"");
    event("bytes apart", "5 report 1 12 34", "nothing more is expected, but there is \"34\"");
    event("too long a report",
          "5 report 1 " + toHex(Bytes(kLongestCaptureReport + 1).data(), kLongestCaptureReport + 1),
          "the report is longer than 4096 bytes");
    event("report of no board", "5 report 2 00", "device 2 is not plugged in");

    event("no state", "5 plug 2 \"\"", "a state is expected, not");
    event("no information", "5 plug 2 1", "double quotes is expected, not the end of the line");
    event("information without quotes", "5 plug 2 1 xp", "double quotes is expected, not \"xp\"");
    event("no closing quote", "5 plug 2 1 \"xp<1>", "no closing quote");
    event("an escaped closing quote", "5 plug 2 1 \"xp\\\"", "no closing quote");
    event("an unknown escape", "5 plug 2 1 \"a\\n\"", "an escape that is none of");
    event("half an escape", "5 plug 2 1 \"a\\x4\"", "an escape that is none of");
    event("an escape at the end", "5 plug 2 1 \"a\\", "an escape that is none of");
    event("an escaped NUL", "5 plug 2 1 \"a\\x00\"", "holds a NUL");
    event("a plain NUL", std::string("5 plug 2 1 \"a\0\"", 15), "holds a NUL");
    event("more after information", "5 plug 2 1 \"a\"b", "nothing more is expected");
    event("too long an information",
          "5 plug 2 1 \"" + std::string(kLongestCaptureInfo + 1, 'a') + '"', "longer than 3770");
    event("a board twice", "5 plug 1 1 \"\"", "device 1 is plugged in already");

    row("time that goes backwards", kHeader + kPlugged + "5 report 1 00\n4 report 1 00\n", 4,
        "the time goes backwards");
    row("report of a board that has gone", kHeader + kPlugged + "5 unplug 1\n\n5 report 1 00\n", 5,
        "device 1 is not plugged in");
    row("unplug of a board that has gone", kHeader + kPlugged + "5 unplug 1\n5 unplug 1\n", 4,
        "device 1 is not plugged in");
}

void TestCapture::a_malformed_line_is_told() {
    QFETCH(const std::string, text);
    QFETCH(const int, line);
    QFETCH(const QByteArray, message);
    const Capture capture = parseCapture(text);
    QVERIFY(capture.error.has_value());
    QVERIFY2(messageOf(capture).contains(message), messageOf(capture));
    QCOMPARE(static_cast<int>(capture.error->line), line);
    QVERIFY(capture.events.empty());
}

void TestCapture::a_message_is_printable() {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string word(1000, static_cast<char>(byte));
        const Capture capture = parseCapture(kHeader + kPlugged + "5 x" + word + '\n');
        QVERIFY(capture.error.has_value());
        for (const char character : messageOf(capture))
            QVERIFY(character >= ' ' && character < '\x7F');
        QVERIFY(messageOf(capture).size() < 200);
    }
}

void TestCapture::a_cut_off_last_line_is_left_out() {
    const std::string text =
        kHeader + kPlugged + "5 report 1 0011\n6 report 1 223344\n7 unplug 1\n";
    const std::vector<CaptureEvent> events = parseCapture(text).events;
    QCOMPARE(events.size(), std::size_t(4));
    for (std::size_t size = kHeader.size(); size <= text.size(); ++size) {
        const Capture capture = parseCapture(std::string_view(text).substr(0, size));
        QCOMPARE(messageOf(capture), QByteArray());
        const auto lines = std::count(text.begin(), text.begin() + static_cast<long>(size), '\n');
        QVERIFY(capture.events ==
                std::vector<CaptureEvent>(events.begin(), events.begin() + (lines - 1)));
    }
}

void TestCapture::a_cut_off_header_holds_nothing() {
    for (std::size_t size = 1; size < kHeader.size(); ++size) {
        const Capture capture = parseCapture(std::string_view(kHeader).substr(0, size));
        QCOMPARE(messageOf(capture), QByteArray());
        QVERIFY(capture.events.empty());
    }
}

void TestCapture::random_bytes_are_survived() {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::string text = kHeader;
        const std::size_t size = text.size() + random() % 200;
        while (text.size() < size)
            text += static_cast<char>(random());
        text += '\n';
        const Capture capture = parseCapture(text);
        QVERIFY(!capture.error || (capture.error->line >= 2 && capture.events.empty()));
    }
}

void TestCapture::random_changes_are_survived() {
    const std::string right = kHeader + "# board\n0 plug 1 1 \"xp<4>\\x41\\\\\"\n5 report 1 0011\n"
                                        "5 report 1 -\n6 unplug 1\n";
    QCOMPARE(messageOf(parseCapture(right)), QByteArray());
    const std::string alphabet = "\n\r\t 0159afx\"\\#-plugreport\xFF";
    std::mt19937 random(2);
    int errors = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = right;
        for (std::size_t change = 0; change <= round % 3U; ++change) {
            const std::size_t at = random() % text.size();
            const char character = alphabet[random() % alphabet.size()];
            if (random() % 2 == 0)
                text[at] = character;
            else
                text.insert(at, 1, character);
        }
        const Capture capture = parseCapture(text);
        const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
        if (capture.error) {
            ++errors;
            QVERIFY(capture.error->line >= 1 && capture.error->line <= lines + 1);
        } else {
            const Capture again = parseCapture(written(capture.events));
            QVERIFY(!again.error && again.events == capture.events);
        }
    }
    QVERIFY(errors > 0 && errors < 20000);
}

void TestCapture::a_file_is_read() {
    const QTemporaryDir directory;
    const std::string path = directory.path().toStdString() + "/some";
    std::vector<CaptureEvent> events = {{nanoseconds(0), Plugged{1, 1, ""}}};
    for (int i = 1; i < 5000; ++i) // more than is read at once
        events.push_back({nanoseconds(i), Report{1, Bytes(20, static_cast<unsigned char>(i))}});
    std::ofstream(path, std::ios::binary) << written(events) << "9999 unpl";
    const Capture capture = readCapture(path);
    QCOMPARE(messageOf(capture), QByteArray());
    QVERIFY(capture.events == events);
}

void TestCapture::a_file_that_cannot_be_read_is_told_data() {
    QTest::addColumn<std::string>("name");
    QTest::addColumn<std::string>("text");
    const auto row = [](const std::string& name, const std::string& text) {
        QTest::newRow(name.c_str()) << name << name + text;
    };
    row("missing", ": No such file or directory");
    row(".", ": Is a directory");
    row("malformed", ":2: plug, unplug or report is expected, not \"x\"");
}

void TestCapture::a_file_that_cannot_be_read_is_told() {
    QFETCH(const std::string, name);
    QFETCH(const std::string, text);
    const QTemporaryDir directory;
    std::ofstream(directory.path().toStdString() + "/malformed") << kHeader << "0 x\n";
    const std::string folder = directory.path().toStdString() + '/';
    const std::string path = folder + name;
    const Capture capture = readCapture(path);
    QVERIFY(capture.error.has_value());
    QCOMPARE(captureErrorText(path, *capture.error), folder + text);
}

QTEST_GUILESS_MAIN(TestCapture)
#include "tst_capture.moc"
