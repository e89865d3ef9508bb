#!/bin/sh
# add_kernels_test.sh CMAKE SOURCES: what ostra_add_kernels says when it is called wrongly.
set -eu

cmake=$1
sources=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# expect MESSAGE CALL: configuring a project with the call fails with exactly one error, which has the message.
expect() {
  rm -rf "$work/build"
  touch "$work/a.krn" "$work/main.cpp"
  cat >"$work/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.25)
project(wrong LANGUAGES NONE)
add_custom_target(app)
include($sources/cmake/OstraKernels.cmake)
$2
EOF
  if COLUMNS=1000 "$cmake" -G Ninja -S "$work" -B "$work/build" >"$work/log" 2>&1; then
    echo "$2 is accepted"
    exit 1
  fi
  tr -s ' \n' ' ' <"$work/log" >"$work/line"
  grep -qF "$1" "$work/line" || { echo "$2 does not say \"$1\" but:"; cat "$work/log"; exit 1; }
  [ "$(grep -c "CMake Error" "$work/log")" -eq 1 ] || { echo "$2 has several errors:"; cat "$work/log"; exit 1; }
}

expect 'there is no target "ap"' 'ostra_add_kernels(ap a.krn)'
expect 'ostra_add_kernels(app): there are no kernel files' 'ostra_add_kernels(app)'
expect 'ostra_add_kernels(app): there are no kernel files' 'ostra_add_kernels(app FAST)'
expect 'ostra_add_kernels(app): there is no kernel file' 'ostra_add_kernels(app a.krn b.krn)'
expect 'ostra_add_kernels(app): there is no option FASTER; the options are FAST, SCALAR, SILENT, CHECKED and TYPE' \
  'ostra_add_kernels(app a.krn FASTER)'
expect 'ostra_add_kernels(app): TYPE needs a value' 'ostra_add_kernels(app a.krn TYPE)'
