#!/usr/bin/env bash
# Runs the program and records what its boards send, as a capture that scripts/run.sh --capture plays
# again. Where no board maker's driver library is installed, it is the simulated board that is recorded.
#
#   scripts/record.sh FILE
called_from=$PWD
source "$(dirname "$0")/common.sh"
source scripts/board-driver.sh

[[ $# -eq 1 ]] || fail "usage: scripts/record.sh FILE"
capture=$(cd "$called_from" && realpath -m -- "$1")
[[ ! -e $capture ]] || fail "$1 exists: name a new file, or remove it first"
[[ -w $(dirname "$capture") ]] || fail "cannot write into $(dirname "$1")"

install_for_the_program
build_the_program

driver=$(installed_driver)
if [[ -z $driver ]]; then
    driver=$(realpath "$program_folder/drivers/simulated/$driver_library")
fi
step "Recording $driver into $capture"
export KESTRUNE_TAP_DRIVER=$driver KESTRUNE_TAP_CAPTURE=$capture
use_driver "$program_folder/drivers/tap/$driver_library"
start_the_program
