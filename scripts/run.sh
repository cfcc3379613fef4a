#!/usr/bin/env bash
# Installs what is missing, builds a release and starts the program. Where there is no display, it
# runs in a virtual X server, is worked for some seconds with a pointer and keys, and leaves screenshots.
source "$(dirname "$0")/common.sh"

[[ $# -eq 0 ]] || fail "it takes no arguments"

build_folder=build/run
program=$build_folder/app/kestrune

packages=("${build_packages[@]}")
[[ -n ${DISPLAY:-} ]] || packages+=("${screen_packages[@]}")
install_packages "${packages[@]}"
build release "$build_folder" -D KESTRUNE_BUILD_TESTS=OFF -D KESTRUNE_BUILD_BENCHMARKS=OFF

if [[ -n ${DISPLAY:-} ]]; then
    step "Starting $program: H shows or hides its keys, Escape ends it."
    exec "$program"
fi

step "No display: starting $program in a virtual one."
exec scripts/show-off-screen.sh "$program" "$build_folder/screenshots"
