#!/bin/sh
# mistakes_test.sh COMPILER SOURCE SWITCH...: calls of kernels with a mistake do not compile, for the right reason.
set -eu

compiler=$1
source=$2
shift 2
log=$(mktemp)
trap 'rm -f "$log"' EXIT

"$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -Werror "$@" -DMISTAKE=0 "$source" ||
  { echo "a right call does not compile"; exit 1; }

# -Werror=narrowing is what ostra_add_kernels adds for GCC. expect NUMBER REASON: the reason is a regular expression for GCC and Clang.
expect() {
  number=$1
  reason=$2
  shift 2
  if "$compiler" -std=c++20 -fsyntax-only -Werror=unused-result -Werror=narrowing "$@" "-DMISTAKE=$number" "$source" >"$log" 2>&1; then
    echo "mistake $number compiles"
    exit 1
  fi
  grep -qE "error: .*($reason)" "$log" || { echo "mistake $number is not explained by \"$reason\" but:"; cat "$log"; exit 1; }
}

expect 1 "no non-static data member named .traget.|field designator .traget. does not refer" "$@"
expect 2 "The kernel declares a buffer with elements of another type" "$@"
expect 3 "could not convert|no matching|no default constructor|no viable conversion|must be explicitly initialized|no match" "$@"
expect 4 "narrowing conversion|cannot be narrowed" "$@"
expect 5 "could not convert|no viable conversion|no matching|no match" "$@"
expect 6 "no match|no viable" "$@"
expect 7 "nodiscard" "$@"
expect 8 "no match for call|no matching function" "$@"
