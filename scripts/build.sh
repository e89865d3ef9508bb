#!/bin/sh
# scripts/build.sh PRESET [TARGET...]: installs what is missing, configures the preset and builds in build/PRESET: the named
# targets, or everything.
set -eu

cd "$(dirname "$0")/.."
preset=$1
shift
scripts/install_packages.sh
cmake --preset "$preset"
cmake --build "build/$preset" --parallel "$(nproc)" ${1:+--target "$@"}
