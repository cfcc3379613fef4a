#include "hardware/tavelwrapper.h"

#include "loader.h"
#include "operations.h"

#include <QtTest>
#include <cstdio>
#include <cstring>
#include <memory>
#include <type_traits>
#include <unistd.h>

static_assert(std::is_abstract_v<AbstractHardwareWrapper>);
static_assert(std::has_virtual_destructor_v<AbstractHardwareWrapper>);
static_assert(std::is_default_constructible_v<TavelWrapper>);
static_assert(std::is_base_of_v<AbstractHardwareWrapper, TavelWrapper>);
static_assert(!std::is_copy_constructible_v<TavelWrapper>); // it owns the library

static_assert(sizeof(_TAVEL_DEVICE_INFO) >= 1024);
static_assert(_TAVEL_DEVICE_INFO::kFormatTagOffset == 0);
static_assert(_TAVEL_DEVICE_INFO::kStateOffset == 4);
static_assert(_TAVEL_DEVICE_INFO::kDeviceOffset == 20);
static_assert(_TAVEL_DEVICE_INFO::kAdditionalInfoOffset == 325);
static_assert(_TAVEL_DEVICE_INFO::kFormatTag == 9 && _TAVEL_DEVICE_INFO::kStateUsable == 1);
static_assert(offsetof(_TAVEL_DEVICE_INFO, bytes) == 0);

namespace {

const QString kFull = QStringLiteral(STANDIN_FULL);
const QString kWithoutEx = QStringLiteral(STANDIN_WITHOUT_EX);
const QString kBare = QStringLiteral(STANDIN_BARE);
const QString kNoLibrary = QStringLiteral(STANDIN_NONE);

const QString kOpen = QStringLiteral("dlopen(libtavelboardex.so.1, RTLD_NOW)");
const QString kClose = QStringLiteral("dlclose");
const QString kAttach = QStringLiteral("tavelAttach()");
const QString kDetach = QStringLiteral("tavelDetach()");

QStringList lookups() {
    QStringList log;
    for (const char* const name : entryPoints()) {
        log.append(QStringLiteral("dlsym(%1)").arg(QString::fromLatin1(name)));
    }
    return log;
}

QString symbolOf(const Operation& operation) {
    return QString::fromLatin1(operation.seen).section(QLatin1Char('('), 0, 0);
}

/// What the driver sees of the operation, as a log.
QStringList only(const char* call) {
    return *call == '\0' ? QStringList() : QStringList(QString::fromLatin1(call));
}

void addOperations() {
    QTest::addColumn<int>("index");
    int index = 0;
    for (const Operation& operation : operations()) {
        QTest::addRow("%s: %s", operation.name, operation.seen) << index;
        ++index;
    }
}

/// What is written to standard error in its lifetime.
class StandardError {
public:
    StandardError() : m_own(dup(STDERR_FILENO)) { dup2(fileno(m_file.get()), STDERR_FILENO); }
    ~StandardError() {
        dup2(m_own, STDERR_FILENO);
        close(m_own);
    }
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;

    QString text() const {
        QByteArray written(4096, '\0');
        const ssize_t length = pread(fileno(m_file.get()), written.data(), written.size(), 0);
        return QString::fromLocal8Bit(written.constData(), static_cast<int>(length));
    }

private:
    struct Close {
        void operator()(FILE* file) const { std::fclose(file); }
    };

    std::unique_ptr<FILE, Close> m_file{std::tmpfile()};
    int m_own;
};

} // namespace

class TestTavelWrapper : public QObject {
    Q_OBJECT

private slots:
    void init();

    void the_library_is_found_on_the_search_path();
    void construction_binds_and_attaches_once();
    void construction_without_attach_binds_all_the_same();
    void a_result_of_attaching_is_of_no_matter_to_construction();
    void destruction_detaches_and_unloads();
    void destruction_without_detach_unloads();
    void detaching_leaves_the_library_in_use();
    void attaching_again_binds_again();
    void attaching_again_forgets_what_is_no_longer_found();

