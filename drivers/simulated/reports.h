#pragma once

#include <vector>

using ReportBytes = std::vector<unsigned char>;

enum class ReportKind { Pen, Touch, Erase, Other };

/// What a report tells of one contact.
struct ReportedContact {
    int id = 0;
    bool down = false;
};

/// What a simulated board needs to know of a report.
struct ReportContent {
    ReportKind kind = ReportKind::Other;
    std::vector<ReportedContact> contacts; ///< one of a pen report, none of others
};

/// `bytes` may be anything.
ReportContent contentOf(const ReportBytes& bytes);

/// Positions and sizes are in board units, 0 to 32767.
struct ReportedFinger {
    int id = 0;
    bool down = false;
    int x = 0;
    int y = 0;
    int size = 0;
};

struct ReportedEraser {
    int id = 0;
    bool down = false;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// `buttons` has button 0, which is the tip, as bit 0, and two more.
ReportBytes penReport(int id, int x, int y, int buttons);
ReportBytes touchReport(const std::vector<ReportedFinger>& fingers);
ReportBytes eraseReport(const std::vector<ReportedEraser>& erasers);
/// `status` has six values.
ReportBytes touchStatusReport(const std::vector<signed char>& status);
