#include "drivers/simulated/faults.h"

#include "drivers/environment.h"

#include <charconv>
#include <limits>
#include <string_view>

namespace {

constexpr char kFaults[] = "KESTRUNE_DRIVER_FAULTS";
constexpr char kLength[] = "KESTRUNE_DRIVER_FAULTS_MS";

constexpr int kMostNotices_per_s = 10000;
constexpr int kMostThreads = 100;

std::optional<int> number(std::string_view text, int least, int most) {
    int value = 0;
    const char* const end = text.data() + text.size();
    const auto [next, problem] = std::from_chars(text.data(), end, value);
    if (problem != std::errc() || next != end || value < least || value > most)
        return std::nullopt;
    return value;
}

template <typename Member>
bool take(std::optional<int> value, Member& member) {
    if (value)
        member = *value;
    return value.has_value();
}

/// \return false where there is no such fault
bool add(std::string_view fault, Faults& faults) {
    const auto equals = fault.find('=');
    const bool hasValue = equals != std::string_view::npos;
    const std::string_view name = fault.substr(0, equals);
    const std::string_view value = hasValue ? fault.substr(equals + 1) : std::string_view();
    if (name == "count")
        return take(number(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()),
                    faults.count);
    if (name == "notices")
        return take(number(value, 1, kMostNotices_per_s), faults.notices_per_s);
    if (name == "threads")
        return take(number(value, 1, kMostThreads), faults.threads);
    if (fault == "attach")
        return faults.attachFails = true;
    if (fault == "ghosts")
        return faults.hasGhosts = true;
    if (fault == "late")
        return faults.callsLate = true;
    const bool fails = fault == "enumeration=fails";
    if (fails || fault == "enumeration=changes") {
        faults.enumeration = fails ? Faults::Enumeration::Fails : Faults::Enumeration::Changes;
        return true;
    }
    return false;
}

} // namespace

Faults faultsFromEnvironment() {
    Faults faults;
    const std::string text = fromEnvironment(kFaults);
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view fault = rest.substr(0, rest.find(','));
        if (!add(fault, faults))
            complain("simulated", std::string(kFaults) + " has no fault " + std::string(fault));
        rest.remove_prefix(std::min(rest.size(), fault.size() + 1));
    }
    const std::string length = fromEnvironment(kLength);
    if (length.empty())
        return faults;
    const auto ms = number(length, 1, std::numeric_limits<int>::max());
    if (ms)
        faults.length = std::chrono::milliseconds(*ms);
    else
        complain("simulated", std::string(kLength) + " is no number above 0: " + length);
    return faults;
}
