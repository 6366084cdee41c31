#!/bin/sh
# How quickly `sparkhost view` answers a person at 1280x720, in the default replayed time, with
# 120 and with 2000 particles:
#   - scrubbing: the timeline's handle dragged across 100 frames in 2 s, first over frames not
#     seen since the last edit (each rendered as the handle reaches it), then back over them
#     (shown as kept); frames shown per second while dragging;
#   - at frame 100 (every new frame there is brought forward from frame 1): the time from a value
#     typed into "Shape Width", from the release of a drag of the birth handle and from a press of
#     Advance (an event placed at frame 100) to the new frame on screen, each the median of three.
# Goals: a typed value at frame 100 with 120 particles on screen within 150 ms; scrubbing at 20
# frames a second or more.
set -eu
BUILD=${1:-build}
OUT=out/bench/view
mkdir -p "$OUT"
if [ -n "${DISPLAY:-}" ]; then VIEW=""; else VIEW="xvfb-run -a"; fi

actions() {  # $1: particles
    echo "set \"Vesk Size\" $1"
    echo "set \"Render Mode\" Render"
    echo "frame 1"
    echo "scrub 1 100 2000"
    echo "scrub 100 1 2000"
    echo "frame 100"
    for width in 40 44 48; do echo "type \"Shape Width\" $width"; done
    echo "drag 1075,605 700,400"
    echo "drag 700,400 1075,605"
    echo "drag 1075,605 700,400"
    for i in 1 2 3; do echo "press Advance"; done
}

median() { sort -n | awk '{ v[NR] = $1 } END { if (NR == 0) print "-"; else print v[int((NR + 1) / 2)] }'; }
took() { sed 's/.*(\([0-9.]*\) ms)$/\1/'; }

# $1: plug-in file, $2: particles, $3: its name in the report.
measure() {
    actions "$2" > "$OUT/actions-$3-$2.txt"
    $VIEW "$BUILD/sparkhost" view "$1" --size 1280x720 --frames 1-100 \
        --script "$OUT/actions-$3-$2.txt" > "$OUT/times-$3-$2.txt" 2> /dev/null
    times="$OUT/times-$3-$2.txt"
    fresh=$(grep '^scrub 1 100' "$times" | sed 's/.*(\([0-9.]*\) frames\/s).*/\1/')
    kept=$(grep '^scrub 100 1' "$times" | sed 's/.*(\([0-9.]*\) frames\/s).*/\1/')
    typed=$(grep '^type Shape Width' "$times" | took | median)
    release=$(grep '^drag' "$times" | sed 's/.*release to frame \([0-9.]*\) ms.*/\1/' | median)
    button=$(grep '^press Advance' "$times" | took | median)
    printf 'view %-10s %4s particles  scrub: %5s frames/s new, %5s frames/s seen   at frame 100: typed value %7s ms, drag release %7s ms, button %7s ms\n' \
        "$3" "$2" "$fresh" "$kept" "$typed" "$release" "$button"
}

for n in 120 2000; do measure "$BUILD/vesk.spark" "$n" vesk.spark; done
# The OpenFX effect keeps its own simulation states: an edit at frame 100 steps from the nearest.
measure "$BUILD/Vesk.ofx.bundle" 120 Vesk.ofx
