#pragma once

#include "drivers/simulated/playlist.h"

/// One board on which everything goes on that a board can report, over and over: four pens write,
/// ten fingers draw at once, two erasers wipe most of it away. For a screen of 16 to 9.
Playlist demonstration();
