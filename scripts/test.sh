#!/usr/bin/env bash
# Installs what is missing, builds, and runs the tests.
#
#   scripts/test.sh          with the preset dev: every test
#   scripts/test.sh asan     under the address and undefined-behaviour sanitizers: every test
#   scripts/test.sh tsan     under the thread sanitizer: the tests of what runs on several threads
source "$(dirname "$0")/common.sh"

preset=${1:-dev}
case $preset in
dev | release | asan | tsan) ;;
*) fail "no preset '$preset': it is one of dev, release, asan, tsan" ;;
esac

install_packages "${build_packages[@]}" "${screen_packages[@]}" gtkwave
configure "$preset" "build/$preset"
step "Building in build/$preset"
cmake --build --preset "$preset"
step "Running the tests of build/$preset"
ctest --preset "$preset"
step "All tests passed."
