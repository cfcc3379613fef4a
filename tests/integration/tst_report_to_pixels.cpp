#include "app/kestrunedialog.h"
#include "strokes/strokesview.h"
#include "tests/app/dialog_warnings.h"
#include "tests/gui/expected_pictures.h"
#include "tests/support/board_reports.h"
#include "tests/support/fake_driver.h"
#include "tests/support/no_warnings.h"

#include <QApplication>
#include <QScreen>
#include <QtTest>
#include <atomic>
#include <chrono>
#include <cmath>
#include <memory>
#include <thread>
#include <vector>

using Strings = std::vector<std::string>;

namespace {

// Faster than boards are, and not so fast that the program would only have reports to take in.
constexpr std::chrono::microseconds kReportInterval(500);
constexpr std::chrono::microseconds kNoticeInterval(5000);

constexpr int kDevice = 7;
constexpr double kPenWidth = 3.0; // half of it, as all widths here
// On a screen of 800x600.
constexpr int kTouchSize = 512; // board units
constexpr double kTouchWidth = 12.5;
constexpr int kEraserWidth = 1024;
constexpr int kEraserHeight = 2048;
constexpr double kEraserSize = 37.5; // of the two the larger one

FakeDriver& driver() {
    return FakeDriver::instance();
}

/// Threads that the driver calls back on. Joined at the end of the scope.
class DriverThreads {
public:
    ~DriverThreads() { join(); }

    void send(Strings reports) {
        m_threads.emplace_back([reports = std::move(reports)] {
            for (const std::string& report : reports)
                driver().report(report);
        });
    }
    /// Does it over and over, until the end. It is told how often it has been done.
    template <typename Function>
    void repeat(std::chrono::microseconds interval, Function function) {
        m_threads.emplace_back([this, interval, function] {
            for (int n = 0; !m_is_over; ++n) {
                function(n);
                std::this_thread::sleep_for(interval);
            }
        });
    }
    void join() {
        m_is_over = true;
        for (std::thread& thread : m_threads)
            thread.join();
        m_threads.clear();
    }

private:
    std::atomic<bool> m_is_over{false};
    std::vector<std::thread> m_threads;
};

/// What the driver sees from now on.
class CallLog {
public:
    CallLog() { driver().take_log(); }

    const Strings& read() {
        for (std::string& call : driver().take_log())
            m_calls.push_back(std::move(call));
        return m_calls;
    }

private:
    Strings m_calls;
};

/// The calls that set the reports of the one board there is to a mode.
Strings configuration(const std::string& mode) {
    Strings calls;
    for (const char* const pen : {"0", "1", "2", "3"}) {
        const std::string next(1, static_cast<char>(pen[0] + 1));
        calls.push_back("tavelWritePacket(7, :PN" + std::string(pen) + "2\\r)");
        calls.push_back("tavelSetPointingDeviceDestination(7, " + next + ", 0, " + mode + ")");
    }
    calls.push_back("tavelSetTouchDestination(7, " + mode + ")");
    calls.push_back("tavelWritePacket(7, :PL" + mode + "\\r)");
    return calls;
}

/// How many pixels of a color a column of the layer has; those of an edge count by their part.
double ink(const QImage& layer, int x, QColor color) {
    double sum = 0.0;
    for (int y = 0; y < layer.height(); ++y) {
        const QRgb pixel = layer.pixel(x, y);
        if (qAlpha(pixel) != 0 && (qRed(pixel) > qGreen(pixel)) == (color == Qt::red))
            sum += qAlpha(pixel) / 255.0;
    }
    return sum;
}

} // namespace

/// From the driver's callback on a thread of its own to the strokes on the screen, in one program.
/// What the input source has seen of a contact it remembers beyond its own end, so that each test
/// has contacts of its own.
class TestReportToPixels : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void reports_become_strokes();
    void ten_threads_draw_at_once();
    void contacts_of_another_window_are_handed_back();
    void a_contact_that_was_handed_back_stays_so_until_it_lifts();
    void a_storm_of_callbacks_meets_the_end_data();
    void a_storm_of_callbacks_meets_the_end();
    void the_end_switches_the_reports_off();

private:
    void make_dialog();
    const QImage& layer() const { return *m_dialog->m_strokes_view->m_strokes_image; }

    BoardReports m_board{QSize(0, 0)};
    QSize m_screen;
    std::unique_ptr<KestruneDialog> m_dialog;
};

