#!/usr/bin/env bash
# Runs the program on simulated boards in a virtual X server for long, under heavy input, with boards
# that come and go, keys, changes of the keyboard's window and of the window's size. Fails where
# memory, threads or handles grow, where a report is lost, and where the program says what it should
# not. docs/soak.md tells more.
#
#   scripts/soak.sh MINUTES
source "$(dirname "$0")/common.sh"
source scripts/board-driver.sh
source scripts/x-session.sh

[[ $# -eq 1 && $1 =~ ^[1-9][0-9]*$ ]] || fail "usage: scripts/soak.sh MINUTES"
minutes=$1

# A segment has 40 bytes; the rest is its share of what its stroke needs.
bytes_a_segment=48
# Strokes and markers in progress, and the events that wait.
allocated_slack_kib=1024
# What the allocator keeps of memory that it was given back: the strokes are many small pieces, and
# each thread that updates an item may have a heap of its own.
resident_slack_kib=49152
# Samples are taken each time that the boards are silent, once in 6 s.
longest_gap_s=30
clear_every_s=180

folder=build/soak
program=$folder/tests/soak/kestrune_soak
table=$folder/table.md
samples=$folder/samples

install_packages "${build_packages[@]}" "${screen_packages[@]}"
configure release "$folder" -D KESTRUNE_BUILD_BENCHMARKS=OFF
step "Building in $folder"
cmake --build "$folder" --target kestrune kestrune_soak kestrune_simulated

start_x_session 1280 720
awk -f scripts/soak-capture.awk >"$work/capture"
"$folder/app/kestrune" >"$work/other.log" 2>&1 & # for a window that takes the keyboard
other_pid=$!
until_true 20 has_the_screen || fail "the other program does not show itself full screen"
other=$(xdotool getactivewindow)

step "Running $program for $minutes minutes"
(
    use_driver "$folder/drivers/simulated/$driver_library"
    export KESTRUNE_CAPTURE=$work/capture KESTRUNE_CAPTURE_LOOP=1 KESTRUNE_CAPTURE_SPEED=1
    export KESTRUNE_DRIVER_COUNTS=$work/counts KESTRUNE_SOAK_SAMPLES=$samples
    exec "$program" >"$work/output" 2>"$work/errors"
) &
program_pid=$!
has_the_keyboard() { [[ $(xdotool getwindowfocus getwindowpid) == "$program_pid" ]]; }
until_true 20 has_the_keyboard || fail "the program does not show itself: $(cat "$work/errors")"
window=$(xdotool getactivewindow)

work_it() {
    case $(($1 % 12)) in
    0) xdotool key g ;;
    1) xdotool key space key 7 ;; # markers off, and wide pens
    2) xdotool key Return ;;      # into a window
    3) xdotool windowsize "$window" 1000 600 ;;
    4) xdotool key s ;;
    5) xdotool windowsize "$window" 1100 640 ;;
    6) xdotool key Return ;; # and full screen again
    7) xdotool key space key 3 ;;
    8) xdotool windowactivate "$other" ;;
    9) xdotool windowactivate "$window" ;;
    10) xdotool key c key Left ;;
    11) xdotool key b key Right key h ;;
    esac
}

end=$((SECONDS + 60 * minutes))
next_clear=$((SECONDS + clear_every_s))
for ((turn = 0; SECONDS < end; ++turn)); do
    work_it "$turn" || fail "the X server does not answer"
    if ((SECONDS >= next_clear)) && has_the_keyboard; then
        xdotool key BackSpace
        next_clear=$((next_clear + clear_every_s))
    fi
    kill -0 "$program_pid" 2>/dev/null || fail "the program has ended: $(cat "$work/errors")"
    sleep 1.7
done

step "Ending it with Escape"
xdotool windowactivate "$window"
until_true 20 has_the_keyboard || fail "the program does not get the keyboard back"
xdotool key Escape
wait "$program_pid" || fail "the program ended with exit status $?: $(cat "$work/errors")"
kill "$other_pid"

awk -f scripts/soak-table.awk "$samples" | tee "$table"
problems() {
    awk -v allocated_slack_kib="$allocated_slack_kib" -v resident_slack_kib="$resident_slack_kib" \
        -v bytes_a_segment="$bytes_a_segment" -v longest_gap_s="$longest_gap_s" \
        -v length_s="$((60 * minutes))" -f scripts/soak-check.awk "$samples"
    sed -E '/^(PnP event|Enumerated [0-9]+ devices)\.$/d; s/^/it says: /' "$work/output"
    sed -E '/^QObject::connect: No such signal TavelHardware::deviceEnumerated\(int,int\)$/d
        s/^/it complains: /' "$work/errors"
}
found=$(problems)
[[ -z $found ]] || fail "$(head -n 20 <<<"$found")"
step "Nothing has grown, no report is lost, and nothing was said that should not be."
