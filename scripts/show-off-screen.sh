#!/usr/bin/env bash
# Runs the program in a virtual X server with a window manager, works it with real pointer and key
# input, and leaves screenshots.
#
#   scripts/show-off-screen.sh PROGRAM FOLDER
source "$(dirname "$0")/common.sh"

[[ $# -eq 2 ]] || fail "usage: scripts/show-off-screen.sh PROGRAM FOLDER"
program=$1
shots=$2

mkdir -p "$shots"
rm -f "$shots"/*.png
work=$(mktemp -d)
clean_up() {
    # shellcheck disable=SC2046
    kill $(jobs -p) 2>/dev/null || true
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap clean_up EXIT

# until_true SECONDS COMMAND...
until_true() {
    local end=$((SECONDS + $1))
    shift
    until "$@" >/dev/null 2>&1; do
        ((SECONDS < end)) || return 1
        sleep 0.05
    done
}

export XDG_RUNTIME_DIR=$work
Xvfb -displayfd 3 -screen 0 1280x720x24 -nolisten tcp 3>"$work/display" 2>"$work/xvfb.log" &
until_true 20 test -s "$work/display" || fail "the X server does not start: $(cat "$work/xvfb.log")"
DISPLAY=:$(cat "$work/display")
export DISPLAY
openbox >"$work/openbox.log" 2>&1 &
until_true 20 xdotool get_num_desktops || fail "the window manager does not start: $(cat "$work/openbox.log")"

"$program" &
program_pid=$!
has_the_screen() {
    local geometry
    geometry=$(xdotool getactivewindow getwindowgeometry --shell)
    grep -q '^WIDTH=1280$' <<<"$geometry" && grep -q '^HEIGHT=720$' <<<"$geometry"
}
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
