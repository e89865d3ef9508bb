#!/bin/sh
# usage_test.sh BENCH: what ostra-bench answers to contestants, rounds and workloads that there are not.
set -u

bench=$1
log=$(mktemp)
trap 'rm -f "$log"' EXIT

# expect STATUS MESSAGE ARGUMENT...
expect() {
  status=$1 message=$2
  shift 2
  output=$("$bench" "$@" 2>"$log")
  got=$?
  [ "$got" -eq "$status" ] || { echo "$* ends with $got"; exit 1; }
  [ -z "$output" ] || { echo "$* prints $output"; exit 1; }
  grep -qF -- "$message" "$log" || { echo "$* does not say \"$message\" but:"; cat "$log"; exit 1; }
}

expect 1 '"dispatch" has no contestant "nobody" here; there are: openmp, ours, ours-virtual, ' --runs 1 --peers nobody dispatch
expect 1 '"decode" has no contestant "nobody" here; there are: libcrypto, ours.' --runs 1 --peers nobody decode
expect 2 '--runs is "0" and has to be a whole number from 1 on.' --runs 0 dispatch
expect 2 '--runs is "3x" and has to be a whole number from 1 on.' --runs 3x dispatch
expect 2 'there is no workload "nothing"' nothing
