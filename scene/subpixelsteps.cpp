#include "scene/subpixelsteps.h"

#include <cmath>

namespace {

constexpr double kStepsOfPixel = 64.0;
/// In steps. Sums of up to 2^25 pixels are good to 2^-21 of one.
constexpr double kRounding = 1e-5;

double fraction_of(double steps) {
    return steps - std::floor(steps);
}

} // namespace

void SubpixelSteps::add(double coordinate) {
    m_fractions.insert(fraction_of(coordinate * kStepsOfPixel + 0.5));
}

bool SubpixelSteps::are_middles_missed_after(double shift) const {
    const double to_middle = fraction_of(-shift * kStepsOfPixel); // what the shift takes to one
    return !has_near(to_middle) && !has_near(to_middle - 1.0) && !has_near(to_middle + 1.0);
}

bool SubpixelSteps::has_near(double fraction) const {
    const auto next = m_fractions.lower_bound(fraction - kRounding);
    return next != m_fractions.end() && *next <= fraction + kRounding;
}
