#!/bin/sh
# scripts/demo.sh OSTRA_TOOL OUTPUT_FOLDER [PICTURE.png]
# Runs kernels through the tool, on the CPU and on the GPU, and leaves pictures, times.txt (both times and how far the
# results are apart) and index.html, a page of both. Then scenes of graphics programs are drawn. Without a GPU, or a driver that plays one, it says so and
# goes on with the CPU. Without a picture of the caller's it works on one that is rendered here: nothing in this
# repository is a photograph.
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
: >"$work/references"

# The device that is there, as `ostra info` lists it.
"$tool" info >"$work/info"
device=$(sed -n 's/^  0  //p' "$work/info")
if [ -n "$device" ]; then
  backend=both
  echo "GPU: $device" | tee -a "$out/times.txt"
else
  backend=cpu
  echo "There is no GPU ($(sed -n 's/^  no device: //p' "$work/info")): everything runs on the CPU." | tee -a "$out/times.txt"
fi

# field NAME: a line of the last report. Of several repetitions the best counts; the driver compiles in the first.
field() {
  sed -n "s/^$1  *//p" "$work/report" | sed 's/ (best of.*//'
}

# of_best LABEL TIME: the speed of a kernel on the CPU in percent of that of the fastest hand-written loop for the same
# work, which has run here too (bench/demo); "-" where there is none.
of_best() {
  awk -F '\t' -v label="$1" -v time="$2" 'BEGIN { percent = "-" }
    $1 == label {
      split(time, part, " ")
      factor = part[2] == "s" ? 1000 : part[2] == "ms" ? 1 : part[2] == "us" ? 0.001 : 0
      if (part[1] * factor > 0) percent = sprintf("%.0f %%", 100 * $2 / (part[1] * factor))
    }
    END { print percent }' "$work/references"
}

# row LABEL SIZE CPU GPU OF_BEST DIFFERENCE: a line of the table.
row() {
  printf '%s\t%s\t%s\t%s\t%s\t%s\n' "$@" >>"$work/rows"
  printf '%-24s %-12s %12s %12s %18s   %s\n' "$@" | tee -a "$out/times.txt"
}

# line LABEL SIZE CPU GPU DIFFERENCE: the same, with the fifth cell looked up.
line() {
  row "$1" "$2" "$3" "$4" "$(of_best "$1" "$3")" "$5"
}

# measure BACKEND LABEL KERNEL OPTIONS...: runs a kernel and notes its times, which are those of all its dispatches
# without compiling.
measure() {
  where=$1
  label=$2
  shift 2
  case "$where $* " in "both "*" --repeat "*) ;; "both "*) set -- "$@" --repeat 2 ;; esac
  "$tool" run "$@" --backend "$where" >"$work/report" || { cat "$work/report"; exit 1; }
  if [ "$where" = both ]; then
    line "$label" "$(field size)" "$(field 'time on the CPU')" "$(field 'time on the GPU')" "$(field difference)"
  else
    line "$label" "$(field size)" "$(field time)" - -
  fi
}

# run LABEL KERNEL OPTIONS...
run() {
  measure "$backend" "$@"
}

