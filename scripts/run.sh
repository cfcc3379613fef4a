#!/usr/bin/env bash
# Installs what is missing, builds a release and starts the program, on the boards where the board
# maker's driver library is installed and on a simulated board otherwise.
#
#   scripts/run.sh
#   scripts/run.sh --simulated      on the simulated board in any case
#   scripts/run.sh --capture FILE   on a simulated board that plays what was recorded
#
# Where there is no display, it runs in a virtual X server, is worked for some seconds with a pointer
# and keys, and leaves screenshots.
called_from=$PWD
source "$(dirname "$0")/common.sh"
source scripts/board-driver.sh

usage="usage: scripts/run.sh [--simulated | --capture FILE]"
simulated=
capture=
case $#:${1:-} in
0:) ;;
1:--simulated) simulated=yes ;;
2:--capture)
    simulated=yes
    capture=$(cd "$called_from" && realpath -m -- "$2")
    [[ -r $capture ]] || fail "cannot read $2"
    ;;
*) fail "$usage" ;;
esac

install_for_the_program
build_the_program

if [[ -z $simulated && -n $(installed_driver) ]]; then
    step "Boards: those of the driver library $(installed_driver)"
else
    use_driver "$program_folder/drivers/simulated/$driver_library"
    if [[ -n $capture ]]; then
        export KESTRUNE_CAPTURE=$capture
        step "Boards: a simulated one that plays $capture"
    else
        step "Boards: a simulated one"
    fi
fi
start_the_program
