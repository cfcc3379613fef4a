#include "hardware/configuration.h"

#include "hardware/tavelhardware.h"

namespace {

/// The mode of a kind of reports.
template <typename Mode>
Mode mode(bool on) {
    return on ? Mode::On : Mode::Off;
}

} // namespace

void configure(TavelHardware& hardware, const WantedReports& wanted) {
    unsigned char pen = 0;
    for (const bool isWanted : wanted.pens) {
        // The hardware mode counts pens from 0 and the report mode from 1: on purpose.
        hardware.setPenHardwareMode(pen, TavelHardware::PenHardwareMode::Standard);
        ++pen;
        hardware.setPenReportMode(pen, mode<TavelHardware::PenReportMode>(isWanted));
    }
    hardware.setTouchReportMode(mode<TavelHardware::TouchReportMode>(wanted.touches));
    hardware.setEraseReportMode(mode<TavelHardware::EraseReportMode>(wanted.erasers));
}
