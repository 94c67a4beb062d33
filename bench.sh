#!/usr/bin/env bash
# Measures how fast things are, against what else there is.
#
#   ./bench.sh codec [--json FILE]     the movie codec, against memory and FFmpeg (2 minutes)
#   ./bench.sh read [--json FILE]      finding and reading the frames of a long movie
#   ./bench.sh toolkit                 objects and demons; boxes, texts, icons drawn
#   ./bench.sh link                    frames from a renderer to the screen (1 minute)
#   ./bench.sh preview                 frames from their files to the screen (1 minute)
#   ./bench.sh playback [SECONDS]      playing on a virtual display, beside mpv and ffplay (4 minutes)
#
# --json FILE: the single measurements too, as Google Benchmark writes them. Each program runs on
# one core. Close what else is running; what can not be closed falls on all rows alike.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

usage() { sed -n '2,12s/^# \{0,1\}//p' "$0"; }

refuse() {
    usage >&2
    exit 2
}

# Builds one benchmark in build/bench.
build() {
    # shellcheck source=scripts/packages.sh
    . "$here/scripts/packages.sh"
    install_packages "${packages_to_bench[@]}"
    mkdir -p "$here/build"
    local log=$here/build/bench.log
    echo "building $1" >&2
    { (cd "$here" && cmake --preset bench) && cmake --build "$here/build/bench" --target "$1"; } \
        >"$log" 2>&1 || {
        tail -n 30 "$log" >&2
        echo "bench.sh: the build failed; all of it is in $log" >&2
        exit 1
    }
}

# Runs one benchmark on the last core that this shell may use; the first ones get the interrupts.
run_pinned() {
    local core
    core=$(sed -n 's/^Cpus_allowed_list:.*[^0-9]\([0-9]\{1,\}\)$/\1/p' /proc/self/status)
    echo "processor: $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1), core $core;" \
        "load before: $(cut -d ' ' -f 1 /proc/loadavg)"
    taskset -c "$core" "$here/build/bench/bin/$1" "${@:2}"
}

run() {
    local program=$1
    shift
    local arguments=()
    case "$#-${1-}" in
    0-) ;;
    2---json)
        : >>"$2" || exit 1 # told by the shell, before minutes are spent
        arguments=("--benchmark_out=$2" --benchmark_out_format=json)
        ;;
    *) refuse ;;
    esac
    build "$program"
    run_pinned "$program" "${arguments[@]}"
}

case "${1-}" in
codec) run bench_codec "${@:2}" ;;
read) run bench_read "${@:2}" ;;
toolkit)
    [ $# -eq 1 ] || refuse
    programs=(bench_toolkit_objects bench_toolkit_demons bench_toolkit_boxes bench_toolkit_text
        bench_toolkit_icons)
    for program in "${programs[@]}"; do build "$program"; done
    for program in "${programs[@]}"; do run_pinned "$program"; done
    ;;
link)
    [ $# -eq 1 ] || refuse
    for program in playertool link_frames; do build "$program"; done
    exec "$here/bench/link" "$here/build/bench/bin"
    ;;
preview)
    [ $# -eq 1 ] || refuse
    for program in playertool reel reel_images preview_frames; do build "$program"; done
    exec "$here/bench/preview" "$here/build/bench/bin"
    ;;
playback)
    [ $# -le 2 ] || refuse
    for program in playertool reel reel_images reel_videos first_picture scrub; do build "$program"; done
    exec "$here/bench/playback" "$here/build/bench/bin" "${@:2}"
    ;;
'' | -h | --help) usage ;;
*) refuse ;;
esac
