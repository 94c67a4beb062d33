# shellcheck shell=bash
# What end-to-end tests do with the progress window of a session. Sourced as player_steps.sh is, which
# it brings.
# shellcheck source=tests/e2e/player_steps.sh
. "$root/tests/e2e/player_steps.sh"

# find_progress TITLE: the window of what has just been started, which is the one that is measured
# next, and the player's process.
find_progress() {
    await "$1 opens" window_named "$1"
    progress=$found
    player=$(xdotool getwindowpid "$progress")
    window=$progress
}
is_gone() { ! runs "$player"; }

# Of the progress window, from the lower edge of its middle, in the design's pixels.
red_columns() { # of the bar, in percent
    window=$progress
    local length
    length=$(across 300)
    measure_window && grab && convert "$work/seen.png" -crop "$((length - 2))x1+$(((wide - length) / 2 + 1))+$((high - $(up 110)))" \
        +repage -fill black +opaque 'rgb(255,0,0)' -format '%[fx:int(mean.r*100+0.5)]' info:
}
has_red() {
    bar=$(red_columns) && [ "$bar" -ge "$1" ]
}
# Frames that were on their way come; then `bar` is how far it is.
bar_stands() {
    bar=$(red_columns) && sleep 1 && [ "$bar" = "$(red_columns)" ]
}
click() { # X Y
    window=$progress
    measure_window
    xdotool mousemove $((left + wide / 2 + $(across "$1"))) $((top + high - $(up "$2"))) click 1
}
press_cancel() { click -75 25; }
press_paused() { click 75 25; }
press_ok() { click 0 25; }
press_close_box() { # WINDOW
    activate "$1"
    key alt+F4
}
close_window() { # the progress window; and keeps rendering
    press_close_box "$progress"
    await 'its close box asks' window_named Question
    key Return
}
# A picture of a window, which stands so far above its lower edge.
picture_of() { # WINDOW HEIGHT FILE
    window=$1
    grab && convert "$work/seen.png" -gravity south -crop "$size+0+$2" +repage "$work/$3.png"
}
# How far two pictures are from each other, 0 to 100; nothing when they can not be compared.
distance() {
    compare -metric RMSE "$work/$1.png" "$work/$2.png" null: 2>&1 |
        sed -n 's/.*(\(.*\))/\1/p' | awk '{print int($1 * 100)}' || true
}
# Whether a window shows what a picture shows (WINDOW HEIGHT PICTURE), or something else: at least so
# far from it.
looks_like() { picture_of "$1" "$2" now && [ "$(distance "$3" now)" -le "${4-0}" ]; }
looks_unlike() { picture_of "$1" "$2" now && [ "$(distance "$3" now)" -ge "$4" ]; }
