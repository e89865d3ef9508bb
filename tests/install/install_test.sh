#!/bin/sh
# install_test.sh CMAKE BUILD_FOLDER COMPILER SANITIZERS PYTHON [PYTHON_WITH_NUMPY]
set -eu

cmake=$1
build=$2
compiler=$3
sanitizers=$4
python=$5
numpy_python=${6:-}
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Moved after the installation, because nothing in the tree may depend on where it was installed.
"$cmake" --install "$build" --prefix "$work/first place" >"$work/install.log"
mv "$work/first place" "$work/tree"

for file in include/ostra/host.h include/parallelprogram/program/parallel_program.h lib/ostra/modules/parallelprogram.so \
    bin/ostra bin/ostra-kernelc share/ostra/kernels/net.ostra.kernels.blur5.krn \
    share/ostra/gdb/ostra.py share/ostra/examples/outside/CMakeLists.txt share/ostra/examples/triangle/shaders/net.example.triangle.vert \
    share/doc/ostra/scene-files.md; do
  found=$(find "$work/tree" -path "*/${file#lib/}" -print -quit)
  [ -n "$found" ] || { echo "$file is not installed"; exit 1; }
done
"$work/tree/bin/ostra" info >"$work/info.log" || { cat "$work/info.log"; exit 1; }

# The installed tool compiles an installed kernel against the installed headers: 2 * 1 + 1 everywhere.
(cd "$work" && CXX=$compiler "$work/tree/bin/ostra" run tree/share/ostra/kernels/net.ostra.kernels.saxpy.krn \
  --cache-dir cache --in x=ones:1000 --in y=ones:1000 --set a=2 --set count=1000 --out y=y.csv)
[ "$(sort -u "$work/y.csv" | tr -d '\r')" = 3 ] || { echo "wrong results:"; sort -u "$work/y.csv" | head; exit 1; }
[ "$(wc -l <"$work/y.csv")" -eq 1000 ] || { echo "the result does not have 1000 rows"; exit 1; }

# It checks installed kernels with what was installed to compile Metal text.
"$work/tree/bin/ostra" check "$work"/tree/share/ostra/kernels/net.ostra.kernels.s*.krn 2>"$work/check.log" ||
  { cat "$work/check.log"; exit 1; }
[ ! -s "$work/check.log" ] || { echo "ostra check says:"; cat "$work/check.log"; exit 1; }

flags=
[ -z "$sanitizers" ] || flags="-fsanitize=$sanitizers"
"$cmake" -S "$here/outside" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$work/tree" -DCMAKE_CXX_FLAGS="$flags"
"$cmake" --build "$work/build"
"$work/build/outside" 1000

# A program compiles kernels while it runs, with the compiler and headers of the installed tree.
"$cmake" -S "$here/runtime" -B "$work/runtime" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$work/tree" -DCMAKE_CXX_FLAGS="$flags"
"$cmake" --build "$work/runtime"
CXX=$compiler "$work/runtime/runtime" "$work/runtime"

# Three kernels in a row through the client headers, on the CPU and on the first GPU where there is one.
"$cmake" -S "$here/chain" -B "$work/chain" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$work/tree" -DCMAKE_CXX_FLAGS="$flags"
"$cmake" --build "$work/chain"
[ "$(wc -l <"$here/chain/main.cpp")" -le 25 ] || { echo "the chain has more than 25 lines"; exit 1; }
[ "$("$work/chain/chain")" = 1000 ] || { echo "the chain gives another number on the CPU"; exit 1; }
if grep -q "^ *no device: " "$work/info.log"; then
  echo "skipped: the chain on the GPU: $(grep "^ *no device: " "$work/info.log")"
else
  [ "$("$work/chain/chain" gpu)" = 1000 ] || { echo "the chain gives another number on the GPU"; exit 1; }
fi

# A buffer from a file of the tool and back: 2 * (2 * 1 + 1) everywhere.
"$cmake" -S "$here/files" -B "$work/files" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$work/tree" -DCMAKE_CXX_FLAGS="$flags"
"$cmake" --build "$work/files"
saxpy=$work/tree/share/ostra/kernels/net.ostra.kernels.saxpy.krn
(cd "$work" && CXX=$compiler "$work/tree/bin/ostra" run "$saxpy" --cache-dir cache \
  --in x=ones:1000 --in y=ones:1000 --set a=2 --set count=1000 --out y=three.npy
  "$work/files/files" three.npy six.npy
  CXX=$compiler "$work/tree/bin/ostra" run "$saxpy" --cache-dir cache \
    --in x=ones:1000 --in y=six.npy --set a=0 --set count=1000 --out y=six.csv)
[ "$(sort -u "$work/six.csv" | tr -d '\r')" = 6 ] || { echo "other numbers come back:"; sort -u "$work/six.csv" | head; exit 1; }
if "$work/files/files" "$work/none.npy" "$work/six.npy" 2>"$work/none.log" || ! grep -q "main.cpp:11: .*none.npy" "$work/none.log"; then
  echo "a file that is missing is not named:"; cat "$work/none.log"; exit 1
