#include "input/osterly.h"
#include "tests/support/fake_driver.h"

#include <QtTest>
#include <algorithm>
#include <memory>
#include <set>

using Controls = Osterly::Controls;
using Hardware = TavelHardware;
using Ids = std::vector<int>;
using Strings = std::vector<std::string>;

namespace {

FakeDriver& driver() {
    return FakeDriver::instance();
}

enum Kind { ByTouch, ByErase };

/// A finger or an eraser, as a board reports it.
struct Contact {
    int id;
    int x;
    bool tip = true;
    int width = 30;
    int height = 40;
};

// The converters remember contacts for the life of the process. Each test moves its contacts to
// where none before it has been.
int s_x = 0;

Hardware::PenEvent pen(int id, int x, bool tip, bool button1 = false, bool button2 = false) {
    return {id, x, 2 * x, tip, button1, button2};
}

} // namespace

Q_DECLARE_METATYPE(Kind)

class TestConversion : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void a_pen_becomes_a_record_data();
    void a_pen_becomes_a_record();
    void a_pens_position_is_always_its_newest();
    void a_repeated_pen_report_is_nothing();
    void a_claimed_pen_is_never_handed_back();
    void an_unclaimed_pen_is_handed_back_at_once();
    void a_pen_stays_handed_back_while_its_tip_is_down();
    void an_unclaimed_hovering_pen_alternates();
    void a_repeat_is_not_handed_back_either();
    void pens_are_independent();

    void a_contact_becomes_a_record_data() { kinds(); }
    void a_contact_becomes_a_record();
    void an_unclaimed_contact_is_offered_once_data() { kinds(); }
    void an_unclaimed_contact_is_offered_once();
    void a_lifted_contact_is_offered_again_data() { kinds(); }
    void a_lifted_contact_is_offered_again();
    void a_repeated_report_is_nothing_data() { kinds(); }
    void a_repeated_report_is_nothing();
    void a_repeat_of_what_was_taken_out_is_nothing_data() { kinds(); }
    void a_repeat_of_what_was_taken_out_is_nothing();
    void a_claimed_contact_is_carried_data() { kinds(); }
    void a_claimed_contact_is_carried();
    void a_lift_is_offered_and_ends_the_contact_data() { kinds(); }
    void a_lift_is_offered_and_ends_the_contact();
    void an_unclaimed_lift_hands_the_contact_over_data() { kinds(); }
    void an_unclaimed_lift_hands_the_contact_over();
    void a_contact_no_longer_claimed_is_dropped_data() { kinds(); }
    void a_contact_no_longer_claimed_is_dropped();
    void a_carried_claim_need_not_be_renewed_data() { kinds(); }
    void a_carried_claim_need_not_be_renewed();
    void claimed_and_unclaimed_part_ways_data() { kinds(); }
    void claimed_and_unclaimed_part_ways();
    void an_empty_report_without_contacts_is_nothing_data() { kinds(); }
    void an_empty_report_without_contacts_is_nothing();
    void a_contact_twice_in_a_report_counts_by_its_last_data() { kinds(); }
    void a_contact_twice_in_a_report_counts_by_its_last();
    void contacts_keep_their_order_data() { kinds(); }
    void contacts_keep_their_order();
    void fingers_and_erasers_are_independent();
    void a_finger_has_one_size_and_an_eraser_two();
    void the_record_is_offered_in_place();
    void a_hundred_thousand_random_reports_do_no_harm();

private:
    static void kinds();
    void report(Kind kind, const std::vector<Contact>& contacts);
    void receive(std::vector<Controls>& contacts);
    int first_id(Kind kind) const { return kind == ByTouch ? 256 : 512; }
    const std::vector<Controls>& carried(Kind kind) const {
        return kind == ByTouch ? m_osterly->touch_contacts : m_osterly->erase_contacts;
    }
    /// The ids of the contacts in the signals since the last time; a -1 ends each signal.
    Ids take_offered();
    /// The ids of the fingers that were handed back, of a report each.
    std::vector<Ids> take_handed_back();
    int pens_handed_back();

    std::unique_ptr<Osterly> m_osterly;
    std::vector<Controls> m_pens; ///< that were offered
    std::vector<std::vector<Controls>> m_offers;
    std::set<int> m_claims; ///< ids that the receiver claims
};

