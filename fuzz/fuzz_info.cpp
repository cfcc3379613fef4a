// The driver's additional information is any text, and its block any bytes.
//
// Input: a key and its length before it, what is to be added to the number of boards, then the
// boards, each with its flags, handle, state and text. All of it is parsed as one text, too.

#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "hardware/tavelhardware.h"
#include "tests/support/fake_driver.h"

#include <QCoreApplication>
#include <optional>

namespace {

using Board = FakeDriver::Board;

struct Announced {
    int index;
    TavelHardware::DeviceInfo info;
};

std::vector<Announced> s_announced;
std::vector<int> s_counts;

TavelHardware& session() {
    static auto* const hardware = [] {
        auto* const made = new TavelHardware(QCoreApplication::instance());
        QObject::connect(made, &TavelHardware::deviceEnumerated,
                         [](int index, const TavelHardware::DeviceInfo& info) {
                             s_announced.push_back({index, info});
                         });
        QObject::connect(made, &TavelHardware::deviceEnumCount,
                         [](int count) { s_counts.push_back(count); });
        return made;
    }();
    return *hardware;
}

/// What the text tells of a key, nothing where it has no value.
template <typename Text>
std::optional<Text> told(const Text& info, const Text& key) {
    const auto at = info.find(key);
    const auto open = at == Text::npos ? at : info.find('<', at);
    const auto close = open == Text::npos ? open : info.find('>', open);
    if (close == Text::npos)
        return {};
    return info.substr(open + 1, close - open - 1);
}

void checkValue(const std::u16string& info, const std::u16string& key) {
    const QString value = TavelHardware::parseAdditionalInfoKeyValue(
        QString::fromStdU16String(info), QString::fromStdU16String(key));
    const auto expected = told(info, key);
    check(value.isNull() == !expected, "a key without a value gives a null string");
    check(value.toStdU16String() == expected.value_or(u""), "a value is what stands in brackets");
}

/// Each byte a character.
std::u16string latin1(const std::string& bytes) {
    std::u16string text;
    for (const char byte : bytes)
        text += static_cast<unsigned char>(byte);
    return text;
}

/// -1 where it is none.
int digit(char c) {
    constexpr std::string_view digits = "0123456789abcdef";
    const auto at = digits.find(c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

bool isDigit(char c, int base) {
    return digit(c) >= 0 && digit(c) < base;
}

/// Nothing where it is a matter of taste: blanks, a prefix, a plus.
std::optional<int> number(const std::string& text, int base) {
    const std::string digits = text.substr(!text.empty() && text.front() == '-' ? 1 : 0);
    const auto is_digit = [base](char c) { return isDigit(c, base); };
    if (!digits.empty() && std::all_of(digits.begin(), digits.end(), is_digit)) {
        std::int64_t value = 0;
        for (const char c : digits)
            value = std::min<std::int64_t>(value * base + digit(c), std::int64_t{1} << 40);
        value *= digits.size() == text.size() ? 1 : -1;
        return value == static_cast<int>(value) ? static_cast<int>(value) : 0;
    }
    const auto is_taste = [base](char c) {
        const bool blank = c == ' ' || (c >= '\t' && c <= '\r') || c == '\x85' || c == '\xA0';
        return isDigit(c, base) || blank || c == '+' || c == '-' ||
               (base == 16 && (c == 'x' || c == 'X'));
    };
    if (std::all_of(text.begin(), text.end(), is_taste))
        return {};
    return 0;
}

void checkNumber(int value, const std::string& info, const char* key, int base) {
    const auto expected = number(told<std::string>(info, key).value_or(""), base);
    check(!expected || value == *expected, "a number is the one in brackets, or 0");
}

/// What of a board's information is in the block.
std::string inBlock(const std::string& info) {
    const std::string text = info.c_str();
    return text.substr(0, sizeof(_TAVEL_DEVICE_INFO) - _TAVEL_DEVICE_INFO::kAdditionalInfoOffset);
}

void checkInfo(const TavelHardware::DeviceInfo& info, const std::string& text) {
    check(info.hid.toStdU16String() == latin1(told<std::string>(text, "hid").value_or("")),
          "hid is the text in brackets");
    checkNumber(info.vid, text, "vid", 16);
    checkNumber(info.pid, text, "pid", 16);
    checkNumber(info.xp, text, "xp", 10);
    checkNumber(info.xt, text, "xt", 10);
    checkNumber(info.xl, text, "xl", 10);
}

bool isUsable(const Board& board) {
    return board.readable && board.state == 1;
}

Board board(Input& input) {
    enum Flag { Readable = 1, Usable = 2, Full = 4 };
    const int flags = input.byte();
    Board made;
    made.readable = (flags & Readable) != 0;
    made.device = input.number();
    made.state = (flags & Usable) != 0 ? 1 : input.number();
    made.info = input.bytes(input.word() % 4096);
    if ((flags & Full) != 0 && !made.info.empty()) {
        while (made.info.size() < sizeof(_TAVEL_DEVICE_INFO))
            made.info += made.info;
    }
    return made;
}

void checkEnumeration(const std::vector<Board>& boards, int count) {
    FakeDriver& driver = FakeDriver::instance();
    driver.reset();
    driver.set_boards(boards);
    driver.count = [count] { return count; };
    s_announced.clear();
    s_counts.clear();
    TavelHardware& hardware = session();
    driver.take_log();
    check(hardware.init(), "the driver is there");

    std::vector<std::string> calls = {"tavelSetPnpCallback()", "tavelAttach()",
                                      "tavelGetDeviceCount()"};
    std::size_t usable = 0;
    for (int i = 0; i < count; ++i) {
        calls.push_back("tavelEnumDeviceInfo(" + std::to_string(i) + ')');
        const auto at = static_cast<std::size_t>(i);
        if (at >= boards.size() || !isUsable(boards[at]))
            continue;
        const std::string device = std::to_string(boards[at].device);
        calls.push_back("tavelSetCallback(" + device + ')');
        calls.push_back("tavelSetXferMask(" + device + ", 255)");
        check(usable < s_announced.size() && s_announced[usable].index == i,
              "each usable board is announced, by its place");
        checkInfo(s_announced[usable].info, inBlock(boards[at].info));
        ++usable;
    }
    check(s_announced.size() == usable, "no other board is announced");
    check(s_counts == std::vector<int>{count}, "all that the driver counts are counted");
    check(driver.take_log() == calls, "each usable board is subscribed to");

    driver.count = [] { return 0; };
    hardware.pnp();
    check(driver.subscriptions().empty(), "a notice ends the subscriptions");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    new QCoreApplication(*argc, *argv);
    FakeDriver::instance().reset();
    session().init();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string all(reinterpret_cast<const char*>(data), size);
    Input input(data, size);
    const std::string key = input.bytes(input.byte() % 8);
    checkValue(latin1(all), latin1(key));
    checkValue(QString::fromUtf8(all.data(), static_cast<int>(size)).toStdU16String(),
               QString::fromUtf8(key.data(), static_cast<int>(key.size())).toStdU16String());

    const auto more = static_cast<signed char>(input.byte());
    std::vector<Board> boards;
    while (!input.isEmpty() && boards.size() < 8)
        boards.push_back(board(input));
    checkEnumeration(boards, static_cast<int>(boards.size()) + more);
    return 0;
}
