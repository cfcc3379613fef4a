#pragma once

#include <set>

/// The toolkit fills outlines in steps of a 64th of a pixel, to the nearest of which it rounds each
/// coordinate. Of coordinates that are moved before, this tells whether all stay off the middles
/// between the steps, so far that it makes no difference how their sums are rounded.
class SubpixelSteps {
public:
    void add(double coordinate); ///< in pixels
    bool are_middles_missed_after(double shift) const;

private:
    bool has_near(double fraction) const;

    std::set<double> m_fractions; ///< of a step, from the middle before each coordinate
};
