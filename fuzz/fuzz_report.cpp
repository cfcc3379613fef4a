// What the driver gives as a report may be any bytes. Each report is announced as what it is, and
// each contact in it is the application's or the operating system's, never both's.
//
// Input: the screen's width and height, then reports, each with its length, flags and bytes.

#include "fuzz/checks.h"
#include "fuzz/input.h"
#include "input/osterly.h"
#include "tests/support/fake_driver.h"

#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <cmath>
#include <set>

namespace {

using Bytes = std::vector<unsigned char>;
using Controls = Osterly::Controls;
using Numbers = std::vector<int>; // a kind, then the fields of its records in their order

enum Kind { Pen, Touch, Erase, Status };

constexpr int kDevice = 7; // of the first board, through which contacts are handed back

// What a report is, told without the code that decodes it.

int word(const Bytes& bytes, std::size_t at) {
    return bytes[at] + 256 * bytes[at + 1];
}

Bytes unwrapped(const Bytes& bytes) {
    if (bytes.size() < 2 || bytes.size() > 4096)
        return {};
    const bool is_wrapped = bytes[1] == 'A' && bytes.size() >= 3;
    return Bytes(bytes.begin() + (is_wrapped ? 3 : 0), bytes.end());
}

Numbers contacts(const Bytes& report, Kind kind) {
    const std::size_t words = kind == Touch ? 3 : 4;
    Numbers numbers = {kind};
    for (std::size_t at = 2; at + 1 + 2 * words <= report.size(); at += 1 + 2 * words) {
        numbers.push_back(report[at] % 128);
        for (std::size_t i = 0; i < words; ++i)
            numbers.push_back(word(report, at + 1 + 2 * i));
        numbers.push_back(report[at] / 128);
    }
    return numbers;
}

/// Empty where it is nothing.
Numbers decoded(const Bytes& report) {
    if (report.size() < 2)
        return {};
    if (report.size() == 8 && report[0] == 8 && report[1] == '!') {
        const int state = report[7];
        return {Pen,       state / 8 % 16, word(report, 3), word(report, 5),
                state % 2, state / 2 % 2,  state / 4 % 2};
    }
    if (report[1] == 'E')
        return contacts(report, Touch);
    if (report[1] == 'F')
        return contacts(report, Erase);
    if (report.size() == 8 && report[1] == 165) {
        Numbers numbers = {Status};
        for (std::size_t at = 2; at < 8; ++at)
            numbers.push_back(report[at] < 128 ? report[at] : report[at] - 256);
        return numbers;
    }
    return {};
}

/// What a pen, a finger and an eraser tell alike, and their sizes. `id` is that of the record.
struct Contact {
    int id;
    bool tip;
    int x;
    int y;
    int width;
    int height;
};

std::vector<Contact> contactsOf(const Numbers& n) {
    if (n.empty() || n[0] == Status)
        return {};
    if (n[0] == Pen)
        return {{-1 - n[1], n[4] == 1, n[2], n[3], 0, 0}};
    std::vector<Contact> contacts;
    const std::size_t fields = n[0] == Touch ? 5 : 6;
    for (std::size_t i = 1; i < n.size(); i += fields) {
        contacts.push_back({(n[0] == Touch ? 256 : 512) + n[i], n[i + fields - 1] == 1, n[i + 1],
                            n[i + 2], n[i + 3], n[i + fields - 2]});
    }
    return contacts;
}

/// The bytes of a contact that is handed back: id and tip, x, y, two of 0.
std::string returned(const Contact& c) {
    const int number = c.id < 0 ? -1 - c.id : c.id - 256;
    const int bytes[] = {
        number + (c.tip ? 128 : 0), c.x % 256, c.x / 256, c.y % 256, c.y / 256, 0, 0};
    return std::string(std::begin(bytes), std::end(bytes));
}

int digit(char c) {
    return c <= '9' ? c - '0' : c - 'a' + 10;
}

/// The contacts of one call of the driver, one after the other.
std::string contactsOfCall(const std::string& call, bool is_pen) {
    const std::string name = "tavelSendTouchPacketToSystem(" + std::to_string(kDevice) + ", ";
    check(call.compare(0, name.size(), name) == 0, "reports lead to no other call of the driver");
    std::string bytes;
    for (std::size_t i = name.size(); i + 2 < call.size(); i += 2)
        bytes += static_cast<char>(digit(call[i]) * 16 + digit(call[i + 1]));
    const std::size_t size = bytes.size();
    check(size >= 9 && size < 255 && size % 7 == 2, "what is handed back has whole contacts");
    check(static_cast<unsigned char>(bytes[0]) == size, "what is handed back tells its size");
    check(bytes[1] == (is_pen ? '!' : 'E'), "a pen is handed back as a pen, a finger as a finger");
    return bytes.substr(2);
}

bool isSame(double normalised, int units) {
    return std::abs(normalised - units / 32768.0) <= 1e-12;
}

/// One session with the boards, and what it says of a report.
class Session {
public:
    Session();

