#!/bin/sh
# Runs every benchmark program, then renders the demo scene through sparkhost and reports the
# frame goals: steady-state plug-in time per frame at 1920x1080 and 3840x2160 with the stages
# measured alone (--no-overlap, so that the writer threads do not compete with the plug-in for the
# processors), against a memcpy of one HD image measured by bench_goals in the same run, and page
# faults per frame of the normal overlapped render, which is what a user runs.
set -eu
BUILD=${1:-build}
OUT=out/bench
mkdir -p "$OUT"

for program in "$BUILD"/bench_*; do
    [ -x "$program" ] || continue
    echo "== $(basename "$program")"
    if [ "$(basename "$program")" = bench_goals ]; then
        "$program" "$OUT/memcpy_hd_ms"
    else
        "$program"
    fi
done

# The demo scene for `count` frames at `size` (further arguments passed on); prints
# "<plug-in seconds> <minor faults>".
scene() {
    size=$1 count=$2
    shift 2
    rm -rf "$OUT/scene"
    mkdir -p "$OUT/scene"
    /usr/bin/time -f "faults %R" -o "$OUT/time.txt" \
        "$BUILD/sparkhost" render "$BUILD/vesk.spark" --frames "1-$count" --size "$size" \
        --press "Simple Food Hunt" --set "Vesk Size=120" --set "Add Living Rotate=on" \
        --keys examples/food-path.keys -o "$OUT/scene/vesk.####.tif" "$@" >/dev/null 2>"$OUT/render.txt"
    grep '^sparkhost: rendered' "$OUT/render.txt" >&2
    # The summary gives the plug-in's time per frame; the total is that times the frames.
    per_frame=$(sed -n 's/.*plug-in \([0-9.]*\) ms.*/\1/p' "$OUT/render.txt")
    plugin=$(awk -v ms="$per_frame" -v n="$count" 'BEGIN { printf "%.4f", ms * n / 1000 }')
    faults=$(sed -n 's/^faults //p' "$OUT/time.txt")
    echo "$plugin $faults"
}

# Steady state: the difference between a 13-frame and a 3-frame render, over 10 frames.
echo "== demo scene through sparkhost (steady state: frames 4 to 13 of a 13-frame render)"
hd=$(scene 1920x1080 3; scene 1920x1080 13)
uhd=$(scene 3840x2160 3; scene 3840x2160 13)
hd_alone=$(scene 1920x1080 3 --no-overlap; scene 1920x1080 13 --no-overlap)
uhd_alone=$(scene 3840x2160 3 --no-overlap; scene 3840x2160 13 --no-overlap)
memcpy_ms=$(cat "$OUT/memcpy_hd_ms" 2>/dev/null || echo 0)
echo $hd $uhd $hd_alone $uhd_alone $memcpy_ms | awk '
function verdict(ok) { return ok ? "met" : "NOT MET" }
{
    hdf = ($4 - $2) / 10; uhdf = ($8 - $6) / 10;            # minor faults per frame, overlapped
    hd = ($11 - $9) * 100; uhd = ($15 - $13) * 100;         # plug-in ms per frame, stages alone
    printf "frame plug-in time (stages alone) HD %.1f ms, 4K %.1f ms; page faults per frame (overlapped) HD %.0f, 4K %.0f\n", hd, uhd, hdf, uhdf
    printf "goal 0 page faults per frame, HD                %8.0f (target <= 100): %s\n", hdf, verdict(hdf <= 100)
    printf "goal 0 page faults per frame, 4K                %8.0f (target <= 100): %s\n", uhdf, verdict(uhdf <= 100)
    printf "goal 0 4K frame / HD frame                      %8.2fx (target <= 4.3x): %s\n", uhd / hd, verdict(uhd / hd <= 4.3)
    if ($17 > 0) printf "goal 5 HD frame / memcpy of one HD image         %8.2fx (target <= 25x): %s\n", hd / $17, verdict(hd / $17 <= 25)
    printf "goal 5 4K frame / HD frame                      %8.2fx (target <= 4.3x): %s\n", uhd / hd, verdict(uhd / hd <= 4.3)
}'

# --- sparkhost render loop (stages alone vs overlapped) ---
bench/render_loop.sh "$BUILD"

# ---- sparkhost view: interactive latency (slider edit and drag release to the new frame) ----
bench/view_latency.sh "$BUILD"

# ---- soak: 10,000 small frames, resident memory flat within 5 % (added separately; see bench/soak.cpp)
"$BUILD/vesk_soak" 10000 "$OUT/soak.png"
