#!/bin/sh
# scripts/build.sh PRESET [TARGET...]: installs what is missing, configures the preset and builds in build/PRESET.
# Without targets everything is built, tests and benchmarks too. With targets these alone are built, and what only tests
# need is not installed; a folder that was configured for tests stays so.
set -eu

cd "$(dirname "$0")/.."
preset=$1
shift
if [ "$#" -eq 0 ]; then
  scripts/install_packages.sh
  cmake --preset "$preset"
  cmake --build "build/$preset" --parallel "$(nproc)"
else
  scripts/install_packages.sh scripts/packages.txt
  if grep -qs '^OSTRA_BUILD_TESTS:.*=ON' "build/$preset/CMakeCache.txt"; then
    cmake --preset "$preset"
  else
    cmake --preset "$preset" -D OSTRA_BUILD_TESTS=OFF -D OSTRA_BUILD_BENCHMARKS=OFF
  fi
  cmake --build "build/$preset" --parallel "$(nproc)" --target "$@"
fi
