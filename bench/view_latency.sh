#!/bin/sh
# How quickly `sparkhost view` answers a person at 1280x720 with 120 particles: the time from a
# slider edit (a value typed into "Shape Width") to the new frame on screen, and from the release
# of a drag of the birth handle to the new frame, each the median of five and four, in the replayed
# mode at frame 1 and at frame 50 (where every new frame is brought forward from frame 1) and
# with every processed frame advancing the swarm, as in an IFFFS host.
set -eu
BUILD=${1:-build}
OUT=out/bench/view
mkdir -p "$OUT"
if [ -n "${DISPLAY:-}" ]; then VIEW=""; else VIEW="xvfb-run -a"; fi

actions() {  # $1: mode, $2: frame
    echo "mode $1"
    echo "set \"Vesk Size\" 120"
    echo "set \"Render Mode\" Render"
    echo "frame $2"
    for width in 40 44 48 52 56; do echo "set \"Shape Width\" $width"; done
    for i in 1 2; do
        echo "drag 1075,605 700,400"
        echo "drag 700,400 1075,605"
    done
}

median() { sort -n | awk '{ v[NR] = $1 } END { if (NR == 0) print "-"; else print v[int((NR + 1) / 2)] }'; }

for run in "replayed 1" "replayed 50" "ifffs 50"; do
    set -- $run
    actions "$1" "$2" > "$OUT/actions-$1-$2.txt"
    $VIEW "$BUILD/sparkhost" view "$BUILD/vesk.spark" --size 1280x720 --frames 1-100 \
        --script "$OUT/actions-$1-$2.txt" > "$OUT/times-$1-$2.txt" 2> /dev/null
    edit=$(grep '^set Shape Width' "$OUT/times-$1-$2.txt" | sed 's/.*(\([0-9.]*\) ms)$/\1/' | median)
    release=$(grep '^drag' "$OUT/times-$1-$2.txt" | sed 's/.*release to frame \([0-9.]*\) ms.*/\1/' | median)
    printf 'view %-8s at frame %-3s  slider edit to frame on screen %8s ms   drag release to frame %8s ms\n' \
        "$1" "$2" "$edit" "$release"
done
