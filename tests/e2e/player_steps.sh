# shellcheck shell=bash
# What end-to-end tests do with the player's window. Sourced by scripts that have set root, bin,
# movie and screen; needs the folder `work`, which it makes and removes.
# shellcheck source=scripts/virtual_display.sh
. "$root/scripts/virtual_display.sh"

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
    import -silent -window root "png24:${TMPDIR-/tmp}/player_failure.png" 2>/dev/null &&
        echo "(the screen: ${TMPDIR-/tmp}/player_failure.png)" >&2
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
    timeout 10 tail --pid="$tool" -f /dev/null || fail 'it does not end'
    wait "$tool" || status=$?
    tool=
    [ "$status" -eq 0 ] || fail "ended with status $status"
    [ ! -s "$work/errors" ] || fail "said on standard error: $(cat "$work/errors")"
}

# The window's place and size now: left, top, wide, high.
measure_window() {
    local what
    what=$(xwininfo -id "$window")
    left=$(sed -n 's/.*Absolute upper-left X: *//p' <<<"$what")
    top=$(sed -n 's/.*Absolute upper-left Y: *//p' <<<"$what")
    wide=$(sed -n 's/.*Width: *//p' <<<"$what")
    high=$(sed -n 's/.*Height: *//p' <<<"$what")
}
# The picture in the window must be this frame (zoomed): above the controls, in the middle.
grab() { import -silent -window "$window" png24:"$work/seen.png"; }
shows() {
    local frame=$1 zoom=${2-1} size differing
    size=$((width * zoom))x$((height * zoom))
    grab
    convert "$work/seen.png" -gravity south -crop "$size+0+$(up 145)" +repage "$work/middle.png"
    convert "$(expected "$frame")" -filter point -resize "$size!" "$work/wanted.png"
    differing=$(compare -metric AE "$work/wanted.png" "$work/middle.png" null: 2>&1) || true
    [ "$differing" = 0 ]
}
shows_any() {
    local frame
    for frame in "$@"; do
        ! shows "$frame" || return 0
    done
    return 1
}
# Keys reach the screen within a moment; on a busy machine within a longer one.
await() {
    local what=$1
    shift
    for _ in $(seq 100); do
        "$@" && return 0
        sleep 0.05
    done
    fail "$what"
}
key() { xdotool key --delay 30 "$@"; }
lines() { wc -l <"$work/stats"; }
has_lines() { [ "$(lines)" -ge "$1" ]; }
is_iconic() { xprop -id "$window" WM_STATE | grep -q 'window state: Iconic'; }
is_normal() { xprop -id "$window" WM_STATE | grep -q 'window state: Normal'; }
window_named() { xdotool search --onlyvisible --name "$1" >/dev/null 2>&1; }
no_window_named() { ! window_named "$1"; }
title_has() { xprop -id "$window" _NET_WM_NAME | grep -q "$1"; }

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
choose() {
    local x=$1
    shift
    measure_window
    xdotool mousemove $((left + x)) $((top + 12)) click 1
    sleep 0.2
    key "$@"
    xdotool mousemove $((left + wide / 2)) $((top + $(up 50))) # as point_at_window; it may be gone
}
choose_animation() { choose 40 "$@"; }
choose_playback() { choose 130 "$@"; }

# Idle: nothing at all wakes it while nothing happens. At first it may still wait for a double click.
wakings() { awk '/ctxt_switches/ {n += $2} END {print n}' "/proc/$tool/task/"*/status; }
ticks() { awk '{print $14 + $15}' "/proc/$tool/stat"; }
idle_for_three_seconds() {
    local before='' woken used
    for _ in $(seq 10); do
        [ "$(wakings)" != "$before" ] || break
        before=$(wakings)
        sleep 1
    done
    used=$(ticks)
    sleep 3
    woken=$(($(wakings) - before))
    used=$(($(ticks) - used))
    [ "$woken" -eq 0 ] || fail "woken $woken times in 3 s of standing still"
    [ "$used" -eq 0 ] || fail "$used hundredths of a second used in 3 s of standing still"
}
