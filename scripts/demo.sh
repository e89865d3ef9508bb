#!/bin/sh
# scripts/demo.sh OSTRA_TOOL OUTPUT_FOLDER [PICTURE.png]
# Runs kernels through the tool and leaves pictures and times.txt. Without a picture of the caller's it works on one that
# is rendered here: nothing in this repository is a photograph.
set -eu

tool=$(realpath "$1")
mkdir -p "$2"
out=$(realpath "$2")
photo=${3:+$(realpath "$3")}
here=$(cd "$(dirname "$0")" && pwd)
kernels=$here/../kernels
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
: >"$out/times.txt"

# run LABEL KERNEL OPTIONS...: runs a kernel and notes its time, which is that of all its dispatches without compiling.
run() {
  label=$1
  shift
  "$tool" run "$@" >"$work/report" || { cat "$work/report"; exit 1; }
  printf '%-28s %-14s %s\n' "$label" "$(sed -n 's/^size  *//p' "$work/report")" \
    "$(sed -n 's/^time  *//p' "$work/report")" | tee -a "$out/times.txt"
}

width=1920
height=1080
printf '%-28s %-14s %s\n' kernel size time | tee -a "$out/times.txt"
if [ -n "$photo" ]; then
  picture=$photo
  # A PNG file has its width and height at byte 16, big-endian.
  pixels=$(od -An -j16 -N8 -tu1 "$photo" | awk '{ print ($1 * 16777216 + $2 * 65536 + $3 * 256 + $4) * \
    ($5 * 16777216 + $6 * 65536 + $7 * 256 + $8) }')
else
  pixels=$((width * height))
  run "scene" "$here/demo/net.ostra.demo.scene.krn" --size ${width}x$height --set width=$width --set height=$height \
    --set grain=0.12 --out target="$out/scene.exr"
  picture=$out/scene.exr
fi

run "tonemap" "$kernels/net.ostra.kernels.tonemap.krn" --in source="$picture" --out target="$out/tonemap.png" \
  --set count="$pixels" --set exposure=0.8 --set white=6 --set gamma=2.2 --repeat 5
awk 'BEGIN { split("1 4 6 4 1", w, " "); for (y = 1; y <= 5; y++) for (x = 1; x <= 5; x++) print w[x] * w[y] / 256 }' \
  >"$work/taps.csv"
run "blur, 25 weights" "$kernels/net.ostra.kernels.blur5.krn" --in source="$out/tonemap.png" --in taps="$work/taps.csv" \
  --out target="$out/blur.png" --repeat 5
run "bilateral, radius 5" "$kernels/net.ostra.kernels.bilateral.krn" --in source="$out/tonemap.png" \
  --out target="$out/bilateral.png" --set radius=5 --set sigmaSpace=2.5 --set sigmaColor=0.25 --repeat 3

run "mandelbrot, 1000 steps" "$kernels/net.ostra.kernels.mandelbrot.krn" --size ${width}x$height --set width=$width \
  --set height=$height --set left=-2.4 --set top=-1.0 --set pixelSize=0.00185 --set maximum=1000 \
  --out steps="$work/steps.raw" --repeat 3
run "  its colours" "$here/demo/net.ostra.demo.stepcolors.krn" --size ${width}x$height --set width=$width \
  --set height=$height --set maximum=1000 --in steps="$work/steps.raw" --out target="$out/mandelbrot.png"

side=512
steps=2000
run "spots" "$here/demo/net.ostra.demo.spots.krn" --size ${side}x$side --set width=$side --set height=$side \
  --out target="$work/spots.raw"
run "reaction, $steps steps" "$kernels/net.ostra.kernels.reactiondiffusion.krn" --size ${side}x$side --set width=$side \
  --set height=$side --set feed=0.037 --set kill=0.06 --set spreadX=1 --set spreadY=0.5 --set timeStep=1 \
  --in source="$work/spots.raw" --swap source,target --iterations ${steps} --out source="$work/pattern.raw"
run "  its colours" "$here/demo/net.ostra.demo.substancecolors.krn" --size ${side}x$side --set width=$side \
  --set height=$side --in substances="$work/pattern.raw" --out target="$out/reaction.png"

echo "The pictures are in $out."
