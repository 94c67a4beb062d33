#!/usr/bin/env bash
# Renders the demo animation "paper_theatre": 96 pictures, 480 x 360 PNG, named
# paper_theatre0001.png to paper_theatre0096.png, into one folder.
set -euo pipefail

readonly NAME=paper_theatre
readonly FRAMES=96
readonly DEFAULT_FOLDER=build/scene

usage() {
    cat <<USAGE
usage: render.sh [--threads N] [folder]

Renders the demo animation (${FRAMES} PNG pictures, 480 x 360, a loop at 24
frames a second) into the folder, made if need be; default: ${DEFAULT_FOLDER}.
Pictures of that name that are already there are replaced.

  --threads N   processors to use (default: all)
  --help        this text
USAGE
}

fail() {
    echo "render.sh: $1" >&2
    exit 1
}

threads=
folder=

while (($# > 0)); do
    case $1 in
        --help | -h)
            usage
            exit 0
            ;;
        --threads)
            (($# > 1)) || fail "--threads needs a number"
            threads=$2
            shift
            ;;
        -*)
            fail "unknown option '$1' (--help shows the usage)"
            ;;
        *)
            [[ -z $folder ]] || fail "one folder only, but '$1' came after '$folder'"
            folder=$1
            ;;
    esac
    shift
done
command -v povray > /dev/null ||
    fail "povray not found: install POV-Ray 3.7 (Debian: apt-get install povray)"

[[ -n $threads ]] || threads=$(getconf _NPROCESSORS_ONLN)
[[ $threads =~ ^[1-9][0-9]*$ ]] || fail "--threads: '$threads' is not a number of threads"
folder=${folder:-$DEFAULT_FOLDER}

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
mkdir -p "$folder"
folder=$(cd "$folder" && pwd)
rm -f "$folder/$NAME"[0-9][0-9][0-9][0-9].png

log=$(mktemp)
trap 'rm -f "$log"' EXIT

echo "rendering $FRAMES pictures of $NAME into $folder, $threads thread(s)"
# POV-Ray numbers with as many digits as the last frame has, two; the two
# noughts at the end of the name make the four that movie tools expect.
cd "$here"
povray "$NAME.ini" "+O$folder/${NAME}00" "+WT$threads" > "$log" 2>&1 || {
    tr '\r' '\n' < "$log" | tail -n 25 >&2
    fail "povray failed; its last lines are above"
}

shopt -s nullglob
pictures=("$folder/$NAME"[0-9][0-9][0-9][0-9].png)
((${#pictures[@]} == FRAMES)) ||
    fail "expected $FRAMES pictures in $folder, found ${#pictures[@]}"
echo "done: ${pictures[0]} to ${pictures[-1]} in $SECONDS s"
