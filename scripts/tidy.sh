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
# Headers that GCC has compiled ahead are nothing that Clang can read.
commands=$(mktemp -d)
trap 'rm -rf "$commands"' EXIT
sed -E 's/-Winvalid-pch -include [^ ]*cmake_pch\.hxx//g' "$build/compile_commands.json" > "$commands/compile_commands.json"
# Flags of GCC that Clang does not know are no findings.
printf '%s\n' "$@" | xargs -P "$(nproc)" -n 4 "${CLANG_TIDY:-clang-tidy}" -p "$commands" --quiet \
  --extra-arg=-Wno-unknown-warning-option