    void without_a_library_the_loader_s_message_is_written_as_it_is();
    void each_attempt_to_attach_without_a_library_writes_a_message();
    void a_library_that_came_later_is_attached();
    void with_a_library_nothing_is_written();

    void an_operation_reaches_its_entry_point_data();
    void an_operation_reaches_its_entry_point();
    void an_operation_that_the_driver_lacks_falls_back_data();
    void an_operation_that_the_driver_lacks_falls_back();
    void with_a_bare_library_everything_falls_back_data();
    void with_a_bare_library_everything_falls_back();
    void without_a_library_everything_falls_back_data();
    void without_a_library_everything_falls_back();

    void the_extended_settings_fall_back_to_the_plain_ones();
    void the_extended_settings_fall_back_to_nothing_last();
    void a_driver_s_truth_is_in_the_low_byte_data();
    void a_driver_s_truth_is_in_the_low_byte();
    void what_the_driver_writes_through_a_reference_arrives();
    void every_operation_is_among_the_rows();
    void the_virtual_slots_stand_in_their_order();
};

void TestTavelWrapper::init() {
    s_loader = Loader();
    s_loader.instead = kFull;
}

void TestTavelWrapper::the_library_is_found_on_the_search_path() {
    s_loader.instead.clear();
    TavelWrapper wrapper;
    QVERIFY2(wrapper.isLoaded(), "LD_LIBRARY_PATH is to lead to the full stand-in driver");
    QCOMPARE(s_loader.log.constFirst(), kOpen);
    QVERIFY(isInMemory(kFull));
}

void TestTavelWrapper::construction_binds_and_attaches_once() {
    const TavelWrapper wrapper;
    QVERIFY(wrapper.isLoaded());
    QCOMPARE(s_loader.takeLog(), QStringList(kOpen) + lookups() + QStringList(kAttach));
    QVERIFY(!s_loader.foreignHandle);
}

void TestTavelWrapper::construction_without_attach_binds_all_the_same() {
    s_loader.hidden.insert(QStringLiteral("tavelAttach"));
    const TavelWrapper wrapper;
    QVERIFY(wrapper.isLoaded());
    QCOMPARE(s_loader.takeLog(), QStringList(kOpen) + lookups());
}

void TestTavelWrapper::a_result_of_attaching_is_of_no_matter_to_construction() {
    s_loader.driverResult = -1;
    TavelWrapper wrapper;
    QVERIFY(wrapper.isLoaded());
    s_loader.takeLog();
    wrapper.Lock();
    QCOMPARE(s_loader.takeLog(), QStringList(QStringLiteral("tavelLock()")));
}

void TestTavelWrapper::destruction_detaches_and_unloads() {
    {
        const TavelWrapper wrapper;
        QVERIFY(isInMemory(kFull));
        s_loader.takeLog();
    }
    QCOMPARE(s_loader.takeLog(), QStringList({kDetach, kClose}));
    QVERIFY(!s_loader.foreignHandle);
    QVERIFY(!isInMemory(kFull));
}

void TestTavelWrapper::destruction_without_detach_unloads() {
    s_loader.hidden.insert(QStringLiteral("tavelDetach"));
    {
        const TavelWrapper wrapper;
        s_loader.takeLog();
    }
    QCOMPARE(s_loader.takeLog(), QStringList(kClose));
}

void TestTavelWrapper::detaching_leaves_the_library_in_use() {
    {
        TavelWrapper wrapper;
        s_loader.takeLog();
        s_loader.driverResult = 17;
        QCOMPARE(wrapper.Detach(), 17);
        QVERIFY(wrapper.isLoaded());
        QCOMPARE(wrapper.GetDeviceCount(), 17);
        QCOMPARE(s_loader.takeLog(),
                 QStringList({kDetach, QStringLiteral("tavelGetDeviceCount()")}));
    }
    QCOMPARE(s_loader.takeLog(), QStringList({kDetach, kClose}));
}

