#pragma once

#include "tools/trace/statistics.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class QJsonObject;

enum class ContactKind { Pen, Touch, Eraser };
constexpr std::array<ContactKind, 3> kContactKinds = {ContactKind::Pen, ContactKind::Touch,
                                                      ContactKind::Eraser};

/// "pen", "touch" or "eraser".
std::string kindName(ContactKind kind);

/// Letters, digits and underscores alone, as "touch3": what every waveform viewer takes for a name.
std::string contactName(ContactKind kind, int number);

/// How far a recording has come.
struct Progress {
    std::int64_t elapsed_ns = 0;
    std::uint64_t reports = 0;
    int down = 0; ///< contacts of any kind
};

/// Since when a contact is down that has not lifted to the end, and when it was last reported: from
/// the start of the recording.
struct NeverLifted {
    std::int64_t since_ns = 0;
    std::int64_t lastReport_ns = 0;
};

struct ContactSummary {
    int number = 0;
    Figures figures;
    std::optional<NeverLifted> neverLifted;
};

struct KindSummary {
    ContactKind kind = ContactKind::Pen;
    Figures figures;
    int mostDown = 0;
    std::vector<ContactSummary> contacts; ///< by number
};

/// What a recording comes to.
struct Summary {
    std::int64_t elapsed_ns = 0;
    std::vector<KindSummary> kinds; ///< every kind
};

/// A table for a person: ASCII, lines of some hundred characters at most.
std::string tableText(const Summary& summary);
/// The same figures. One that there is none of is null.
QJsonObject toJson(const Summary& summary);