    /// \param claims bit n % 5 tells whether to claim the nth contact of a signal
    void send(const Bytes& bytes, int claims);
    /// Ends all contacts that there have been, so that nothing is left of one input in the next.
    /// The converters' own memory lasts as long as the process: it is the same after each call.
    void liftAll();

    TavelHardware& hardware() { return *m_osterly.hardware; }

private:
    void listenToHardware();
    void listenToOsterly();
    void offered(Controls& record, std::size_t index);
    void offered(std::vector<Controls>& records);
    void checkPlaces() const;
    void checkHandedBack();
    void checkCarried(const std::vector<Controls>& carried) const;
    void liftAll(Kind kind, const std::set<int>& ids, int place);

    Osterly m_osterly{nullptr};
    int m_claims = 0;
    Kind m_kind = Status; ///< also of what is no report: nothing comes of either
    std::vector<Contact> m_report;
    std::vector<Numbers> m_announced;
    bool m_is_offered = false;
    std::set<int> m_claimed;
    std::map<Kind, std::set<int>> m_ids; // that there have been
};

Session::Session() {
    FakeDriver::instance().take_log();
    listenToHardware();
    listenToOsterly();
    liftAll();
}

void Session::listenToHardware() {
    using Hardware = TavelHardware;
    const auto announced = [this](const Numbers& numbers) { m_announced.push_back(numbers); };
    QObject::connect(&hardware(), &Hardware::penEvent, [announced](const Hardware::PenEvent& e) {
        announced({Pen, e.id, e.x, e.y, e.button0, e.button1, e.button2});
    });
    QObject::connect(&hardware(), &Hardware::touchEvent,
                     [announced](const Hardware::TouchEvent& e) {
                         Numbers numbers = {Touch};
                         for (const auto& c : e)
                             numbers.insert(numbers.end(), {c.id, c.x, c.y, c.size, c.tip});
                         announced(numbers);
                     });
    QObject::connect(
        &hardware(), &Hardware::eraseEvent, [announced](const Hardware::EraseEvent& e) {
            Numbers numbers = {Erase};
            for (const auto& c : e)
                numbers.insert(numbers.end(), {c.id, c.x, c.y, c.width, c.height, c.tip});
            announced(numbers);
        });
    QObject::connect(&hardware(), &Hardware::touchStatus,
                     [announced](int, const Hardware::TouchStatus& s) {
                         announced({Status, s.s0, s.s1, s.s2, s.s3, s.s4, s.s5});
                     });
}

void Session::listenToOsterly() {
    QObject::connect(&m_osterly, &Osterly::out_osterly_pen_event, [this](Controls& record) {
        check(record.accepted == 0, "a pen is offered unclaimed");
        offered(record, 0);
    });
    for (const auto out : {&Osterly::out_osterly_touch_event, &Osterly::out_osterly_erase_event}) {
        QObject::connect(&m_osterly, out,
                         [this](std::vector<Controls>& records) { offered(records); });
    }
}

void Session::offered(std::vector<Controls>& records) {
    std::set<int> ids;
    for (std::size_t i = 0; i < records.size(); ++i) {
        check(ids.insert(records[i].id).second, "a contact is offered once in a report");
        offered(records[i], i);
    }
    check(!ids.empty(), "there is no offer of nothing");
}

void Session::offered(Controls& record, std::size_t index) {
    m_is_offered = true;
    check(!m_osterly.redirected[record.id], "what is handed back is not offered");
    check(record.x == record.hoop_x && record.y == record.hoop_y, "a contact is at its hoop");
    const auto told = std::find_if(m_report.rbegin(), m_report.rend(),
                                   [&record](const Contact& c) { return c.id == record.id; });
    if (told != m_report.rend()) {
        check(isSame(record.x, told->x) && isSame(record.y, told->y), "a contact is where it is");
        check(isSame(record.radius_x, told->width) && isSame(record.radius_y, told->height),
              "a contact has its size");
        check((record.buttons & 1) == (told->tip ? 1 : 0), "a contact is down as its tip is");
        check(record.accepted == 0, "a contact that is told of is offered unclaimed");
    }
    if ((m_claims >> index % 5 & 1) != 0)
        record.accepted |= Osterly::kClaimed;
    if (record.accepted != 0)
        m_claimed.insert(record.id);
}

void Session::send(const Bytes& bytes, int claims) {
    const Numbers expected = decoded(unwrapped(bytes));
    m_kind = expected.empty() ? Status : static_cast<Kind>(expected[0]);
    m_report = contactsOf(expected);
    for (const Contact& c : m_report)
        m_ids[m_kind].insert(c.id);
    m_claims = claims;
    m_announced.clear();
    m_is_offered = false;
    m_claimed.clear();

    const Bytes exact(bytes); // with nothing beyond it
    TavelHardware::processPacketCallback(kDevice, exact.data(),
                                         static_cast<unsigned int>(exact.size()), &hardware());

    if (expected.empty())
        check(m_announced.empty(), "what is no report is not announced");
    else
        check(m_announced == std::vector<Numbers>{expected}, "a report is announced as what it is");
    checkPlaces();
    checkHandedBack();
}

void Session::checkPlaces() const {
    const QSize screen = m_osterly.hardware->m_screen.size();
    for (const Contact& c : m_report) {
        const QPoint pixel = m_osterly.hardware->mapUSBPosToDevicePos({c.x, c.y});
        const int x = static_cast<int>(std::int64_t{c.x} * screen.width() / 32767);
        const int y = static_cast<int>(std::int64_t{c.y} * screen.height() / 32767);
        check(pixel.x() <= x && pixel.x() >= x - 1, "a position is in a column of pixels");
        check(pixel.y() <= y && pixel.y() >= y - 1, "a position is in a row of pixels");
    }
}

void Session::checkHandedBack() {
    std::string handed_back;
    for (const std::string& call : FakeDriver::instance().take_log())
        handed_back += contactsOfCall(call, m_kind == Pen);

    std::string unclaimed;
    for (const Contact& c : m_report) {
        if (m_claimed.count(c.id) == 0 && m_kind != Erase)
            unclaimed += returned(c);
    }
    // Where nothing is offered, the report may be a repeat, of which nothing comes.
    if (m_is_offered || !handed_back.empty())
        check(handed_back == unclaimed, "what nobody claims is handed back, and nothing else");
    for (const int id : m_claimed)
        check(!m_osterly.redirected[id], "no contact is the application's and handed back");
    if (m_is_offered && m_kind == Touch)
        checkCarried(m_osterly.touch_contacts);
    if (m_is_offered && m_kind == Erase)
        checkCarried(m_osterly.erase_contacts);
}

void Session::checkCarried(const std::vector<Controls>& carried) const {
    for (const Controls& record : carried) {
        check(m_claimed.count(record.id) == 1 && record.buttons != 0,
              "what is carried on is claimed and down");
        check(!m_osterly.redirected.at(record.id), "what is carried on is not handed back");
    }
}

void Session::liftAll() {
    // Each place is another one than before it, so that no report is a repeat. The last reports are
    // always the same.
    for (const Kind kind : {Touch, Erase}) {
        for (const int place : {1, 2})
            liftAll(kind, m_ids[kind], place);
        for (const int place : {3, 4})
            liftAll(kind, {kind == Touch ? 256 : 512}, place);
    }
    for (const int place : {1, 2})
        liftAll(Pen, m_ids[Pen], place);
    m_ids.clear();

    check(m_osterly.touch_contacts.empty() && m_osterly.erase_contacts.empty(),
          "no contact is carried on after its lift");
    for (const auto& [id, is_redirected] : m_osterly.redirected)
        check(!is_redirected, "no contact is handed back after its lift");
}

/// All of them up, in one report, or in one each of pens.
void Session::liftAll(Kind kind, const std::set<int>& ids, int place) {
    constexpr int claim_all = 0x1F;
    const auto low = static_cast<unsigned char>(place);
    Bytes report = {0, static_cast<unsigned char>(kind == Touch ? 'E' : 'F')};
    const std::size_t contact_size = kind == Touch ? 7 : 9;
    for (const int id : ids) {
        if (kind == Pen) {
            send({8, '!', 0, low, 0, 0, 0, static_cast<unsigned char>((-1 - id) * 8)}, claim_all);
        } else {
            report.push_back(static_cast<unsigned char>(id % 128));
            report.push_back(low);
            report.resize(report.size() + contact_size - 2);
        }
    }
    if (kind != Pen)
        send(report, claim_all);
}

Session& session() {
    static auto* const made = new Session;
    return *made;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    new QCoreApplication(*argc, *argv);
    FakeDriver::instance().set_boards({{kDevice}, {kDevice + 1}});
    session();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr int claims_mask = 0x1F;
    constexpr int long_report = 0x20; // the bytes over and over
    Input input(data, size);
    const int width = input.word();
    session().hardware().m_screen = QRect(0, 0, width, input.word());
    while (!input.isEmpty()) {
        const int length = input.byte();
        const int flags = input.byte();
        const std::string text = input.bytes(length);
        Bytes bytes(text.begin(), text.end());
        if ((flags & long_report) != 0) {
            for (int i = 0; i < 20; ++i)
                bytes.insert(bytes.end(), text.begin(), text.end());
        }
        session().send(bytes, flags & claims_mask);
    }
    session().liftAll();
    return 0;
}
