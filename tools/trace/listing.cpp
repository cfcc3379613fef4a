#include "tools/trace/listing.h"

#include <QJsonArray>
#include <QJsonObject>

namespace {

/// As the driver spells it: four digits at least.
QString hexadecimal(int id) {
    return QStringLiteral("%1").arg(static_cast<unsigned int>(id), 4, 16, QLatin1Char('0'));
}

} // namespace

std::string listText(const QList<Boards::Board>& boards) {
    QString lines;
    for (const auto& [index, info] : boards)
        lines += QStringLiteral("board %1: %2 (%3:%4), pens: %5, touches: %6\n")
                     .arg(QString::number(index),
                          info.hid.isEmpty() ? QStringLiteral("without a name") : info.hid,
                          hexadecimal(info.vid), hexadecimal(info.pid), QString::number(info.xp),
                          QString::number(info.xt));
    return lines.toStdString();
}

QJsonObject toJson(const QList<Boards::Board>& boards) {
    QJsonArray array;
    for (const auto& [index, info] : boards)
        array.append(QJsonObject{{QStringLiteral("index"), index},
                                 {QStringLiteral("hid"), info.hid},
                                 {QStringLiteral("vid"), hexadecimal(info.vid)},
                                 {QStringLiteral("pid"), hexadecimal(info.pid)},
                                 {QStringLiteral("pens"), info.xp},
                                 {QStringLiteral("touches"), info.xt},
                                 {QStringLiteral("xl"), info.xl}});
    return {{QStringLiteral("boards"), array}};
}
