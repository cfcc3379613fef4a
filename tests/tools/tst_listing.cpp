#include "tools/trace/listing.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

namespace {

QList<Boards::Board> some_boards() {
    return {{0, {QStringLiteral("H1"), 0xabcd, 4, 4, 10, 2}},
            {2, {QString(), 0, 0x12345, 1, 0, 0}}};
}

} // namespace

class TestListing : public QObject {
    Q_OBJECT

private slots:
    void each_board_is_a_line();
    void each_board_is_an_object();
};

void TestListing::each_board_is_a_line() {
    QCOMPARE(QByteArray::fromStdString(listText(some_boards())),
             QByteArray("board 0: H1 (abcd:0004), pens: 4, touches: 10\n"
                        "board 2: without a name (0000:12345), pens: 1, touches: 0\n"));
}

void TestListing::each_board_is_an_object() {
    const QByteArray expected = R"({"boards": [
        {"index": 0, "hid": "H1", "vid": "abcd", "pid": "0004", "pens": 4, "touches": 10, "xl": 2},
        {"index": 2, "hid": "", "vid": "0000", "pid": "12345", "pens": 1, "touches": 0, "xl": 0}]})";
    QCOMPARE(toJson(some_boards()), QJsonDocument::fromJson(expected).object());
}

QTEST_GUILESS_MAIN(TestListing)
#include "tst_listing.moc"
