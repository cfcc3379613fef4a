#include "drivers/simulated/board.h"

#include <algorithm>

namespace {

constexpr std::string_view kEraseReportMode = ":PL"; // 0 or 1 follows
constexpr std::string_view kTouchStatus = ":QT";
constexpr int kPensThatAreTold = 4;

} // namespace

bool Board::isUsable() const {
    return m_plug.state == _TAVEL_DEVICE_INFO::kStateUsable;
}

void Board::setPenDestination(unsigned char pen, bool flag, unsigned char destination) {
    m_penDestinations[{pen, flag}] = destination;
}

int Board::penDestination(unsigned char pen, bool flag) const {
    const auto found = m_penDestinations.find({pen, flag});
    return found == m_penDestinations.end() ? 0 : found->second;
}

int Board::get(BoardSetting setting) const {
    const auto found = m_settings.find(setting);
    if (found != m_settings.end())
        return found->second;
    const bool isOnAtFirst =
        setting == BoardSetting::TouchEnabled || setting == BoardSetting::TouchSystemRedirection;
    return isOnAtFirst ? 1 : 0;
}

bool Board::obey(std::string_view command) {
    if (command.substr(0, kEraseReportMode.size()) == kEraseReportMode)
        m_reportsErasers = command.substr(kEraseReportMode.size()) == "1";
    return command == kTouchStatus;
}

ReportBytes Board::touchStatus() const {
    const auto value = [](int number) { return static_cast<signed char>(number); };
    return touchStatusReport({value(get(BoardSetting::TouchEnabled)),
                              value(downOf(ReportKind::Touch)), value(downOf(ReportKind::Pen)),
                              value(downOf(ReportKind::Erase)), 0, -1});
}

void Board::sense(const ReportContent& report) {
    for (const ReportedContact& contact : report.contacts) {
        if (contact.down)
            m_down.insert({report.kind, contact.id});
        else
            m_down.erase({report.kind, contact.id});
    }
}

bool Board::transmits(const ReportContent& report) const {
    if (!hasMask())
        return false;
    switch (report.kind) {
    case ReportKind::Pen:
        return penDestination(static_cast<unsigned char>(report.contacts.front().id + 1), false) !=
               0;
    case ReportKind::Touch:
        return get(BoardSetting::TouchDestination) != 0 && get(BoardSetting::TouchEnabled) != 0;
    case ReportKind::Erase:
        return m_reportsErasers.value_or(false);
    case ReportKind::Other:
        break;
    }
    return true;
}

bool Board::isToldOf(const ReportContent& report) const {
    if (!m_mask)
        return false;
    switch (report.kind) {
    case ReportKind::Pen: {
        const int pen = report.contacts.front().id + 1;
        return pen > kPensThatAreTold || m_penDestinations.count({pen, false}) != 0;
    }
    case ReportKind::Touch:
        return m_settings.count(BoardSetting::TouchDestination) != 0;
    case ReportKind::Erase:
        return m_reportsErasers.has_value();
    case ReportKind::Other:
        break;
    }
    return true;
}

int Board::downOf(ReportKind kind) const {
    return static_cast<int>(std::count_if(m_down.begin(), m_down.end(),
                                          [kind](const auto& down) { return down.first == kind; }));
}
