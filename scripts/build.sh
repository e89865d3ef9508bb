#!/bin/sh
# scripts/build.sh PRESET: installs what is missing, configures the preset and builds everything in build/PRESET.
set -eu

cd "$(dirname "$0")/.."
scripts/install_packages.sh
cmake --preset "$1"
cmake --build "build/$1" --parallel "$(nproc)"
