# Shared by the scripts of this folder, which source it. It takes them to the project's root.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

step() { printf '==> %s\n' "$*"; }

fail() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

# What every build needs: the compiler, the build tools, the toolkit and a font for it.
build_packages=(g++ cmake ninja-build qtbase5-dev fonts-dejavu-core)
# What a virtual screen needs: the X server, a window manager, real input, screenshots.
screen_packages=(xvfb openbox xdotool scrot)

# install_packages PACKAGE...: installs those of Debian's packages that are missing.
install_packages() {
    local missing=() package
    for package in "$@"; do
        [[ $(dpkg-query -W -f '${Status}' "$package" 2>/dev/null) == "install ok installed" ]] ||
            missing+=("$package")
    done
    if [[ ${#missing[@]} -eq 0 ]]; then
        step "Every package needed is installed."
        return
    fi
    step "Installing ${missing[*]}"
    command -v apt-get >/dev/null ||
        fail "no apt-get here: install the counterparts of these Debian 12 packages: ${missing[*]}"
    local as_root=()
    if [[ $EUID -ne 0 ]]; then
        command -v sudo >/dev/null || fail "neither root nor sudo: install ${missing[*]}"
        as_root=(sudo)
    fi
    # Only a package that no list knows needs new lists.
    apt-cache show "${missing[@]}" >/dev/null 2>&1 || "${as_root[@]}" apt-get update -q ||
        fail "the lists of packages cannot be had: is there a network?"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "${missing[@]}" ||
        fail "not all of these could be installed: ${missing[*]}"
}

# configure PRESET FOLDER [CMAKE-ARGUMENT...]: once.
configure() {
    local preset=$1 folder=$2
    shift 2
    [[ ! -f $folder/build.ninja ]] || return 0
    step "Configuring $folder"
    cmake --preset "$preset" -B "$folder" "$@"
}

# build PRESET FOLDER [CMAKE-ARGUMENT...]: configures once, then builds what has changed.
build() {
    configure "$@"
    step "Building in $2"
    cmake --build "$2"
}

# The program alone, as a release, in a folder of its own.
program_folder=build/run
program=$program_folder/app/kestrune

install_for_the_program() {
    local packages=("${build_packages[@]}")
    [[ -n ${DISPLAY:-} ]] || packages+=("${screen_packages[@]}")
    install_packages "${packages[@]}"
}

build_the_program() {
    build release "$program_folder" -D KESTRUNE_BUILD_TESTS=OFF -D KESTRUNE_BUILD_BENCHMARKS=OFF
}

# Starts it on the display, or where there is none on a virtual one.
start_the_program() {
    if [[ -n ${DISPLAY:-} ]]; then
        step "Starting $program: H shows or hides its keys, Escape ends it."
        exec "$program"
    fi
    step "No display: starting $program in a virtual one."
    exec scripts/show-off-screen.sh "$program" "$program_folder/screenshots"
}
