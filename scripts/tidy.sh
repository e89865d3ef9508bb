#!/bin/sh
# scripts/tidy.sh [FILE...]: clang-tidy with the checks of .clang-tidy over the files, or over the sources of the host, the
# module and the programs. Needs clang-tidy and a configured build/release (or the folder in $BUILD).
set -eu

cd "$(dirname "$0")/.."
build=${BUILD:-build/release}
[ -f "$build/compile_commands.json" ] || { echo "$build is not configured" >&2; exit 2; }
if [ $# -eq 0 ]; then
  set -- $(find ostra parallelprogram plans conformance apps -name '*.cpp' -not -path 'ostra/drawport_vulkan/*')
fi
# Flags of GCC that Clang does not know are no findings.
printf '%s\n' "$@" | xargs -P "$(nproc)" -n 4 "${CLANG_TIDY:-clang-tidy}" -p "$build" --quiet \
  --extra-arg=-Wno-unknown-warning-option
