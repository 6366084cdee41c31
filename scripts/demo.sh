#!/bin/sh
# Renders the demo scene: the "Simple Food Hunt" preset over the built-in plate at 1280x720,
# then a contact sheet and an animated preview, all under out/demo.
set -eu
BUILD=${1:-build}
OUT=out/demo
FRAMES=${DEMO_FRAMES:-160}

rm -rf "$OUT"
mkdir -p "$OUT/frames"

"$BUILD/sparkhost" render "$BUILD/vesk.spark" \
    --frames "1-$FRAMES" --size 1280x720 \
    --press "Simple Food Hunt" --set "Vesk Size=120" --set "Add Living Rotate=on" \
    --keys examples/food-path.keys \
    --save-setup "$OUT/demo.setup" \
    -o "$OUT/frames/vesk.####.png"

# Contact sheet: every tenth frame as a thumbnail, in a grid of four columns.
sheet_frames=$(ls "$OUT"/frames/vesk.*.png | awk 'NR % 10 == 1')
# shellcheck disable=SC2086
montage $sheet_frames -tile 4x -geometry 320x180+4+4 -background '#202020' "$OUT/contact-sheet.png"

# Animated previews: an MP4 and a GIF with a palette made from the frames themselves.
ffmpeg -loglevel error -y -framerate 24 -i "$OUT/frames/vesk.%04d.png" \
    -c:v libx264 -pix_fmt yuv420p -crf 20 "$OUT/vesk.mp4"
ffmpeg -loglevel error -y -framerate 24 -i "$OUT/frames/vesk.%04d.png" \
    -vf "scale=640:-1:flags=lanczos,split[a][b];[a]palettegen[p];[b][p]paletteuse" "$OUT/vesk.gif"

# The viewer's window on the demo's setup, under a virtual display when there is none.
if [ -n "${DISPLAY:-}" ]; then VIEW=""; else VIEW="xvfb-run -a"; fi
$VIEW "$BUILD/sparkhost" view "$BUILD/vesk.spark" --frames "1-$FRAMES" --size 1280x720 \
    --setup "$OUT/demo.setup" --screenshot "$OUT/viewer.png" > /dev/null

echo
echo "Vesk demo rendered:"
echo "  frames         $OUT/frames/vesk.0001.png … vesk.$(printf %04d "$FRAMES").png"
echo "  contact sheet  $OUT/contact-sheet.png"
echo "  preview        $OUT/vesk.mp4 and $OUT/vesk.gif"
echo "  setup          $OUT/demo.setup"
echo "  viewer window  $OUT/viewer.png"