width=1920
height=1080
row kernel size CPU GPU "of the best known" "largest difference"
if [ -n "$photo" ]; then
  picture=$photo
  # A PNG file has its width and height at byte 16, big-endian.
  extent=$(od -An -j16 -N8 -tu1 "$photo" | awk '{ print $1 * 16777216 + $2 * 65536 + $3 * 256 + $4, \
    $5 * 16777216 + $6 * 65536 + $7 * 256 + $8 }')
  pixels=$((${extent% *} * ${extent#* }))
else
  extent="$width $height"
  pixels=$((width * height))
  run "scene" "$here/demo/net.ostra.demo.scene.krn" --size ${width}x$height --set width=$width --set height=$height \
    --set grain=0.12 --out target="$out/scene.exr"
  picture=$out/scene.exr
fi

run "tonemap" "$kernels/net.ostra.kernels.tonemap.krn" --in source="$picture" --out target="$out/tonemap.png" \
  --set count="$pixels" --set exposure=0.8 --set white=6 --set gamma=2.2 --repeat 5
references=$(dirname "$tool")/ostra-demo-references
if [ -x "$references" ]; then
  # shellcheck disable=SC2086
  "$references" $extent >"$work/references" || {
    [ $? -ne 1 ] || exit 1  # results differ
    # The picture is too large for the loops, or for the memory beside them, which their line says.
    echo "note: nothing is compared with hand-written loops"
    : >"$work/references"
  }
fi
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
  --in source="$work/spots.raw" --swap source,target --iterations ${steps} --repeat 1 --out source="$work/pattern.raw"
run "  its colours" "$here/demo/net.ostra.demo.substancecolors.krn" --size ${side}x$side --set width=$side \
  --set height=$side --in substances="$work/pattern.raw" --out target="$out/reaction.png"

# Textures: pictures, a table of colours and a volume that noise makes.
run "warp" "$kernels/net.ostra.kernels.warp.krn" --in image="$out/tonemap.png" --texture image:wrap=repeat \
  --set angle=3 --set radius=0.8 --out result="$out/warp.png" --repeat 5
# Devices know neither sRGB texels nor the colour of a border.
measure cpu "rotate, light blended" "$kernels/net.ostra.kernels.rotate.krn" --in image="$out/tonemap.png" \
  --texture image:srgb=true,wrap=border,border=0.02/0.02/0.02/1 --set angle=0.3 --set scale=0.8 \
  --out result="$out/rotate.png" --repeat 3
# A table of colours with 17 steps along red, green and blue: dark colours become bluish, light ones warm.
awk 'BEGIN { for (b = 0; b < 17; b++) for (g = 0; g < 17; g++) for (r = 0; r < 17; r++) {
  light = (0.3 * r + 0.59 * g + 0.11 * b) / 16
  print r / 16 * (0.8 + 0.25 * light) + 0.04 * light, g / 16 * (0.95 + 0.03 * light), b / 16 * (1.1 - 0.4 * light) } }' \
  >"$work/grade.csv"
run "colour table, 17^3" "$kernels/net.ostra.kernels.colourlookup.krn" --in table="$work/grade.csv" \
  --texture table:size=17x17x17 --in source="$out/tonemap.png" --out target="$out/graded.png" --set count="$pixels" \
  --repeat 5
voxels=128
run "cloud of noise" "$here/demo/net.ostra.demo.cloud.krn" --size ${voxels}x${voxels}x$voxels --set side=$voxels \
  --set cells=4 --set noiseMode_0=gaseous --set noiseSeed_0=11 --out target="$work/cloud.npy"
run "slice of the cloud" "$kernels/net.ostra.kernels.volumeslice.krn" --size ${width}x$height --set width=$width \
  --set height=$height --in volume="$work/cloud.npy" --texture volume:wrap=border --set corner=-0.4,0,0.3 \
  --set across=1.78,0,0 --set down=0,1,0.4 --out result="$work/slice.raw" --repeat 5
run "  its colours" "$here/demo/net.ostra.demo.densitycolors.krn" --size ${width}x$height --in densities="$work/slice.raw" \
  --set width=$width --set height=$height --out target="$out/slice.png"
run "rays through the cloud" "$kernels/net.ostra.kernels.raymarch.krn" --size ${width}x$height --set width=$width \
  --set height=$height --in volume="$work/cloud.npy" --texture volume:wrap=border --set steps=128 --set angle=0.6 \
  --set density=6 --set colour=1.2,1.12,1 --repeat 1 --out result="$out/cloud.png"
run "terrain of noise" "$kernels/net.ostra.kernels.terrain.krn" --size ${width}x$height --set width=$width \
  --set height=$height --set cells=5 --set time=0 --set waterLevel=0.4 --set steepness=0.5 --set light=-0.5,-0.5,0.9 \
  --set noiseMode_0=naki --set noiseSeed_0=7 --out target="$out/terrain.png"
set --
mode=0
while [ $mode -lt 25 ]; do
  set -- "$@" --set noiseMode_$mode=$mode --set noiseSeed_$mode=1234
  mode=$((mode + 1))
done
run "all noises" "$here/demo/net.ostra.demo.noises.krn" --size 640x640 --set width=640 --set height=640 --set cells=6 "$@" \
  --out target="$out/noises.png"
run "a sheet of six" "$here/demo/net.ostra.demo.sheet.krn" --size 960x360 --set width=960 --set height=360 \
  --in first="$out/warp.png" --in second="$out/rotate.png" --in third="$out/graded.png" --in fourth="$out/slice.png" \
  --in fifth="$out/cloud.png" --in sixth="$out/terrain.png" --out target="$out/textures.png"

# draw LABEL SCENE: graphics programs of stage files, drawn on the device. Scenes name files from their own folder, so a copy
# is drawn that lies beside the pictures.
draw() {
  sed "s|\.\./\.\./\.\./kernels/stages|$kernels/stages|; s|\.\./net\.|$here/demo/net.|" \
    "$here/demo/scenes/$2.json" >"$out/$2.json"
  "$tool" render "$out/$2.json" --out "$out/$2.png" >"$work/report" || { cat "$work/report"; exit 1; }
  rm "$out/$2.json"
  line "$1" "$(field size)" - "$(field time | sed 's/,.*//')" -
}

if [ "$backend" = both ]; then
  run "tiles" "$here/demo/net.ostra.demo.tiles.krn" --size 512x512 --set width=512 --set height=512 --out target="$out/tiles.png"
  draw "model with a texture" torus
  draw "terrain and water" terrain
  draw "drawing from depths" ink
  draw "points of a kernel" points
  draw "a sheet of the four" sheet
else
  echo "Scenes of graphics programs need a GPU and are left out." | tee -a "$out/times.txt"
fi

if [ "$backend" = both ]; then
  cat <<'END' | tee -a "$out/times.txt"
Times are the best ones, of all dispatches of a run. Where a kernel decides by comparing floats, as at the edges of the
scene, the last bit of a number can change a whole pixel; devices blend neighbouring texels in steps of their own.
END
fi
if [ -s "$work/references" ]; then
  cat <<'END' | tee -a "$out/times.txt"
"Of the best known" is the speed on the CPU in percent of that of the fastest hand-written loop for the same work (OpenMP,
oneTBB, or shaped for the vector unit by hand), timed in between; "-" stands where no such loop is known here.
END
fi
cut -f1 "$work/rows" >"$work/labels"
cut -f1 "$work/references" | grep -vxFf "$work/labels" | while IFS= read -r label; do
  echo "note: no kernel of the demo is labelled \"$label\": its hand-written loop is compared with nothing"
done
"$here/demo_page.sh" "$work/rows" "$out"
echo "The pictures and times.txt are in $out; index.html shows them in a browser."