void TestConversion::init() {
    s_x += 100;
    driver().reset();
    driver().set_boards({{7}});
    m_osterly = std::make_unique<Osterly>(nullptr);
    m_pens.clear();
    m_offers.clear();
    m_claims.clear();
    connect(m_osterly.get(), &Osterly::out_osterly_pen_event, this, [this](Controls& record) {
        m_pens.push_back(record);
        if (m_claims.count(record.id) != 0)
            record.accepted |= 1;
    });
    const auto take = [this](std::vector<Controls>& contacts) { receive(contacts); };
    connect(m_osterly.get(), &Osterly::out_osterly_touch_event, this, take);
    connect(m_osterly.get(), &Osterly::out_osterly_erase_event, this, take);
    driver().take_log();
}

void TestConversion::cleanup() {
    m_osterly.reset();
}

void TestConversion::kinds() {
    QTest::addColumn<Kind>("kind");
    QTest::newRow("touch") << ByTouch;
    QTest::newRow("erase") << ByErase;
}

void TestConversion::receive(std::vector<Controls>& contacts) {
    m_offers.push_back(contacts);
    for (Controls& record : contacts) {
        if (m_claims.count(record.id) != 0)
            record.accepted |= 1;
    }
}

void TestConversion::report(Kind kind, const std::vector<Contact>& contacts) {
    if (kind == ByTouch) {
        Hardware::TouchEvent event;
        for (const Contact& c : contacts)
            event.append({c.id, s_x + c.x, 5, c.width, c.tip});
        m_osterly->in_touch_event(event);
    } else {
        Hardware::EraseEvent event;
        for (const Contact& c : contacts)
            event.append({c.id, s_x + c.x, 5, c.width, c.height, c.tip});
        m_osterly->in_erase_event(event);
    }
}

Ids TestConversion::take_offered() {
    Ids ids;
    for (const auto& offer : std::exchange(m_offers, {})) {
        for (const Controls& record : offer)
            ids.push_back(record.id);
        ids.push_back(-1);
    }
    return ids;
}

std::vector<Ids> TestConversion::take_handed_back() {
    std::vector<Ids> reports;
    for (const std::string& call : driver().take_log()) {
        const QByteArray line = QByteArray::fromStdString(call);
        const QByteArray head("tavelSendTouchPacketToSystem(7, ");
        if (!line.startsWith(head))
            qFatal("not a hand-back: %s", call.c_str());
        const QByteArray bytes = QByteArray::fromHex(line.mid(head.size()).chopped(1));
        Ids ids;
        for (int at = 2; at < bytes.size(); at += 7)
            ids.push_back(bytes.at(at) & 0x7F);
        reports.push_back(ids);
    }
    return reports;
}

int TestConversion::pens_handed_back() {
    const auto reports = take_handed_back(); // a pen's nine bytes read as one finger's
    return static_cast<int>(reports.size());
}

void TestConversion::a_pen_becomes_a_record_data() {
    QTest::addColumn<int>("number");
    QTest::addColumn<bool>("tip");
    QTest::addColumn<bool>("button1");
    QTest::addColumn<int>("id");
    QTest::addColumn<int>("buttons");
    QTest::newRow("pen 0 hovering") << 0 << false << false << -1 << 0;
    QTest::newRow("pen 0") << 0 << true << false << -1 << 1;
    QTest::newRow("pen 3 with its second button") << 3 << false << true << -4 << 2;
    QTest::newRow("pen 15 with both") << 15 << true << true << -16 << 3;
}

void TestConversion::a_pen_becomes_a_record() {
    QFETCH(const int, number);
    QFETCH(const bool, tip);
    QFETCH(const bool, button1);
    QFETCH(const int, id);
    QFETCH(const int, buttons);
    m_claims = {id};
    m_osterly->in_pen_event({number, s_x, 65535, tip, button1, true});
    QCOMPARE(m_pens.size(), std::size_t(1));
    const Controls& record = m_pens.front();
    QCOMPARE(record.id, id);
    QCOMPARE(record.accepted, 0);
    QCOMPARE(record.buttons, buttons);
    QVERIFY(record.radius_x == 0.0 && record.radius_y == 0.0);
    QVERIFY(record.x == s_x * 3.0517578125e-05 && record.hoop_x == record.x);
    QVERIFY(record.y == 65535 / 32768.0 && record.hoop_y == record.y);
}

