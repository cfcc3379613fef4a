#include "tools/trace/summary.h"

#include <QString>
#include <QStringList>
#include <algorithm>

namespace {

const QString& none() {
    static const QString dash = QStringLiteral("-");
    return dash;
}

QString decimal(double value) {
    return QString::number(value, 'f', 1);
}

QString milliseconds(std::int64_t value_us) {
    return decimal(static_cast<double>(value_us) / 1e3);
}

QString seconds(std::int64_t value_ns) {
    return decimal(static_cast<double>(value_ns) / 1e9);
}

QStringList intervals(const Distribution& of_us) {
    if (of_us.empty())
        return {none(), none(), none()};
    return {milliseconds(of_us.median()), milliseconds(of_us.percentile(99)),
            milliseconds(of_us.greatest())};
}

/// The columns but for the name and how many are down.
QStringList columns(const Figures& figures) {
    QStringList row;
    if (figures.rates.empty())
        row << none() << none();
    else
        row << QString::number(figures.rates.median()) << QString::number(figures.rates.least());
    row += intervals(figures.down_us);
    row << QString::number(figures.dropouts);
    row += intervals(figures.hovering_us);
    if (figures.rest.blocks == 0)
        row << none() << none();
    else
        row << decimal(figures.rest.seconds())
            << QString::number(figures.rest.spreadX) + QStringLiteral(" x ") +
                   QString::number(figures.rest.spreadY);
    row << decimal(figures.coverage.percent());
    return row;
}

QString plural(ContactKind kind) {
    const QString one = QString::fromStdString(kindName(kind));
    return one + (one.endsWith(QLatin1Char('h')) ? QStringLiteral("es") : QStringLiteral("s"));
}

/// Two lines of headings, and what belongs to each column at its right.
QList<QStringList> rows(const Summary& summary) {
    QList<QStringList> rows = {
        {QString(), QString(), QStringLiteral("down"), QStringLiteral("reports/s"), QString(),
         QStringLiteral("ms, down"), QString(), QString(), QString(), QStringLiteral("ms, hover"),
         QString(), QString(), QStringLiteral("at rest"), QString(), QStringLiteral("board")},
        {QStringLiteral("contact"), QStringLiteral("reports"), QStringLiteral("at once"),
         QStringLiteral("median"), QStringLiteral("least"), QStringLiteral("median"),
         QStringLiteral("99 %"), QStringLiteral("longest"), QStringLiteral("dropouts"),
         QStringLiteral("median"), QStringLiteral("99 %"), QStringLiteral("longest"),
         QStringLiteral("s"), QStringLiteral("spread"), QStringLiteral("%")}};
    for (const KindSummary& kind : summary.kinds) {
        rows.append(QStringList{plural(kind.kind), QString::number(kind.figures.reports),
                                QString::number(kind.mostDown)} +
                    columns(kind.figures));
        for (const ContactSummary& contact : kind.contacts)
            rows.append(QStringList{QStringLiteral("  ") + QString::fromStdString(contactName(
                                                               kind.kind, contact.number)),
                                    QString::number(contact.figures.reports), QString()} +
                        columns(contact.figures));
    }
    return rows;
}

/// The first column to the left, the others to the right.
QString aligned(const QList<QStringList>& rows) {
    QList<int> widths;
    for (int column = 0; column < rows.first().size(); ++column) {
        int width = 0;
        for (const QStringList& row : rows)
            width = std::max(width, row.at(column).size());
        widths.append(width);
    }
    QString lines;
    for (const QStringList& row : rows) {
        QString line = row.first().leftJustified(widths.first());
        for (int column = 1; column < row.size(); ++column)
            line += QStringLiteral("  ") + row.at(column).rightJustified(widths.at(column));
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        lines += line + QLatin1Char('\n');
    }
    return lines;
}

QString neverLifted(const Summary& summary) {
    QString lines;
    for (const KindSummary& kind : summary.kinds) {
        for (const ContactSummary& contact : kind.contacts) {
            if (contact.neverLifted)
                lines += QStringLiteral("%1 never lifted: down since %2 s, last reported at %3 s\n")
                             .arg(QString::fromStdString(contactName(kind.kind, contact.number)),
                                  seconds(contact.neverLifted->since_ns),
                                  seconds(contact.neverLifted->lastReport_ns));
        }
    }
    return lines.isEmpty() ? lines : QLatin1Char('\n') + lines;
}

/// Where contacts were down, the kinds beside each other.
QString maps(const Summary& summary) {
    QString lines;
    for (int row = -1; row < Coverage::kRows; ++row) {
        QStringList beside;
        for (const KindSummary& kind : summary.kinds) {
            if (kind.figures.coverage.cells() == 0)
                continue;
            const auto map = kind.figures.coverage.map();
            beside << (row < 0 ? plural(kind.kind).leftJustified(Coverage::kColumns)
                               : QString::fromStdString(map[static_cast<std::size_t>(row)]));
        }
        lines += beside.join(QStringLiteral("    ")).trimmed() + QLatin1Char('\n');
    }
    return lines.trimmed().isEmpty() ? QString() : QLatin1Char('\n') + lines;
}

} // namespace

std::string tableText(const Summary& summary) {
    const QString whole = QStringLiteral("Recorded %1 s.\n\n").arg(seconds(summary.elapsed_ns)) +
                          aligned(rows(summary)) + neverLifted(summary) + maps(summary);
    return whole.toStdString();
}