void TestReportToPixels::initTestCase() {
    no_warnings::watch();
    m_screen = QGuiApplication::primaryScreen()->size();
    QCOMPARE(m_screen, QSize(800, 600));
    m_board = BoardReports(m_screen);
}

void TestReportToPixels::init() {
    driver().reset();
    driver().set_boards({{kDevice}});
    make_dialog();
}

void TestReportToPixels::cleanup() {
    m_dialog.reset();
    QCOMPARE(no_warnings::taken(), QStringList());
}

void TestReportToPixels::make_dialog() {
    m_dialog = std::make_unique<KestruneDialog>(nullptr);
    QVERIFY(are_dialog_warnings(no_warnings::taken()));
    QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
    QCOMPARE(m_dialog->m_strokes_view->geometry(), QRect(QPoint(0, 0), m_screen));
    QTRY_COMPARE(layer().size(), m_screen);
}

void TestReportToPixels::reports_become_strokes() {
    const QPoint a(100, 200);
    const QPoint b(500, 200);
    const QPoint c(100, 400);
    const QPoint d(500, 400);
    const QPoint e(300, 150);
    const QPoint f(300, 450);
    expected::Strokes strokes(m_screen);
    DriverThreads threads;

    threads.send({m_board.pen(2, a, true), m_board.pen(2, b, true), m_board.pen(2, b, false)});
    strokes.in(Qt::red).stroke(a, b, kPenWidth);
    QTRY_VERIFY(layer() == strokes.layer());
    QCOMPARE(ink(layer(), 200, Qt::red), 2 * kPenWidth);
    QCOMPARE(layer().pixelColor(200, 200), QColor(Qt::red));

    threads.send({m_board.touch(5, c, true, kTouchSize), m_board.touch(5, d, true, kTouchSize),
                  m_board.touch(5, d, false, kTouchSize)});
    strokes.in(Qt::green).stroke(c, d, kTouchWidth);
    QTRY_VERIFY(layer() == strokes.layer());
    QVERIFY(std::abs(ink(layer(), 200, Qt::green) - 2 * kTouchWidth) < 0.05);
    QCOMPARE(layer().pixelColor(200, 400), QColor(Qt::green));

    threads.send({m_board.erase(1, e, true, kEraserWidth, kEraserHeight),
                  m_board.erase(1, f, true, kEraserWidth, kEraserHeight),
                  m_board.erase(1, f, false, kEraserWidth, kEraserHeight)});
    strokes.in(Qt::white).stroke(e, f, kEraserSize);
    QTRY_VERIFY(layer() == strokes.layer());
    QCOMPARE(ink(layer(), 300, Qt::red), 0.0);
    QCOMPARE(ink(layer(), 263, Qt::green), 0.0);
    QCOMPARE(ink(layer(), 336, Qt::green), 0.0);
    QCOMPARE(ink(layer(), 261, Qt::red), 2 * kPenWidth);
    QCOMPARE(ink(layer(), 339, Qt::red), 2 * kPenWidth);

    const auto& finished = m_dialog->m_strokes_view->m_strokes;
    QCOMPARE(finished.size(), std::size_t{3});
    QTRY_VERIFY(m_dialog->m_strokes_view->get_dirty_region().isEmpty()); // a frame has shown them
    QVERIFY(driver().take_log().back() == configuration("1").back());    // nothing handed back
}

void TestReportToPixels::ten_threads_draw_at_once() {
    constexpr int count = 10;
    expected::Strokes strokes(m_screen);
    {
        DriverThreads threads;
        for (int pen = 0; pen < count; ++pen) {
            const int y = 40 + 55 * pen;
            Strings reports;
            strokes.dot({50, y}, kPenWidth);
            for (int x = 50; x < 750; x += 50) {
                reports.push_back(m_board.pen(pen, {x, y}, true));
                reports.push_back(m_board.pen(pen, {x + 50, y}, true));
                strokes.line({x, y}, {x + 50, y}, kPenWidth);
            }
            reports.push_back(m_board.pen(pen, {750, y}, false));
            strokes.dot({750, y}, kPenWidth);
            threads.send(reports);
        }
    }
    QTRY_COMPARE(m_dialog->m_strokes_view->m_strokes.size(), std::size_t{count});
    QVERIFY(layer() == strokes.layer());
}

