#!/bin/sh
# Runs every benchmark program, then renders 100 frames of the demo scene at 1920x1080 and reports
# frames per second with the image reading and writing shown apart from the plug-in's own time.
set -eu
BUILD=${1:-build}
OUT=out/bench
mkdir -p "$OUT"

for program in "$BUILD"/bench_*; do
    [ -x "$program" ] || continue
    echo "== $(basename "$program")"
    "$program"
done

echo "== demo scene, 100 frames at 1920x1080"
rm -rf "$OUT/scene"
mkdir -p "$OUT/scene"
"$BUILD/sparkhost" render "$BUILD/vesk.spark" --frames 1-100 --size 1920x1080 \
    --press "Simple Food Hunt" --set "Vesk Size=120" --set "Add Living Rotate=on" \
    --keys examples/food-path.keys -o "$OUT/scene/vesk.####.png" 2>&1 | grep '^sparkhost: rendered'

# ---- soak: 10,000 small frames, resident memory flat within 5 % (added separately; see bench/soak.cpp)
"$BUILD/vesk_soak" 10000 "$OUT/soak.png"