void TestConversion::a_pens_position_is_always_its_newest() {
    m_claims = {-1};
    for (int i = 0; i < 50; ++i) {
        const int x = s_x + (i * 7919) % 20000;
        m_osterly->in_pen_event(pen(0, x, i % 7 != 0));
        QVERIFY(m_pens.back().x == x / 32768.0 && m_pens.back().y == 2 * x / 32768.0);
    }
}

void TestConversion::a_repeated_pen_report_is_nothing() {
    m_claims = {-1};
    m_osterly->in_pen_event(pen(0, s_x, true));
    m_osterly->in_pen_event(pen(0, s_x, true));
    m_osterly->in_pen_event(pen(0, s_x, true, false, true)); // of no use to the record
    QCOMPARE(m_pens.size(), std::size_t(1));
    m_osterly->in_pen_event(pen(0, s_x, true, true));
    QCOMPARE(m_pens.size(), std::size_t(2));
    m_osterly->in_pen_event(pen(0, s_x + 1, true, true));
    QCOMPARE(m_pens.size(), std::size_t(3));
    QCOMPARE(pens_handed_back(), 0);
}

void TestConversion::a_claimed_pen_is_never_handed_back() {
    m_claims = {-2};
    for (int i = 0; i < 4; ++i)
        m_osterly->in_pen_event(pen(1, s_x + i, i % 2 == 0));
    QCOMPARE(m_pens.size(), std::size_t(4));
    QCOMPARE(pens_handed_back(), 0);
    QVERIFY(!m_osterly->redirected[-2]);
}

void TestConversion::an_unclaimed_pen_is_handed_back_at_once() {
    m_osterly->in_pen_event({1, 0x0102, 0x0304, true, true, true});
    QCOMPARE(m_pens.size(), std::size_t(1));
    QCOMPARE(driver().take_log(), Strings{"tavelSendTouchPacketToSystem(7, 092181020104030000)"});
    QVERIFY(m_osterly->redirected[-2]);
}

void TestConversion::a_pen_stays_handed_back_while_its_tip_is_down() {
    m_osterly->in_pen_event(pen(1, s_x, true)); // nobody claims it
    m_claims = {-2};
    m_osterly->in_pen_event(pen(1, s_x + 1, true));
    m_osterly->in_pen_event(pen(1, s_x + 2, true, true));
    QCOMPARE(m_pens.size(), std::size_t(1));
    QCOMPARE(pens_handed_back(), 3);
    // The tip alone decides, though the other button is down.
    m_osterly->in_pen_event(pen(1, s_x + 3, false, true));
    QCOMPARE(m_pens.size(), std::size_t(1));
    QCOMPARE(pens_handed_back(), 1);
    m_osterly->in_pen_event(pen(1, s_x + 4, true));
    QCOMPARE(m_pens.size(), std::size_t(2));
    QCOMPARE(pens_handed_back(), 0);
}

void TestConversion::an_unclaimed_hovering_pen_alternates() {
    std::vector<std::size_t> offered;
    for (int i = 0; i < 6; ++i) {
        m_osterly->in_pen_event(pen(1, s_x + i, false));
        offered.push_back(m_pens.size());
        QCOMPARE(pens_handed_back(), 1);
    }
    QCOMPARE(offered, (std::vector<std::size_t>{1, 1, 2, 2, 3, 3}));
}

void TestConversion::a_repeat_is_not_handed_back_either() {
    m_osterly->in_pen_event(pen(1, s_x, true));
    QCOMPARE(pens_handed_back(), 1);
    m_osterly->in_pen_event(pen(1, s_x, true));
    QCOMPARE(pens_handed_back(), 0);
    QCOMPARE(m_pens.size(), std::size_t(1));
}

void TestConversion::pens_are_independent() {
    m_claims = {-1};
    m_osterly->in_pen_event(pen(0, s_x, true));
    m_osterly->in_pen_event(pen(1, s_x, true));
    m_osterly->in_pen_event(pen(0, s_x + 1, true));
    m_osterly->in_pen_event(pen(1, s_x + 1, true));
    QCOMPARE(m_pens.size(), std::size_t(3));
    QCOMPARE(take_handed_back(), (std::vector<Ids>{{1}, {1}}));
}