void TestTavelWrapper::attaching_again_binds_again() {
    s_loader.hidden.insert(QStringLiteral("tavelLock"));
    TavelWrapper wrapper;
    s_loader.driverResult = 17;
    QCOMPARE(wrapper.Lock(), 0);
    s_loader.takeLog();
    s_loader.hidden.clear();
    QCOMPARE(wrapper.Attach(), 17);
    QCOMPARE(s_loader.takeLog(), lookups() + QStringList(kAttach));
    QVERIFY(!s_loader.foreignHandle);
    QCOMPARE(wrapper.Lock(), 17);
}

void TestTavelWrapper::attaching_again_forgets_what_is_no_longer_found() {
    TavelWrapper wrapper;
    s_loader.takeLog();
    s_loader.driverResult = 17;
    s_loader.hidden = {QStringLiteral("tavelAttach"), QStringLiteral("tavelLock")};
    QCOMPARE(wrapper.Attach(), 0);
    QCOMPARE(wrapper.Lock(), 0);
    QCOMPARE(s_loader.takeLog(), lookups());
}

void TestTavelWrapper::without_a_library_the_loader_s_message_is_written_as_it_is() {
    s_loader.instead = kNoLibrary;
    {
        const StandardError error;
        const TavelWrapper wrapper;
        QVERIFY(!wrapper.isLoaded());
        QVERIFY(s_loader.lastError.contains(QStringLiteral("libtavelboardex.so.1")));
        QCOMPARE(error.text(), s_loader.lastError);
    }
    QCOMPARE(s_loader.takeLog(), QStringList(kOpen));
}

void TestTavelWrapper::each_attempt_to_attach_without_a_library_writes_a_message() {
    s_loader.instead = kNoLibrary;
    s_loader.driverResult = 17;
    const StandardError error;
    TavelWrapper wrapper;
    const QString message = s_loader.lastError;
    QCOMPARE(wrapper.Attach(), 0);
    QCOMPARE(error.text(), message + message);
    QCOMPARE(wrapper.Attach(), 0);
    QCOMPARE(error.text(), message + message + message);
    QCOMPARE(s_loader.takeLog(), QStringList({kOpen, kOpen, kOpen}));
    QVERIFY(!wrapper.isLoaded());
}

void TestTavelWrapper::a_library_that_came_later_is_attached() {
    s_loader.instead = kNoLibrary;
    {
        const StandardError error;
        TavelWrapper wrapper;
        s_loader.takeLog();
        s_loader.instead = kFull;
        s_loader.driverResult = 17;
        QCOMPARE(wrapper.Attach(), 17);
        QVERIFY(wrapper.isLoaded());
        QCOMPARE(s_loader.takeLog(), QStringList(kOpen) + lookups() + QStringList(kAttach));
        QCOMPARE(error.text(), s_loader.lastError);
    }
    QCOMPARE(s_loader.takeLog(), QStringList({kDetach, kClose}));
}

void TestTavelWrapper::with_a_library_nothing_is_written() {
    const StandardError error;
    for (const QString& library : {kFull, kWithoutEx, kBare}) {
        s_loader.instead = library;
        TavelWrapper wrapper;
        wrapper.Attach();
        wrapper.Detach();
    }
    QCOMPARE(error.text(), QString());
}

void TestTavelWrapper::an_operation_reaches_its_entry_point_data() {
    addOperations();
}

void TestTavelWrapper::an_operation_reaches_its_entry_point() {
    QFETCH(const int, index);
    const Operation& operation = operations().at(index);
    TavelWrapper wrapper;
    s_loader.takeLog();
    for (const int result : {0, 1, -1, 0x12345678, 0x7FFFFF01}) {
        s_loader.driverResult = result;
        int expected = result;
        if (*operation.seen == '\0') {
            expected = operation.missing;
        } else if (operation.result == Operation::Result::True) {
            expected = (result & 0xFF) != 0 ? 1 : 0;
        } else if (operation.result == Operation::Result::LowByteIsOne) {
            expected = (result & 0xFF) == 1 ? 1 : 0;
        }
        QCOMPARE(operation.call(wrapper), expected);
        QCOMPARE(s_loader.takeDriverCalls(), only(operation.seen));
    }
}

void TestTavelWrapper::an_operation_that_the_driver_lacks_falls_back_data() {
    addOperations();
}

