#!/bin/sh
# scripts/site.sh OUT [BUILD]: builds the documentation site in OUT from the pages, the headers, the help texts of the tool and
# the Python package. Open OUT/index.html: no server and no network are needed. A link that leads nowhere ends it with 1.
#
# BUILD: a build folder with the tool and the Python package, as build/release: nothing is installed or built then. Without it,
# packages are installed where missing, which needs root or sudo, and both are built in build/release.
set -eu

out=${1:?"scripts/site.sh OUT [BUILD]"}
case $out in /*) ;; *) out=$PWD/$out ;; esac
root=$(cd "$(dirname "$0")/.." && pwd)
if [ "$#" -gt 1 ]; then
  build=$(cd "$2" && pwd)
else
  build=$root/build/release
  "$root/scripts/install_packages.sh"
  (cd "$root" && cmake --preset release && cmake --build build/release --parallel "$(nproc)" --target ostra_program ostra_python)
fi
for needed in bin/ostra python/ostra/__init__.py; do
  [ -e "$build/$needed" ] || { echo "$build/$needed is missing: build the targets ostra_program and ostra_python" >&2; exit 1; }
done
# Debian's interpreter, where Debian's packages are.
python=/usr/bin/python3
"$python" -c "import sphinx, myst_parser" 2>/dev/null ||
  { echo "Sphinx with MyST is missing (Debian: python3-sphinx, python3-myst-parser)" >&2; exit 1; }
exec "$python" -B "$root/scripts/site/build_site.py" "$root" "$build" "$out"
