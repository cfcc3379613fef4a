#!/usr/bin/env bash
# Makes the picture of the README: records the demonstration and opens it in a waveform viewer, in a
# virtual X server.
#
#   scripts/shoot-trace.sh PICTURE    as docs/trace.png
called_from=$PWD
source "$(dirname "$0")/common.sh"
source scripts/board-driver.sh
source scripts/x-session.sh

[[ $# -eq 1 ]] || fail "usage: scripts/shoot-trace.sh PICTURE"
picture=$(cd "$called_from" && realpath -m -- "$1")

install_packages "${build_packages[@]}" "${screen_packages[@]}" gtkwave
build_the_program
use_driver "$program_folder/drivers/simulated/$driver_library"

start_x_session 1000 530
step "Recording for ten seconds"
"$program_folder/tools/kestrune-trace" --duration 10 --output "$work/board.vcd"
printf '%s\n' 'initial_window_x 1000' 'initial_window_y 530' 'hide_sst on' >"$work/gtkwaverc"
view=$PWD/scripts/view-trace.tcl
(cd "$work" && exec gtkwave --rcfile gtkwaverc --script "$view" board.vcd) >"$work/gtkwave.log" 2>&1 &
until_true 20 xdotool search --name '^GTKWave' || fail "$(cat "$work/gtkwave.log")"
sleep 2 # it paints in pieces
scrot --overwrite "$picture"
step "The picture is $picture"
