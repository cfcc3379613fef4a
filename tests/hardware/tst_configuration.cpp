#include "hardware/configuration.h"

#include "hardware/tavelhardware.h"
#include "tests/support/fake_driver.h"

#include <QtTest>

using Strings = std::vector<std::string>;

namespace {

FakeDriver& driver() {
    return FakeDriver::instance();
}

/// The calls for one board, the modes being 0 or 1.
Strings calls(const std::string& device, const std::array<int, 4>& pens, int touches, int erasers) {
    Strings log;
    for (std::size_t i = 0; i < pens.size(); ++i) {
        log.push_back("tavelWritePacket(" + device + ", :PN" + std::to_string(i) + "2\\r)");
        log.push_back("tavelSetPointingDeviceDestination(" + device + ", " + std::to_string(i + 1) +
                      ", 0, " + std::to_string(pens.at(i)) + ')');
    }
    log.push_back("tavelSetTouchDestination(" + device + ", " + std::to_string(touches) + ')');
    log.push_back("tavelWritePacket(" + device + ", :PL" + std::to_string(erasers) + "\\r)");
    return log;
}

} // namespace

class TestConfiguration : public QObject {
    Q_OBJECT

private slots:
    void what_is_wanted_is_set_in_its_order_data();
    void what_is_wanted_is_set_in_its_order();
    void every_board_is_set();
    void without_a_session_nothing_is_set();
};

Q_DECLARE_METATYPE(WantedReports)
Q_DECLARE_METATYPE(Strings)

void TestConfiguration::what_is_wanted_is_set_in_its_order_data() {
    QTest::addColumn<WantedReports>("wanted");
    QTest::addColumn<Strings>("expected");
    QTest::newRow("all") << WantedReports::all() << calls("7", {1, 1, 1, 1}, 1, 1);
    QTest::newRow("none") << WantedReports::none() << calls("7", {0, 0, 0, 0}, 0, 0);
    QTest::newRow("two pens") << WantedReports{{false, true, true, false}, false, false}
                              << calls("7", {0, 1, 1, 0}, 0, 0);
    QTest::newRow("touches") << WantedReports{{}, true, false} << calls("7", {0, 0, 0, 0}, 1, 0);
    QTest::newRow("erasers") << WantedReports{{}, false, true} << calls("7", {0, 0, 0, 0}, 0, 1);
}

void TestConfiguration::what_is_wanted_is_set_in_its_order() {
    QFETCH(const WantedReports, wanted);
    QFETCH(const Strings, expected);
    driver().reset();
    driver().set_boards({{7}});
    TavelHardware hardware(nullptr);
    QVERIFY(hardware.init());
    driver().take_log();
    configure(hardware, wanted);
    QCOMPARE(driver().take_log(), expected);
}

void TestConfiguration::every_board_is_set() {
    driver().reset();
    driver().set_boards({{7}, {9}});
    TavelHardware hardware(nullptr);
    QVERIFY(hardware.init());
    driver().take_log();
    configure(hardware, WantedReports::all());
    Strings both;
    const Strings first = calls("7", {1, 1, 1, 1}, 1, 1);
    const Strings second = calls("9", {1, 1, 1, 1}, 1, 1);
    for (std::size_t i = 0; i < first.size(); ++i) {
        both.push_back(first[i]);
        both.push_back(second[i]);
    }
    QCOMPARE(driver().take_log(), both);
}

void TestConfiguration::without_a_session_nothing_is_set() {
    driver().reset();
    driver().set_boards({{7}});
    TavelHardware hardware(nullptr);
    configure(hardware, WantedReports::all());
    QCOMPARE(driver().take_log(), Strings());
}

QTEST_GUILESS_MAIN(TestConfiguration)
#include "tst_configuration.moc"
