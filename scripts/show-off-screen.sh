#!/usr/bin/env bash
# Runs the program in a virtual X server with a window manager, works it with real pointer and key
# input, and leaves screenshots.
#
#   scripts/show-off-screen.sh PROGRAM FOLDER
source "$(dirname "$0")/common.sh"
source scripts/x-session.sh

[[ $# -eq 2 ]] || fail "usage: scripts/show-off-screen.sh PROGRAM FOLDER"
program=$1
shots=$2

mkdir -p "$shots"
rm -f "$shots"/*.png
start_x_session 1280 720

"$program" &
program_pid=$!
until_true 20 has_the_screen || fail "the program does not show itself full screen"

pause() { sleep 0.4; } # for the eye of who looks on, and some 25 frames
shoot() {
    pause
    scrot --overwrite "$shots/$1.png"
}
# curve X: draws a wave from X rightward and keeps the button down.
curve() {
    local i
    xdotool mousemove "$1" 360 mousedown 1
    for i in $(seq 0 8 400); do
        xdotool mousemove $(($1 + i)) \
            "$(awk -v i="$i" 'BEGIN { printf "%d", 360 + 150 * sin(i / 60) }')"
    done
}

step "Watching the boards, and drawing on the test cards with the mouse"
shoot 1-help
xdotool key g
sleep 5 # a simulated board writes with its pens first
shoot 2-pens-on-the-grid
sleep 6 # and then draws with its fingers; the mouse is one with pen 0, so it takes its turn now
xdotool key BackSpace s
curve 300
shoot 3-shapes-with-the-mouse-and-its-marker
xdotool mouseup 1 key space 9
curve 700
xdotool mouseup 1 key c
shoot 4-colours-with-two-strokes
xdotool key h Return
shoot 5-window

step "Ending it with Escape"
xdotool key Escape
wait "$program_pid" || fail "the program ended with exit status $?"

step "Screenshots:"
printf '%s\n' "$shots"/*.png
