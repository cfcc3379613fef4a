#include "tests/tools/example_summary.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QtTest>

namespace {

/// By the keys and indices on the way to it, with dots in between.
QJsonValue at(const QJsonObject& object, const char* path) {
    QJsonValue value = object;
    for (const QString& key : QString::fromLatin1(path).split(QLatin1Char('.'))) {
        bool is_index = false;
        const int index = key.toInt(&is_index);
        value = is_index ? value[index] : value[key];
    }
    return value;
}

/// The figures of one contact or kind as its row of the table has them.
QStringList row(const QJsonObject& figures, bool is_kind) {
    const auto text = [&figures](const char* path, double scale, int digits) {
        const QJsonValue value = at(figures, path);
        return value.isDouble() ? QString::number(value.toDouble() * scale, 'f', digits)
                                : QStringLiteral("-");
    };
    QStringList cells{text("reports", 1, 0)};
    if (is_kind)
        cells << text("most_down_at_once", 1, 0);
    cells << text("reports_per_second.median", 1, 0) << text("reports_per_second.least", 1, 0)
          << text("interval_down_ms.median", 1, 1) << text("interval_down_ms.p99", 1, 1)
          << text("interval_down_ms.longest", 1, 1) << text("dropouts", 1, 0)
          << text("interval_hovering_ms.median", 1, 1) << text("interval_hovering_ms.p99", 1, 1)
          << text("interval_hovering_ms.longest", 1, 1) << text("at_rest.seconds", 1, 1);
    if (figures.value(QStringLiteral("at_rest")).isNull())
        cells << QStringLiteral("-");
    else
        cells << text("at_rest.spread_x", 1, 0) << QStringLiteral("x")
              << text("at_rest.spread_y", 1, 0);
    cells << text("board_percent", 1, 1);
    return cells;
}

} // namespace

class TestJson : public QObject {
    Q_OBJECT

private slots:
    void every_figure_has_its_key_data();
    void every_figure_has_its_key();
    void a_figure_that_there_is_none_of_is_null_data();
    void a_figure_that_there_is_none_of_is_null();
    void the_map_is_lines();
    void the_table_has_the_same_figures();
};

void TestJson::every_figure_has_its_key_data() {
    QTest::addColumn<QJsonValue>("expected");
    const auto figure = [](const char* path, const QJsonValue& value) {
        QTest::newRow(path) << value;
    };
    const auto text = [](const char* ascii) { return QString::fromLatin1(ascii); };
    figure("recorded_s", 3.07);
    figure("kinds.0.kind", text("pen"));
    figure("kinds.1.kind", text("touch"));
    figure("kinds.2.kind", text("eraser"));
    figure("kinds.0.reports", 303);
    figure("kinds.0.most_down_at_once", 1);
    figure("kinds.0.contacts.0.name", text("pen0"));
    figure("kinds.0.contacts.0.reports", 303);
    figure("kinds.0.contacts.0.reports_per_second.median", 100);
    figure("kinds.0.contacts.0.reports_per_second.least", 96);
    figure("kinds.0.contacts.0.interval_down_ms.median", 10);
    figure("kinds.0.contacts.0.interval_down_ms.p99", 10);
    figure("kinds.0.contacts.0.interval_down_ms.longest", 50);
    figure("kinds.0.contacts.0.interval_hovering_ms.longest", 10);
    figure("kinds.0.contacts.0.dropouts", 1);
    figure("kinds.0.contacts.0.at_rest.seconds", 2);
    figure("kinds.0.contacts.0.at_rest.spread_x", 30);
    figure("kinds.0.contacts.0.at_rest.spread_y", 10);
    figure("kinds.0.contacts.0.board_percent", 200.0 / 128);
    figure("kinds.1.contacts.0.name", text("touch12"));
    figure("kinds.1.contacts.0.never_lifted.since_s", 1);
    figure("kinds.1.contacts.0.never_lifted.last_report_s", 1.012);
    figure("kinds.1.interval_down_ms.longest", 7);
    figure("kinds.2.reports", 0);
    figure("kinds.2.dropouts", 0);
}

void TestJson::every_figure_has_its_key() {
    QFETCH(const QJsonValue, expected);
    const QByteArray printed = QJsonDocument(toJson(example_summary())).toJson();
    const QJsonObject parsed = QJsonDocument::fromJson(printed).object();
    QCOMPARE(at(parsed, QTest::currentDataTag()), expected);
}

void TestJson::a_figure_that_there_is_none_of_is_null_data() {
    QTest::addColumn<QJsonObject>("holder");
    const QJsonObject whole = toJson(example_summary());
    for (const char* const figure :
         {"reports_per_second", "interval_down_ms", "interval_hovering_ms", "at_rest"})
        QTest::newRow(figure) << at(whole, "kinds.2").toObject();
    QTest::newRow("never_lifted") << at(whole, "kinds.0.contacts.0").toObject();
}

void TestJson::a_figure_that_there_is_none_of_is_null() {
    QFETCH(const QJsonObject, holder);
    const QString key = QString::fromLatin1(QTest::currentDataTag());
    QVERIFY(holder.contains(key));
    QVERIFY(holder.value(key).isNull());
}

void TestJson::the_map_is_lines() {
    const QJsonArray map = at(toJson(example_summary()), "kinds.0.board_map").toArray();
    QCOMPARE(map.size(), 8);
    QCOMPARE(map.at(2).toString(), QStringLiteral(".......#........"));
    QCOMPARE(map.at(7).toString(), QStringLiteral(".........#......"));
    QCOMPARE(map.at(0).toString(), QString(16, QLatin1Char('.')));
}

void TestJson::the_table_has_the_same_figures() {
    const Summary summary = example_summary();
    QList<QStringList> expected;
    for (const QJsonValue& kind : toJson(summary).value(QStringLiteral("kinds")).toArray()) {
        expected << row(kind.toObject(), true);
        for (const QJsonValue& contact : kind[QStringLiteral("contacts")].toArray())
            expected << row(contact.toObject(), false);
    }
    QList<QStringList> shown;
    static const QRegularExpression row_of_figures(
        QStringLiteral("^ *(pens|touches|erasers|pen0|touch12) +\\d"));
    for (const QString& line :
         QString::fromStdString(tableText(summary)).split(QLatin1Char('\n'))) {
        if (row_of_figures.match(line).hasMatch())
            shown << line.simplified().split(QLatin1Char(' ')).mid(1);
    }
    QCOMPARE(shown, expected);
}

QTEST_GUILESS_MAIN(TestJson)
#include "tst_json.moc"
