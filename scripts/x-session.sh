# A virtual X server with a window manager, for the scripts that work the program in one, which source
# this file after common.sh. Everything that they start in the background ends with them.

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

# start_x_session WIDTH HEIGHT: in pixels; DISPLAY is where it is.
start_x_session() {
    screen_width=$1
    screen_height=$2
    export XDG_RUNTIME_DIR=$work
    Xvfb -displayfd 3 -screen 0 "${screen_width}x${screen_height}x24" -nolisten tcp \
        3>"$work/display" 2>"$work/xvfb.log" &
    until_true 20 test -s "$work/display" ||
        fail "the X server does not start: $(cat "$work/xvfb.log")"
    DISPLAY=:$(cat "$work/display")
    export DISPLAY
    openbox >"$work/openbox.log" 2>&1 &
    until_true 20 xdotool get_num_desktops ||
        fail "the window manager does not start: $(cat "$work/openbox.log")"
}

# Whether the window that has the keyboard covers the screen.
has_the_screen() {
    local geometry
    geometry=$(xdotool getactivewindow getwindowgeometry --shell)
    grep -q "^WIDTH=$screen_width$" <<<"$geometry" &&
        grep -q "^HEIGHT=$screen_height$" <<<"$geometry"
}