fi

# A program runs a kernel file as the tool does: 2 * 1 + 1, and a misspelt name is told before anything runs.
"$cmake" -S "$here/run" -B "$work/run" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$work/tree" -DCMAKE_CXX_FLAGS="$flags"
"$cmake" --build "$work/run"
[ "$(CXX=$compiler "$work/run/run" "$saxpy" "$work/run.npy" "$work/cache" x=ones:9 y=ones:9 --set a=2 count=9)" = 3 ] ||
  { echo "a kernel that a program runs gives another number"; exit 1; }
[ -s "$work/run.npy" ] || { echo "a kernel that a program runs leaves no file"; exit 1; }
if CXX=$compiler "$work/run/run" "$saxpy" "$work/wrong.npy" "$work/cache" z=ones:9 y=ones:9 --set a=2 2>"$work/wrong.log" ||
  ! grep -q '"z"' "$work/wrong.log"; then
  echo "a misspelt buffer is not named:"; cat "$work/wrong.log"; exit 1
fi

# A scene becomes a picture, on the first GPU where there is one; without one the program says so.
"$cmake" -S "$here/scene" -B "$work/scene" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$work/tree" -DCMAKE_CXX_FLAGS="$flags"
"$cmake" --build "$work/scene"
if "$work/scene/scene" "$work/tree/share/ostra/examples/triangle/shaders" "$work/scene.png" 2>"$work/scene.log"; then
  [ "$(od -A n -t x1 -j 16 -N 8 "$work/scene.png" | tr -d ' ')" = 0000002000000018 ] ||
    { echo "the scene is not a picture of 32 x 24"; exit 1; }
elif ! grep -q "^ *no device: " "$work/info.log" || ! grep -q "there is no GPU" "$work/scene.log"; then
  echo "the scene is not drawn:"; cat "$work/scene.log"; exit 1
fi

# The Python package runs from the installed tree.
if [ -n "$numpy_python" ]; then
  site=$(echo "$work"/tree/lib/python*/site-packages)
  (cd "$work" && CXX=$compiler XDG_CACHE_HOME="$work/cache" PYTHONPATH=$site "$numpy_python" -B -c "
import numpy, ostra
scale = ostra.kernel('$here/chain/net.example.scale.krn')
values = numpy.ones(10, numpy.float32)
scale(count=10, factor=4, values=values)
assert (values == 4).all(), values
assert ostra.__file__.startswith('$work'), ostra.__file__"
    # An example finds the picture that it starts from.
    CXX=$compiler XDG_CACHE_HOME="$work/cache" PYTHONPATH=$site "$numpy_python" -B \
      tree/share/ostra/examples/gallery/palette/palette.py --backend cpu --colours 4 --shrink 16 --out palette.png
    [ -s palette.png ] || { echo "the installed example palette.py leaves no picture"; exit 1; })
fi

# The gallery builds from what is installed, and a program of it draws.
"$cmake" -S "$work/tree/share/ostra/examples/gallery" -B "$work/gallery" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$work/tree" -DCMAKE_CXX_FLAGS="$flags"
"$cmake" --build "$work/gallery"
"$work/gallery/example_fractal" "$work/fractal.png" cpu 32 24
# The sides of a PNG file are the numbers of four bytes at its 17th byte.
[ "$(od -A n -t x1 -j 16 -N 8 "$work/fractal.png" | tr -d ' ')" = 0000002000000018 ] ||
  { echo "the fractal of the installed gallery is not a picture of 32 x 24"; exit 1; }

# Every header that is installed can be included, and programs can link with what it declares.
"$python" -B "$here/check_public_headers.py" "$work/tree/include" "$build" "$here/../.." ||
  { echo "there are headers that programs cannot use"; exit 1; }
mkdir -p "$work/all/parallelprogram"
cp -R "$work/tree/include/ostra" "$work/all"
cp -R "$here/../../parallelprogram/device" "$work/all/parallelprogram"
if "$python" -B "$here/check_public_headers.py" "$work/all" "$build" "$here/../.." >"$work/headers.log" ||
  ! grep -qF "parallelprogram/device/device_counters.h: programs cannot link with ostra::LinkCounter" "$work/headers.log"
then
  echo "a header of a module is not found:"; cat "$work/headers.log"; exit 1
fi
"$cmake" -S "$here/headers" -B "$work/headers" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_PREFIX_PATH="$work/tree" -DCMAKE_CXX_FLAGS="-g0 $flags"
"$cmake" --build "$work/headers"
"$work/headers/headers"

# The program of the page on the shader loader builds from what is installed; a test of the loader lets it draw.
"$cmake" -S "$work/tree/share/ostra/examples/triangle" -B "$work/triangle" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$work/tree" -DCMAKE_CXX_FLAGS="$flags"
"$cmake" --build "$work/triangle"