void TestConversion::a_contact_becomes_a_record() {
    QFETCH(const Kind, kind);
    report(kind, {{127, 1, true, 100, 200}});
    QCOMPARE(m_offers.size(), std::size_t(1));
    const Controls& record = m_offers.front().front();
    QCOMPARE(record.id, first_id(kind) + 127);
    QCOMPARE(record.accepted, 0);
    QCOMPARE(record.buttons, 1);
    QVERIFY(record.radius_x == 100 / 32768.0);
    QVERIFY(record.radius_y == (kind == ByTouch ? 100 : 200) / 32768.0);
    QVERIFY(record.x == (s_x + 1) / 32768.0 && record.hoop_x == record.x);
    QVERIFY(record.y == 5 / 32768.0 && record.hoop_y == record.y);
}

void TestConversion::an_unclaimed_contact_is_offered_once() {
    QFETCH(const Kind, kind);
    const int id = first_id(kind);
    report(kind, {{1, 0}, {2, 0}});
    QCOMPARE(take_offered(), (Ids{id + 1, id + 2, -1}));
    QVERIFY(carried(kind).empty());
    QVERIFY(m_osterly->redirected[id + 1] && m_osterly->redirected[id + 2]);
    report(kind, {{1, 1}, {2, 1}});
    QCOMPARE(take_offered(), Ids());
    const std::vector<Ids> both = {{1, 2}, {1, 2}};
    QCOMPARE(take_handed_back(), kind == ByTouch ? both : std::vector<Ids>());
}

void TestConversion::a_lifted_contact_is_offered_again() {
    QFETCH(const Kind, kind);
    const int id = first_id(kind);
    report(kind, {{1, 0}});
    report(kind, {{1, 0, false}}); // goes where the contact has gone
    QCOMPARE(take_offered(), (Ids{id + 1, -1}));
    QVERIFY(!m_osterly->redirected[id + 1]);
    report(kind, {{1, 5}});
    QCOMPARE(take_offered(), (Ids{id + 1, -1}));
    const std::vector<Ids> all = {{1}, {1}, {1}};
    QCOMPARE(take_handed_back(), kind == ByTouch ? all : std::vector<Ids>());
}

void TestConversion::a_repeated_report_is_nothing() {
    QFETCH(const Kind, kind);
    const int id = first_id(kind);
    m_claims = {id + 1};
    report(kind, {{1, 0}});
    report(kind, {{1, 0}});
    QCOMPARE(take_offered(), (Ids{id + 1, -1}));
    QCOMPARE(take_handed_back(), std::vector<Ids>());
    // The repeat is merged before it is dropped: it takes the claim away, which the next report
    // then has to get anew.
    QCOMPARE(carried(kind).front().accepted, 0);
    report(kind, {{1, 0, true, 31, 40}}); // another size
    QCOMPARE(take_offered(), (Ids{id + 1, -1}));
}

void TestConversion::a_repeat_of_what_was_taken_out_is_nothing() {
    QFETCH(const Kind, kind);
    report(kind, {{1, 0}});
    take_offered();
    take_handed_back();
    report(kind, {{1, 0}});
    QCOMPARE(take_offered(), Ids());
    QCOMPARE(take_handed_back(), std::vector<Ids>());
}

void TestConversion::a_claimed_contact_is_carried() {
    QFETCH(const Kind, kind);
    const int id = first_id(kind);
    m_claims = {id + 1, id + 2};
    report(kind, {{1, 0}});
    report(kind, {{2, 0}});
    QCOMPARE(take_offered(), (Ids{id + 1, -1, id + 1, id + 2, -1}));
    report(kind, {{2, 9}});
    const Controls& absent = m_offers.back().front();
    QCOMPARE(absent.id, id + 1);
    QCOMPARE(absent.accepted, 1);
    QCOMPARE(absent.buttons, 1);
    QCOMPARE(absent.x, s_x / 32768.0);
    const Controls& present = m_offers.back().back();
    QCOMPARE(present.id, id + 2);
    QCOMPARE(present.accepted, 0);
    QCOMPARE(present.x, (s_x + 9) / 32768.0);
    QCOMPARE(take_handed_back(), std::vector<Ids>());
}

