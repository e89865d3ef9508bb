#!/bin/sh
# test/snapshots.sh [--updateSnapshot]: compares the scopes of some kernels of the library with those of test/snapshots,
# or writes them anew.
set -eu

cd "$(dirname "$0")/.."
rm -rf out/snapshots
mkdir -p out/snapshots
for snapshot in test/snapshots/*.snap; do
  cp "../../kernels/$(basename "$snapshot" .snap)" "$snapshot" out/snapshots/
done
npx vscode-tmgrammar-snap "$@" 'out/snapshots/*.krn'
[ $# -eq 0 ] || cp out/snapshots/*.snap test/snapshots/
