# shellcheck shell=bash
# What end-to-end tests do with the player's window. Sourced by scripts that have set root, bin,
# movie and screen; needs the folder `work`, which it makes and removes.
# shellcheck source=scripts/virtual_display.sh
. "$root/scripts/virtual_display.sh"

unset "${!PLAYER_@}" # a test says itself what it wants
patience=60 # seconds
work=$(mktemp -d)
tool=
window=
cleanup() { # STATUS COMMAND, the last one
    [ "$1" -eq 0 ] || [ "$2" = 'exit 1' ] || echo "FAILED: status $1 of: $2" >&2
    [ -z "$tool" ] || kill "$tool" 2>/dev/null || true # it may have ended by itself
    stop_virtual_display
    rm -rf "$work"
}
trap 'cleanup $? "$BASH_COMMAND"' EXIT
fail() {
    echo "FAILED: $*" >&2
    local screenshot=${TMPDIR-/tmp}/${0##*/}_failure.png
    import -silent -window root "png24:$screenshot" 2>/dev/null && echo "(the screen: $screenshot)" >&2
    exit 1
}

# The parts' places are the design's for screens of 1280 x 1024 and more; below, they shrink.
screen_width=${screen%x*}
screen_height=${screen#*x}
across() { echo $(($1 * (screen_width < 1280 ? screen_width : 1280) / 1280)); }
up() { echo $(($1 * (screen_height < 1024 ? screen_height : 1024) / 1024)); }

decode_frames() {
    "$bin/reel" decode "$movie" --frames "0-$1" -o "$work/frame.####.png" >/dev/null 2>&1
    width=$(identify -format %w "$(expected 0)")
    height=$(identify -format %h "$(expected 0)")
    local sides above
    sides=$((2 * $(across 10)))
    above=$(up 225)
    zooms=1
    while [ $(((zooms + 1) * width)) -le "$screen_width" ] &&
        [ $(((zooms + 1) * height)) -le "$screen_height" ]; do
        zooms=$((zooms + 1))
    done
    highest_zoom=$zooms
    # Where the window has no room for a zoom the picture is reduced; not compared here.
    while [ $((zooms * width + sides)) -gt "$screen_width" ] ||
        [ $((zooms * height + above)) -gt "$screen_height" ]; do
        zooms=$((zooms - 1))
    done
}
expected() { printf '%s/frame.%04d.png' "$work" "$1"; }

# begin_player [MOVIE]: on the display of the test.
begin_player() {
    [ -n "$virtual_server" ] || { start_virtual_display "$screen"; start_window_manager; }
    : >"$work/stats"
    PLAYER_STATS=$work/stats "$bin/playertool" "$@" 2>"$work/errors" &
    tool=$!
    window=$(wait_for_window "$tool")
}
ended_well() {
    local status=0
    timeout "$patience" tail --pid="$tool" -f /dev/null || fail 'it does not end'
    wait "$tool" || status=$?
    tool=
    [ "$status" -eq 0 ] || fail "ended with status $status"
    [ ! -s "$work/errors" ] || fail "said on standard error: $(cat "$work/errors")"
}

# The window's place and size now: left, top, wide, high. While its frame comes or goes that can not
# be told for a moment.
measure_window() {
    local what
    what=$(xwininfo -id "$window" 2>/dev/null) || { sleep 0.3; what=$(xwininfo -id "$window"); } ||
        return
    left=$(sed -n 's/.*Absolute upper-left X: *//p' <<<"$what")
    top=$(sed -n 's/.*Absolute upper-left Y: *//p' <<<"$what")
    wide=$(sed -n 's/.*Width: *//p' <<<"$what")
    high=$(sed -n 's/.*Height: *//p' <<<"$what")
}
grab() { # the window, in seen.png, which is no older one in any case
    rm -f "$work/seen.png"
    import -silent -window "$window" png24:"$work/seen.png"
}
# How many pixels two pictures differ in; a word when they can not be compared.
differing() { compare -metric AE "$work/$1.png" "$work/$2.png" null: 2>&1 || true; }
grab_middle() { # ZOOM: the picture alone, in middle.png: above the controls
    grab && convert "$work/seen.png" -gravity south \
        -crop "$((width * $1))x$((height * $1))+0+$(up 145)" +repage "$work/middle.png"
}
# The picture in the window must be this frame (zoomed).
shows() {
    local frame=$1 zoom=${2-1}
    grab_middle "$zoom" &&
        convert "$(expected "$frame")" -filter point -resize "$((width * zoom))x$((height * zoom))!" \
            "$work/wanted.png" &&
        [ "$(differing wanted middle)" = 0 ]
}
shows_any() {
    local frame
    for frame in "$@"; do
        ! shows "$frame" || return 0
    done
    return 1
}
plays() { # other pictures come
    grab_middle 1 && mv "$work/middle.png" "$work/before.png" && sleep 0.1 && grab_middle 1 &&
        [ "$(differing before middle)" != 0 ]
}
# Keys reach the screen within a moment; on a busy machine within a much longer one.
await() {
    local what=$1 end=$((SECONDS + patience))
    shift
    until "$@"; do
        [ "$SECONDS" -lt "$end" ] || fail "$what"
        sleep 0.05
    done
}
key() { xdotool key --delay 30 "$@"; }
lines() { wc -l <"$work/stats"; }
has_lines() { [ "$(lines)" -ge "$1" ]; }
state_is() { [[ $(xprop -id "$window" WM_STATE) == *"window state: $1"* ]]; }
title_has() { [[ $(xprop -id "$window" _NET_WM_NAME) == *"$1"* ]]; }
# window_named NAME: whether there is one to be seen; its number is in `found`. While windows come and
# go the answer may be an error: that is neither the one nor the other.
window_named() {
    found=$(xdotool search --onlyvisible --name "$1" 2>/dev/null) || return
    found=${found%%$'\n'*}
}
no_window_named() { [ -z "$(xdotool search --onlyvisible --name "$1" 2>&1)" ]; }
# Menus are the player's windows that have no frame.
menu_is_open() {
    local id
    for id in $(xwininfo -root -children | awk '/"PlayerTool"\)/ {print $1}'); do
        [[ $(xwininfo -id "$id" 2>/dev/null) != *'Map State: IsViewable'* ]] || return 0
    done
    return 1
}
no_menu_is_open() { ! menu_is_open; }
# The tool's own waiting ends at once while no window is active.
is_active() {
    xdotool windowactivate "$1" 2>/dev/null || true
    [ "$(xdotool getactivewindow 2>/dev/null)" = "$1" ]
}
activate() { await 'a window becomes active' is_active "$1"; }
# Whether a process runs. One that has ended may wait for who asks how it ended.
runs() { [[ $(sed -n 's/^State:[[:space:]]*//p' "/proc/$1/status" 2>/dev/null) == [!ZX]* ]]; }

# press PART: a click on it.
press() {
    local x y
    measure_window
    case $1 in
    reverse) x=50 y=22 ;;
    fast_reverse) x=30 y=52 ;;
    fast_forward) x=70 y=52 ;;
    play) x=135 y=37 ;;
    stop) x=220 y=22 ;;
    step_back) x=200 y=52 ;;
    step_forward) x=240 y=52 ;;
    slider) x=135 y=110 ;;
    time) x=40 y=85 ;;
    picture) x=135 y=200 ;;
    esac
    xdotool mousemove $((left + (wide - $(across 270)) / 2 + $(across $x))) \
        $((top + high - $(up $((10 + y))))) click 1
}
# The pointer above the picture: keys go to the window that it is in.
point_at_window() {
    measure_window
    xdotool mousemove $((left + wide / 2)) $((top + $(up 50)))
}
# The player looks where the pointer is: it stays until the menu is open, and gone again.
choose() {
    local x=$1
    shift
    measure_window
    xdotool mousemove $((left + x)) $((top + 12)) click 1
    await 'a menu opens' menu_is_open
    key "$@"
    await 'the menu goes' no_menu_is_open
    xdotool mousemove $((left + wide / 2)) $((top + $(up 50))) # as point_at_window; it may be gone
}
choose_animation() { choose 40 "$@"; }
choose_playback() { choose 130 "$@"; }

# Idle: nothing at all wakes it while nothing happens. What is not over yet, such as a wait for a double
# click, and other programs' late words may do so, but not again and again.
wakings() { cat "/proc/$tool/task/"*/status 2>/dev/null | awk '/ctxt_switches/ {n += $2} END {print n}'; }
ticks() { awk '{print $14 + $15}' "/proc/$tool/stat"; }
is_idle_for_three_seconds() {
    local before
    before=$(wakings)
    used=$(ticks)
    sleep 3
    woken=$(($(wakings) - before))
    used=$(($(ticks) - used))
    [ "$woken" -eq 0 ] && [ "$used" -eq 0 ]
}
idle_for_three_seconds() {
    local woken used
    for _ in $(seq 5); do
        ! is_idle_for_three_seconds || return 0
    done
    fail "woken $woken times, $used hundredths of a second used in 3 s of standing still"
}
