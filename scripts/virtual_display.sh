# shellcheck shell=bash
# A virtual X server of our own, on a number that nobody else has. Sourced; needs xvfb.
#
#   start_virtual_display [WIDTHxHEIGHT]    sets and exports DISPLAY
#   start_window_manager                    openbox, when a window manager is wanted
#   stop_virtual_display                    ends what was started; safe to call twice
#
#   wait_for_window PID                     prints the player's window, or fails
#   stat_field FILE FIELD [LINE]            a number out of the player's statistics

virtual_server=''
virtual_manager=''
virtual_work=''

start_virtual_display() {
    virtual_work=$(mktemp -d)
    mkfifo "$virtual_work/number"
    # -r: a key is pressed once, however late it is released
    Xvfb -displayfd 3 -screen 0 "${1-1280x1024}x24" -r -noreset -nolisten tcp \
        3>"$virtual_work/number" >"$virtual_work/log" 2>&1 &
    virtual_server=$!
    local number
    read -r -t 60 number <"$virtual_work/number" || {
        echo "no virtual display came up:" >&2
        cat "$virtual_work/log" >&2
        return 1
    }
    export DISPLAY=":$number"
}

# Whether a frame is put around a window that is opened now. What a window manager says of itself is no
# sign: windows that are opened while it starts can go unseen.
frames_windows() {
    local probe framed=1
    xev -geometry 20x20 >/dev/null 2>&1 &
    probe=$!
    for _ in $(seq 20); do
        sleep 0.1
        xwininfo -name 'Event Tester' -children 2>/dev/null |
            awk '/Root window id:/ {root = $4} /Parent window id:/ {parent = $4}
                 END {exit parent == root}' && { framed=0; break; }
    done
    kill "$probe" 2>/dev/null || true
    wait "$probe" 2>/dev/null || true
    return $framed
}

start_window_manager() {
    openbox --sm-disable >"$virtual_work/manager.log" 2>&1 &
    virtual_manager=$!
    for _ in $(seq 30); do
        frames_windows && frames_windows && return 0 # those that it finds at its start are no sign, too
        kill -0 "$virtual_manager" 2>/dev/null || break
    done
    echo "the window manager did not start:" >&2
    cat "$virtual_work/manager.log" >&2
    return 1
}

stop_virtual_display() {
    local pid
    for pid in $virtual_manager $virtual_server; do
        kill "$pid" 2>/dev/null || continue
        wait "$pid" 2>/dev/null || true
    done
    [ -z "$virtual_work" ] || rm -rf "$virtual_work"
    virtual_server=''
    virtual_manager=''
    virtual_work=''
}

wait_for_window() {
    local found
    for _ in $(seq 1200); do
        found=$(xdotool search --all --onlyvisible --pid "$1" --name 'Player Tool' 2>/dev/null |
            head -n 1) || true
        [ -n "$found" ] && { echo "$found"; return 0; }
        kill -0 "$1" 2>/dev/null || break
        sleep 0.05
    done
    echo "the player's window did not appear" >&2
    return 1
}

stat_field() {
    sed -n "${3-1}s/.*\"$2\": *\([-0-9.]*\).*/\1/p" "$1"
}
