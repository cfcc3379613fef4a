#include "tools/trace/summary.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

namespace {

// QJsonValue has no integers but these; a report's count in a lifetime fits a double as well.
QJsonValue number(std::uint64_t value) {
    return static_cast<qint64>(value);
}

QJsonValue seconds(std::int64_t value_ns) {
    return static_cast<double>(value_ns) / 1e9;
}

QJsonValue milliseconds(std::int64_t value_us) {
    return static_cast<double>(value_us) / 1e3;
}

QJsonValue rates(const Distribution& of) {
    if (of.empty())
        return QJsonValue::Null;
    return QJsonObject{{QStringLiteral("median"), qint64{of.median()}},
                       {QStringLiteral("least"), qint64{of.least()}}};
}

QJsonValue intervals(const Distribution& of_us) {
    if (of_us.empty())
        return QJsonValue::Null;
    return QJsonObject{{QStringLiteral("median"), milliseconds(of_us.median())},
                       {QStringLiteral("p99"), milliseconds(of_us.percentile(99))},
                       {QStringLiteral("longest"), milliseconds(of_us.greatest())}};
}

QJsonValue rest(const RestFinder::Rest& of) {
    if (of.blocks == 0)
        return QJsonValue::Null;
    return QJsonObject{{QStringLiteral("seconds"), of.seconds()},
                       {QStringLiteral("spread_x"), of.spreadX},
                       {QStringLiteral("spread_y"), of.spreadY}};
}

QJsonArray map(const Coverage& of) {
    QJsonArray rows;
    for (const std::string& row : of.map())
        rows.append(QString::fromStdString(row));
    return rows;
}

QJsonObject object(const Figures& figures) {
    return {{QStringLiteral("reports"), number(figures.reports)},
            {QStringLiteral("reports_per_second"), rates(figures.rates)},
            {QStringLiteral("interval_down_ms"), intervals(figures.down_us)},
            {QStringLiteral("dropouts"), number(figures.dropouts)},
            {QStringLiteral("interval_hovering_ms"), intervals(figures.hovering_us)},
            {QStringLiteral("at_rest"), rest(figures.rest)},
            {QStringLiteral("board_percent"), figures.coverage.percent()},
            {QStringLiteral("board_map"), map(figures.coverage)}};
}

QJsonValue neverLifted(const std::optional<NeverLifted>& of) {
    if (!of)
        return QJsonValue::Null;
    return QJsonObject{{QStringLiteral("since_s"), seconds(of->since_ns)},
                       {QStringLiteral("last_report_s"), seconds(of->lastReport_ns)}};
}

QJsonObject object(ContactKind kind, const ContactSummary& contact) {
    QJsonObject whole = object(contact.figures);
    whole.insert(QStringLiteral("name"), QString::fromStdString(contactName(kind, contact.number)));
    whole.insert(QStringLiteral("never_lifted"), neverLifted(contact.neverLifted));
    return whole;
}

QJsonObject object(const KindSummary& kind) {
    QJsonObject whole = object(kind.figures);
    whole.insert(QStringLiteral("kind"), QString::fromStdString(kindName(kind.kind)));
    whole.insert(QStringLiteral("most_down_at_once"), kind.mostDown);
    QJsonArray contacts;
    for (const ContactSummary& contact : kind.contacts)
        contacts.append(object(kind.kind, contact));
    whole.insert(QStringLiteral("contacts"), contacts);
    return whole;
}

} // namespace

QJsonObject toJson(const Summary& summary) {
    QJsonArray kinds;
    for (const KindSummary& kind : summary.kinds)
        kinds.append(object(kind));
    return {{QStringLiteral("recorded_s"), seconds(summary.elapsed_ns)},
            {QStringLiteral("kinds"), kinds}};
}
