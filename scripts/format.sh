#!/bin/sh
# scripts/format.sh [--check]: formats all C++ files, or only says which ones are not formatted.
# Kernel files, their headers and the text of the noises are other languages' sources too and keep their own form; so does
# the C++ that is made of kernel files.
set -eu

cd "$(dirname "$0")/.."
formatter=${CLANG_FORMAT:-clang-format}
case ${1:-} in
  "") options="-i" ;;
  --check) options="--dry-run --Werror --ferror-limit=1" ;;
  *) echo "Unknown option \"$1\"; --check is known." >&2; exit 2 ;;
esac
# shellcheck disable=SC2086  # several options
find ostra parallelprogram plans clients conformance apps examples tests bench fuzz \( -name '*.h' -o -name '*.cpp' -o -name '*.inl' \) \
  -not -path 'ostra/render/noise/*' -not -path 'tests/kernels/golden/*' -not -path 'tests/kernellanguage/golden/*' -not -path 'tests/kernels/files/*' \
  -not -path 'tests/tool/kernels/*' -not -path 'tests/porting/*' -print0 | xargs -0 "$formatter" $options
