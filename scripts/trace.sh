#!/usr/bin/env bash
# Installs what is missing, builds a release and runs kestrune-trace with the same arguments, on the
# boards where the board maker's driver library is installed and on a simulated board otherwise. The
# standard output has the summary alone.
#
#   scripts/trace.sh [OPTION...]      as --duration 10; --help tells them
called_from=$PWD
source "$(dirname "$0")/common.sh"
source scripts/board-driver.sh

{
    install_packages "${build_packages[@]}"
    build_the_program
    if [[ -n $(installed_driver) ]]; then
        step "Boards: those of the driver library $(installed_driver)"
    else
        use_driver "$program_folder/drivers/simulated/$driver_library"
        step "Boards: a simulated one"
    fi
} >&2
tool=$(realpath "$program_folder/tools/kestrune-trace")
cd "$called_from"
exec "$tool" "$@"