void TestConversion::a_lift_is_offered_and_ends_the_contact() {
    QFETCH(const Kind, kind);
    const int id = first_id(kind);
    m_claims = {id + 1};
    report(kind, {{1, 0}});
    report(kind, {{1, 0, false}});
    QCOMPARE(m_offers.back().front().buttons, 0);
    QCOMPARE(take_offered(), (Ids{id + 1, -1, id + 1, -1}));
    QVERIFY(carried(kind).empty());
    report(kind, {});
    QCOMPARE(take_offered(), Ids());
    QCOMPARE(take_handed_back(), std::vector<Ids>());
}

void TestConversion::an_unclaimed_lift_hands_the_contact_over() {
    QFETCH(const Kind, kind);
    const int id = first_id(kind);
    m_claims = {id + 1};
    report(kind, {{1, 0}});
    m_claims.clear();
    report(kind, {{1, 0, false}});
    QCOMPARE(take_offered(), (Ids{id + 1, -1, id + 1, -1}));
    QVERIFY(carried(kind).empty());
    QVERIFY(!m_osterly->redirected[id + 1]); // it is up already
    QCOMPARE(take_handed_back(), kind == ByTouch ? std::vector<Ids>{{1}} : std::vector<Ids>());
}

void TestConversion::a_contact_no_longer_claimed_is_dropped() {
    QFETCH(const Kind, kind);
    const int id = first_id(kind);
    m_claims = {id + 1};
    report(kind, {{1, 0}});
    m_claims.clear();
    report(kind, {{1, 1}});
    QVERIFY(carried(kind).empty());
    QVERIFY(m_osterly->redirected[id + 1]);
    QCOMPARE(take_offered(), (Ids{id + 1, -1, id + 1, -1}));
    QCOMPARE(take_handed_back(), kind == ByTouch ? std::vector<Ids>{{1}} : std::vector<Ids>());
    m_claims = {id + 1};
    report(kind, {{1, 2}});
    QCOMPARE(take_offered(), Ids());
}

void TestConversion::a_carried_claim_need_not_be_renewed() {
    QFETCH(const Kind, kind);
    const int id = first_id(kind);
    m_claims = {id + 1};
    report(kind, {{1, 0}});
    m_claims = {id + 2};
    report(kind, {{2, 0}});
    QCOMPARE(carried(kind).size(), std::size_t(2));
    take_offered();
    report(kind, {{2, 1}});
    QCOMPARE(take_offered(), (Ids{id + 1, id + 2, -1}));
}

void TestConversion::claimed_and_unclaimed_part_ways() {
    QFETCH(const Kind, kind);
    const int id = first_id(kind);
    m_claims = {id + 2};
    report(kind, {{1, 0}, {2, 0}, {3, 0}});
    report(kind, {{1, 1}, {2, 1}, {3, 1, false}});
    QCOMPARE(take_offered(), (Ids{id + 1, id + 2, id + 3, -1, id + 2, -1}));
    const std::vector<Ids> both = {{1, 3}, {1, 3}};
    QCOMPARE(take_handed_back(), kind == ByTouch ? both : std::vector<Ids>());
    QVERIFY(m_osterly->redirected[id + 1]);
    QVERIFY(!m_osterly->redirected[id + 2]);
    QVERIFY(!m_osterly->redirected[id + 3]);
    QCOMPARE(carried(kind).size(), std::size_t(1));
}

void TestConversion::an_empty_report_without_contacts_is_nothing() {
    QFETCH(const Kind, kind);
    report(kind, {{1, 0}}); // unclaimed: what was carried last is not empty
    report(kind, {});       // differs, though there is nothing to offer
    take_offered();
    take_handed_back();
    report(kind, {});
    QCOMPARE(take_offered(), Ids());
    QCOMPARE(take_handed_back(), std::vector<Ids>());
    // Since the empty report the same contact at the same place is no repeat any more.
    report(kind, {{1, 0}});
    QCOMPARE(take_handed_back(), kind == ByTouch ? std::vector<Ids>{{1}} : std::vector<Ids>());
}