void TestTavelWrapper::an_operation_that_the_driver_lacks_falls_back() {
    QFETCH(const int, index);
    const Operation& operation = operations().at(index);
    s_loader.hidden.insert(symbolOf(operation));
    TavelWrapper wrapper;
    s_loader.takeLog();
    s_loader.driverResult = 17;
    const bool fallsBackToAnother = *operation.instead != '\0';
    QCOMPARE(operation.call(wrapper), fallsBackToAnother ? 17 : operation.missing);
    QCOMPARE(s_loader.takeDriverCalls(), only(operation.instead));
}

void TestTavelWrapper::with_a_bare_library_everything_falls_back_data() {
    addOperations();
}

void TestTavelWrapper::with_a_bare_library_everything_falls_back() {
    QFETCH(const int, index);
    const Operation& operation = operations().at(index);
    s_loader.instead = kBare;
    {
        TavelWrapper wrapper;
        QVERIFY(wrapper.isLoaded());
        QCOMPARE(operation.call(wrapper), operation.missing);
    }
    QCOMPARE(s_loader.takeDriverCalls(), QStringList());
}

void TestTavelWrapper::without_a_library_everything_falls_back_data() {
    addOperations();
}

void TestTavelWrapper::without_a_library_everything_falls_back() {
    QFETCH(const int, index);
    const Operation& operation = operations().at(index);
    s_loader.instead = kNoLibrary;
    const StandardError error;
    TavelWrapper wrapper;
    QCOMPARE(operation.call(wrapper), operation.missing);
    QCOMPARE(s_loader.takeDriverCalls(), QStringList());
}

void TestTavelWrapper::the_extended_settings_fall_back_to_the_plain_ones() {
    s_loader.instead = kWithoutEx;
    TavelWrapper wrapper;
    s_loader.takeLog();
    s_loader.driverResult = 17;
    QCOMPARE(wrapper.SetTouchDestinationEx(3, 1, true), 17);
    QCOMPARE(wrapper.SetPointingDeviceDestinationEx(3, 2, true, 1, false), 17);
    QCOMPARE(s_loader.takeLog(),
             QStringList({QStringLiteral("tavelSetTouchDestination(3, 1)"),
                          QStringLiteral("tavelSetPointingDeviceDestination(3, 2, true, 1)")}));
}

void TestTavelWrapper::the_extended_settings_fall_back_to_nothing_last() {
    s_loader.instead = kWithoutEx;
    s_loader.hidden = {QStringLiteral("tavelSetTouchDestination"),
                       QStringLiteral("tavelSetPointingDeviceDestination")};
    TavelWrapper wrapper;
    s_loader.takeLog();
    s_loader.driverResult = 17;
    QCOMPARE(wrapper.SetTouchDestinationEx(3, 1, true), 0);
    QCOMPARE(wrapper.SetPointingDeviceDestinationEx(3, 2, true, 1, false), 0);
    QCOMPARE(s_loader.takeLog(), QStringList());
}

void TestTavelWrapper::a_driver_s_truth_is_in_the_low_byte_data() {
    QTest::addColumn<int>("result");
    QTest::addColumn<bool>("anything");
    QTest::addColumn<bool>("one");
    QTest::newRow("0") << 0 << false << false;
    QTest::newRow("1") << 1 << true << true;
    QTest::newRow("2") << 2 << true << false;
    QTest::newRow("-1") << -1 << true << false;
    QTest::newRow("0 below other bits") << 0x5A5A5A00 << false << false;
    QTest::newRow("1 below other bits") << 0x5A5A5A01 << true << true;
    QTest::newRow("2 below other bits") << 0x5A5A5A02 << true << false;
}

void TestTavelWrapper::a_driver_s_truth_is_in_the_low_byte() {
    QFETCH(const int, result);
    QFETCH(const bool, anything);
    QFETCH(const bool, one);
    TavelWrapper wrapper;
    s_loader.driverResult = result;
    _TAVEL_DEVICE_INFO info{};
    QCOMPARE(wrapper.EnumDeviceInfo(0, &info), anything);
    QCOMPARE(wrapper.GetTouchEnabled(0), one);
    QCOMPARE(wrapper.GetTouchSystemRedirectionEnabled(0), one);
}

