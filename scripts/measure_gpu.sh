#!/bin/sh
# scripts/measure_gpu.sh [--runs N] [--seconds N] [--only STEP,...] OUT [BUILD]: measures what only a machine with a GPU
# shows, with what lies built in BUILD (build/release without one); nothing is installed, built or fetched.
#
# Leaves in the folder OUT
#   report.txt     the device, the figures side by side, and what failed or was left out
#   figures.jsonl  one JSON object a line: a step with its status and time, or a figure
#   messages.txt   what the steps have said on standard error
#
# The whole takes at most --seconds (540): a step that runs out of it is ended, later ones are left out, and both are
# said. Steps: info, parity, and the workloads of ostra-bench below. Exit status 0 when all were measured, 1 when one
# failed or was left out, 2 for bad usage.
set -u

usage() {
  echo "usage: scripts/measure_gpu.sh [--runs N] [--seconds N] [--only STEP,...] OUT [BUILD]" >&2
  exit 2
}
refuse() {
  echo "measure_gpu.sh: $1" >&2
  exit 2
}
number() {
  case $2 in
    '' | *[!0-9]* | 0*) refuse "$1 is \"$2\" and has to be a whole number from 1 on." ;;
  esac
}

runs=5
seconds=540
only=
while [ $# -gt 0 ]; do
  case $1 in
    --runs | --seconds | --only)
      [ $# -ge 2 ] || usage
      case $1 in
        --runs) number "$1" "$2" && runs=$2 ;;
        --seconds) number "$1" "$2" && seconds=$2 ;;
        --only) only=$2 ;;
      esac
      shift 2
      ;;
    -*) usage ;;
    *) break ;;
  esac
done
[ $# -ge 1 ] && [ $# -le 2 ] || usage
out=$1
build=${2:-$(dirname "$0")/../build/release}

# A workload, and the contestants that use the GPU where others stand beside them. What matters most is first: time may
# run out.
steps='info
parity
upload
readback
gpu_submit
gpu_replay
saxpy ours-gpu,vulkan
blur5 ours-gpu,vulkan
mandelbrot ours-gpu,vulkan
nbody ours-gpu,vulkan
ping_pong
draws
terrain
store
tex2d_rgba32f_coherent ours-gpu,vulkan
tex2d_rgba32f_random ours-gpu,vulkan
tex3d_r32f_coherent ours-gpu,vulkan
tex3d_r32f_random ours-gpu,vulkan
program_build
shader_compile'

is_wanted() {
  [ -z "$only" ] && return 0
  case ",$only," in *",$1,"*) return 0 ;; esac
  return 1
}

for name in $(echo "$only" | tr ',' ' '); do
  echo "$steps" | cut -d' ' -f1 | grep -qxF -- "$name" ||
    refuse "there is no step \"$name\"; there are: $(echo "$steps" | cut -d' ' -f1 | tr '\n' ' ')"
done
for program in ostra ostra-bench; do
  [ -x "$build/bin/$program" ] || refuse "there is no program $build/bin/$program: build the release first."
done
mkdir -p "$out" || refuse "the folder $out cannot be made."
figures=$out/figures.jsonl
messages=$out/messages.txt
report=$out/report.txt
: >"$figures" || refuse "$figures cannot be written."
: >"$messages"
device=$out/device.txt

begin=$(date +%s)
left() { echo $((seconds - ($(date +%s) - begin))); }

# run STEP COMMAND...: its standard output is appended to the figures, or with "info" kept as the device.
run() {
  step=$1
  shift
  remaining=$(left)
  if [ "$remaining" -lt 1 ]; then
    status='"left out"' took=0
  else
    from=$(date +%s)
    echo "== $step" >>"$messages"
    output=$out/output.tmp
    # A step that does not end when it is asked to is killed within the time as well.
    if [ "$remaining" -gt 10 ]; then
      timeout -k 5 "$((remaining - 5))" "$@" >"$output" 2>>"$messages"
    else
      timeout -s KILL "$remaining" "$@" >"$output" 2>>"$messages"
    fi
    code=$?
    took=$(($(date +%s) - from))
    status=$code
    [ "$code" -eq 124 ] || [ "$code" -eq 137 ] && status='"out of time"'
    # A step that was ended may have left half a line.
    case $step in
      info) cp "$output" "$device" ;;
      parity) tail -n 40 "$output" >"$out/parity.txt" ;;
      # A workload that finds no device says so and ends well.
      *) grep '^{.*}$' "$output" >>"$figures" || [ "$code" -ne 0 ] || status='"no figures"' ;;
    esac
    rm -f "$output"
  fi
  echo "{\"step\":\"$step\",\"status\":$status,\"seconds\":$took}" >>"$figures"
  echo "$step: $status, $took s"
}

echo "$steps" >"$out/steps.tmp"
while read -r step peers; do
  is_wanted "$step" || continue
  case $step in
    info) run info "$build/bin/ostra" info ;;
    parity) run parity "$build/bin/ostra" parity ;;
    *)
      if [ -n "$peers" ]; then
        run "$step" "$build/bin/ostra-bench" --runs "$runs" --peers "$peers" "$step"
      else
        run "$step" "$build/bin/ostra-bench" --runs "$runs" "$step"
      fi
      ;;
  esac </dev/null
done <"$out/steps.tmp"
rm -f "$out/steps.tmp"

# Figures of one workload, size and metric, one contestant a line, and the ratio to "vulkan" where it is there.
table() {
  grep '"peer"' "$figures" | sed 's/[{}"]//g' | awk -F, '
    function field(name,   i, pair) {
      for (i = 1; i <= NF; ++i) {
        split($i, pair, ":")
        if (pair[1] == name) return substr($i, length(name) + 2)
      }
      return ""
    }
    {
      key = field("workload") " " field("size") " " field("metric")
      if (!(key in seen)) { seen[key] = 1; keys[++count] = key }
      lines[key] = lines[key] sprintf("  %-24s %12s %-6s (%s to %s, %s runs)\n", field("peer"), field("median"),
                                      field("unit"), field("min"), field("max"), field("runs"))
      if (field("peer") == "ours-gpu") ours[key] = field("median")
      if (field("peer") == "vulkan") raw[key] = field("median")
    }
    END {
      for (i = 1; i <= count; ++i) {
        key = keys[i]
        printf "%s\n%s", key, lines[key]
        if (key in ours && key in raw && raw[key] > 0) printf "  ours-gpu / vulkan: %.3f\n", ours[key] / raw[key]
      }
    }'
}

problems=$(grep '"step"' "$figures" | grep -v '"status":0,' | sed 's/.*"step":"\([^"]*\)","status":\("[^"]*"\|[0-9]*\),.*/\1: \2/')
{
  echo "GPU figures of $(date -u '+%Y-%m-%d %H:%M:%S') UTC, in $(($(date +%s) - begin)) of at most $seconds seconds, $runs runs each"
  uname -srm
  sed -n 's/^model name[^:]*: /processor: /p' /proc/cpuinfo | head -n 1
  [ ! -s "$device" ] || { echo && cat "$device"; }
  echo && table
  [ ! -s "$out/parity.txt" ] || { echo && cat "$out/parity.txt"; }
  echo
  if [ -n "$problems" ]; then
    echo "Not measured (messages.txt has their error messages; a number is an exit status):"
    echo "$problems" | sed 's/^/  /'
  else
    echo "Everything was measured."
  fi
} >"$report"
rm -f "$device" "$out/parity.txt"
cat "$report"
[ -z "$problems" ]
