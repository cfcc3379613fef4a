#include "bench/rawreports.h"

namespace raw {

namespace {

void append_number(QByteArray& report, int value) {
    report.append(static_cast<char>(value & 0xFF));
    report.append(static_cast<char>(value >> 8));
}

QByteArray contacts_report(char tag, const std::vector<Point>& contacts,
                           const std::vector<int>& sizes) {
    QByteArray report;
    report.append('\0');
    report.append(tag);
    int id = 0;
    for (const Point& at : contacts) {
        report.append(static_cast<char>(0x80 | id++)); // down
        append_number(report, at.x);
        append_number(report, at.y);
        for (const int size : sizes)
            append_number(report, size);
    }
    return report;
}

} // namespace

QByteArray pen(int id, Point at) {
    QByteArray report("\x08\x21\x00", 3);
    append_number(report, at.x);
    append_number(report, at.y);
    report.append(static_cast<char>(id << 3 | 1)); // down
    return report;
}

QByteArray touches(const std::vector<Point>& contacts, int size) {
    return contacts_report('\x45', contacts, {size});
}

QByteArray erasers(const std::vector<Point>& contacts, int width, int height) {
    return contacts_report('\x46', contacts, {width, height});
}

} // namespace raw