void TestTavelWrapper::what_the_driver_writes_through_a_reference_arrives() {
    TavelWrapper wrapper;
    int connected = 41;
    wrapper.SerialGetConnected(connected);
    QCOMPARE(connected, 42); // the stand-in counts it up
}

void TestTavelWrapper::every_operation_is_among_the_rows() {
    QSet<QString> names;
    for (const Operation& operation : operations()) {
        names.insert(QString::fromLatin1(operation.name));
    }
    QCOMPARE(names.size(), 50);
    QCOMPARE(int(entryPoints().size()), 47);
}

void TestTavelWrapper::the_virtual_slots_stand_in_their_order() {
    // A pointer to a virtual member begins with the member's offset in the table of its class; on
    // some processors its lowest bit says that it is one.
    const auto offset = [](auto member) {
        std::ptrdiff_t value = 0;
        std::memcpy(&value, &member, sizeof value);
        return value & ~std::ptrdiff_t(1);
    };
    using Driver = AbstractHardwareWrapper;
    const std::ptrdiff_t offsets[] = {
        offset(&Driver::Attach),
        offset(&Driver::Detach),
        offset(&Driver::Interface),
        offset(&Driver::SetCallback),
        offset(&Driver::ClearCallback),
        offset(&Driver::SetPnpCallback),
        offset(&Driver::ClearPnpCallback),
        offset(&Driver::SendCommand),
        offset(&Driver::WritePacket),
        offset(&Driver::SetXferMask),
        offset(&Driver::GetDeviceCount),
        offset(&Driver::EnumDeviceInfo),
        offset(&Driver::SetPointingDeviceDestination),
        offset(&Driver::SetPointingDeviceDestinationEx),
        offset(&Driver::GetPointingDeviceDestination),
        offset(&Driver::SetTouchDestination),
        offset(&Driver::SetTouchDestinationEx),
        offset(&Driver::GetTouchDestination),
        offset(&Driver::SetTouchEnabled),
        offset(&Driver::GetTouchEnabled),
        offset(&Driver::SetTouchSystemRedirectionEnabled),
        offset(&Driver::GetTouchSystemRedirectionEnabled),
        offset(&Driver::SetLATEDetection),
        offset(&Driver::GetLATEDetection),
        offset(&Driver::IsSomethingOnBoard),
        offset(&Driver::SetTwoFingerScroll),
        offset(&Driver::OpenSynchronousChannel),
        offset(&Driver::CloseSynchronousChannel),
        offset(&Driver::ReadSynchronousPacket),
        offset(&Driver::SetCalibrationMode),
        offset(&Driver::SetCalibrationData),
        offset(&Driver::SetCalibrationDataEx),
        offset(&Driver::SetWirelessCalibrationData),
        offset(&Driver::GetCalibrationPoints),
        offset(&Driver::GetHIDCoordinateReportMode),
        offset(&Driver::SetHIDCoordinateReportMode),
        offset(&Driver::LibraryVersionNumber),
        offset(&Driver::Lock),
        offset(&Driver::Unlock),
        offset(&Driver::SerialConnect),
        offset(&Driver::SerialDisconnect),
        offset(&Driver::SerialGetConnected),
        offset(&Driver::SerialSetStartupMode),
        offset(&Driver::SerialGetStartupMode),
        offset(&Driver::SetDoubleClickDistance),
        offset(&Driver::SetDriverDebugMode),
        offset(&Driver::Echo),
        offset(&Driver::Inject),
        offset(&Driver::SendTouchPacketToSystem),
        offset(&Driver::ReverseButtons),
    };
    QCOMPARE(int(std::size(offsets)), 50);
    std::ptrdiff_t expected = 2 * sizeof(void*); // after the destructor, which takes two
    for (const std::ptrdiff_t actual : offsets) {
        QCOMPARE(actual, expected);
        expected += sizeof(void*);
    }
}

QTEST_GUILESS_MAIN(TestTavelWrapper)
#include "tst_tavelwrapper.moc"