void TestConversion::a_contact_twice_in_a_report_counts_by_its_last() {
    QFETCH(const Kind, kind);
    const int id = first_id(kind);
    m_claims = {id + 1};
    report(kind, {{1, 3}, {1, 4}});
    QCOMPARE(m_offers.back().size(), std::size_t(1));
    QCOMPARE(m_offers.back().front().x, (s_x + 4) / 32768.0);
    m_claims.clear();
    report(kind, {{1, 5}, {1, 6, false}});
    const std::vector<Ids> twice = {{1, 1}};
    QCOMPARE(take_handed_back(), kind == ByTouch ? twice : std::vector<Ids>());
    QVERIFY(!m_osterly->redirected[id + 1]);
}

void TestConversion::contacts_keep_their_order() {
    QFETCH(const Kind, kind);
    const int id = first_id(kind);
    m_claims = {id + 1, id + 2, id + 3, id + 4};
    report(kind, {{4, 0}, {2, 0}, {3, 0}});
    report(kind, {{3, 1}, {1, 1}, {2, 1, false}});
    report(kind, {{1, 2}, {4, 2}});
    QCOMPARE(take_offered(), (Ids{id + 4, id + 2, id + 3, -1, id + 4, id + 2, id + 3, id + 1, -1,
                                  id + 4, id + 3, id + 1, -1}));
}

void TestConversion::fingers_and_erasers_are_independent() {
    m_claims = {512};
    report(ByTouch, {{0, 0}});
    report(ByErase, {{0, 0}});
    QCOMPARE(take_offered(), (Ids{256, -1, 512, -1}));
    QVERIFY(m_osterly->redirected[256]);
    QVERIFY(!m_osterly->redirected[512]);
    QCOMPARE(m_osterly->touch_contacts.size(), std::size_t(0));
    QCOMPARE(m_osterly->erase_contacts.size(), std::size_t(1));
    report(ByErase, {{3, 0}});
    QCOMPARE(take_offered(), (Ids{512, 515, -1}));
}

void TestConversion::a_finger_has_one_size_and_an_eraser_two() {
    report(ByTouch, {{1, 0, true, 65535, 1}});
    QVERIFY(m_offers.back().front().radius_x == 65535 / 32768.0);
    QVERIFY(m_offers.back().front().radius_y == 65535 / 32768.0);
    report(ByErase, {{1, 0, true, 65535, 1}});
    QVERIFY(m_offers.back().front().radius_x == 65535 / 32768.0);
    QVERIFY(m_offers.back().front().radius_y == 1 / 32768.0);
}

void TestConversion::the_record_is_offered_in_place() {
    connect(m_osterly.get(), &Osterly::out_osterly_touch_event, this,
            [this](std::vector<Controls>& contacts) {
                QCOMPARE(&contacts, &m_osterly->touch_contacts);
            });
    report(ByTouch, {{1, 0}});
    QCOMPARE(m_offers.size(), std::size_t(1));
}

void TestConversion::a_hundred_thousand_random_reports_do_no_harm() {
    driver().keeps_log = false;
    quint32 state = 20261120;
    const auto random = [&state](quint32 below) {
        state = state * 1664525U + 1013904223U;
        return static_cast<int>((state >> 8) % below);
    };
    for (int i = 0; i < 100000; ++i) {
        std::string bytes(static_cast<std::size_t>(random(300)), '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(random(256));
        constexpr char tags[] = {0x21, 0x45, 0x46, static_cast<char>(0xA5), 0x41};
        if (bytes.size() > 1 && random(10) != 0)
            bytes[1] = tags[random(5)];
        if (bytes.size() > 1 && bytes[1] == 0x21 && random(2) == 0) {
            bytes.resize(8);
            bytes[0] = 8;
        }
        m_claims.clear();
        for (int n = random(40); n > 0; --n)
            m_claims.insert(256 + random(384));
        driver().report(bytes);
        m_offers.clear();
        m_pens.clear();
    }
    // It works as ever: contacts that are down are handed over, and claimed once they have lifted.
    for (const Controls& carried_on : m_osterly->touch_contacts)
        QVERIFY(carried_on.buttons != 0);
    report(ByTouch, {{1, 1, false}});
    m_claims = {257};
    report(ByTouch, {{1, 2}});
    report(ByTouch, {{1, 3}});
    QVERIFY(!m_offers.empty());
}

QTEST_GUILESS_MAIN(TestConversion)
#include "tst_conversion.moc"