void TestReportToPixels::contacts_of_another_window_are_handed_back() {
    QWidget other(nullptr, Qt::Window);
    QApplication::setActiveWindow(&other);
    CallLog log;
    const QPoint a(120, 210);
    const QPoint b(520, 310);
    DriverThreads threads;
    threads.send({
        m_board.erase(2, a, true, kEraserWidth, kEraserHeight),
        m_board.erase(2, b, false, kEraserWidth, kEraserHeight),
        m_board.pen(3, a, true),
        m_board.pen(3, b, true),
        m_board.pen(3, b, false),
        m_board.touch(6, a, true, kTouchSize),
        m_board.touch(6, b, true, kTouchSize),
        m_board.touch(6, b, false, kTouchSize),
    });

    Strings expected;
    for (const std::string& bytes :
         {m_board.handed_back_pen(3, a, true), m_board.handed_back_pen(3, b, true),
          m_board.handed_back_pen(3, b, false), m_board.handed_back_touch(6, a, true),
          m_board.handed_back_touch(6, b, true), m_board.handed_back_touch(6, b, false)})
        expected.push_back("tavelSendTouchPacketToSystem(7, " + BoardReports::hexadecimal(bytes) +
                           ")");
    QTRY_COMPARE(log.read(), expected);
    QVERIFY(layer() == expected::Strokes(m_screen).layer());
    QVERIFY(m_dialog->m_strokes_view->m_id_to_draw_state_map.empty());
}

void TestReportToPixels::a_contact_that_was_handed_back_stays_so_until_it_lifts() {
    QWidget other(nullptr, Qt::Window);
    QApplication::setActiveWindow(&other);
    CallLog log;
    const QPoint a(130, 220);
    const QPoint b(530, 320);
    DriverThreads threads;
    threads.send({m_board.pen(4, a, true)});
    QTRY_COMPARE(log.read().size(), std::size_t{1});

    QApplication::setActiveWindow(m_dialog.get());
    threads.send({m_board.pen(4, b, true), m_board.pen(4, b, false), m_board.pen(4, a, true),
                  m_board.pen(4, a, false)});
    QTRY_COMPARE(m_dialog->m_strokes_view->m_strokes.size(), std::size_t{1});
    QVERIFY(layer() == expected::Strokes(m_screen).dot(a, kPenWidth).layer());
    QCOMPARE(log.read().size(), std::size_t{3}); // to its lift
}

void TestReportToPixels::a_storm_of_callbacks_meets_the_end_data() {
    QTest::addColumn<bool>("closes");
    QTest::newRow("closed, then destroyed") << true;
    QTest::newRow("destroyed") << false;
}

void TestReportToPixels::a_storm_of_callbacks_meets_the_end() {
    QFETCH(const bool, closes);
    for (int round = 0; round < 5; ++round) {
        if (round > 0)
            init();
        driver().keeps_log = false;
        std::atomic<bool> is_ending{false};
        const auto send = [&is_ending](const std::string& report) {
            int called = driver().report(report);
            if (is_ending)
                called += driver().report(report, true); // callbacks that were cleared, too
            return called;
        };
        DriverThreads threads;
        for (int i = 0; i < 3; ++i) {
            const auto at = [i](int n) { return QPoint(n % 800, 100 + 200 * i); };
            threads.repeat(kReportInterval,
                           [=, &send](int n) { send(m_board.pen(i, at(n), true)); });
            threads.repeat(kReportInterval, [=, &send](int n) {
                send(m_board.touch(i, at(n), true, kTouchSize));
                send(m_board.erase(i, at(n), n % 2 == 0, 256, 256));
            });
        }
        threads.repeat(kNoticeInterval, [](int) { driver().notice(); });
        QTRY_COMPARE(m_dialog->m_strokes_view->m_id_to_draw_state_map.size(), std::size_t{9});
        is_ending = true;
        if (closes)
            m_dialog->close();
        m_dialog.reset();
        QVERIFY(send(m_board.pen(1, {1, 1}, true)) > 0); // which lead nowhere
    }
}

void TestReportToPixels::the_end_switches_the_reports_off() {
    driver().take_log();
    m_dialog.reset();
    Strings expected = configuration("0");
    expected.insert(expected.end(), {"tavelClearCallback(0)", "tavelDetach()", "tavelDetach()"});
    QCOMPARE(driver().take_log(), expected);
}

QTEST_MAIN(TestReportToPixels)
#include "tst_report_to_pixels.moc"
