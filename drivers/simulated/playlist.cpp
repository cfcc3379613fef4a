#include "drivers/simulated/playlist.h"

#include "drivers/environment.h"
#include "drivers/simulated/demonstration.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace {

constexpr char kCapture[] = "KESTRUNE_CAPTURE";
constexpr char kSpeed[] = "KESTRUNE_CAPTURE_SPEED";
constexpr char kLoop[] = "KESTRUNE_CAPTURE_LOOP";

double speedFromEnvironment() {
    const std::string text = fromEnvironment(kSpeed);
    if (text.empty())
        return 1.0;
    if (text == "max")
        return std::numeric_limits<double>::infinity();
    double speed = 0.0;
    const char* const end = text.data() + text.size();
    const auto [next, problem] = std::from_chars(text.data(), end, speed);
    if (problem == std::errc() && next == end && std::isfinite(speed) && speed > 0.0)
        return speed;
    complain("simulated", std::string(kSpeed) + " is neither a factor above 0 nor max: " + text);
    return 1.0;
}

} // namespace

Playlist playlistFromEnvironment() {
    const std::string path = fromEnvironment(kCapture);
    Playlist playlist;
    if (path.empty()) {
        playlist = demonstration();
    } else {
        Capture capture = readCapture(path);
        if (capture.error) {
            complain("simulated", captureErrorText(path, *capture.error));
            return {};
        }
        playlist.events = std::move(capture.events);
        if (!playlist.events.empty())
            playlist.length = playlist.events.back().time;
        playlist.loops = fromEnvironment(kLoop) == "1";
    }
    playlist.speed = speedFromEnvironment();
    return playlist;
}
