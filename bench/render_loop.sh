#!/bin/sh
# sparkhost's render loop: the demo scene rendered once with its stages one after the other (each
# stage measured alone) and once overlapped (reading ahead, writers in parallel). Prints the wall
# time per frame over the slowest stage alone, beside the target of 1.25.
set -eu
BUILD=${1:-build}
FRAMES=${FRAMES:-1-40}
SIZE=${SIZE:-1920x1080}
OUT=out/bench/loop
rm -rf "$OUT" && mkdir -p "$OUT"

run() {
    "$BUILD/sparkhost" render "$BUILD/vesk.spark" --frames "$FRAMES" --size "$SIZE" \
        --press "Simple Food Hunt" --set "Vesk Size=120" \
        --keys examples/food-path.keys -o "$OUT/f.####.png" "$@" 2>&1 | grep '^sparkhost: rendered'
}
# "...; per frame: read R ms, plug-in P ms, write W ms, wall T ms"
field() { sed -n "s/.*$1 \([0-9.]*\) ms.*/\1/p"; }

alone=$(run --no-overlap)
whole=$(run)
echo "stages alone: ${alone#*per frame: }"
echo "overlapped:   ${whole#*per frame: }"
read_ms=$(echo "$alone" | field read)
plugin_ms=$(echo "$alone" | field plug-in)
write_ms=$(echo "$alone" | field write)
wall_ms=$(echo "$whole" | field wall)
awk -v r="$read_ms" -v p="$plugin_ms" -v w="$write_ms" -v t="$wall_ms" 'BEGIN {
    s = r; if (p > s) s = p; if (w > s) s = w;
    ratio = t / s;
    printf "render loop: wall %.1f ms / slowest stage %.1f ms = %.2f (target 1.25) %s\n",
           t, s, ratio, ratio <= 1.25 ? "met" : "not met";
}'
