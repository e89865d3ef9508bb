#!/bin/sh
# scripts/summarize_tests.sh REPORT: counts the tests of a JUnit report of CTest. The last line is "N passed, N failed";
# tests that were skipped are named before it with the reason. Ends with 0 when there are passed tests and no failed ones.
set -eu

report=$1
count() { grep -c "<testcase [^>]*status=\"$1\"" "$report" || true; }

# A test that did not run was skipped by its own decision or could not be started; the latter is a failure.
cases=$(count "[a-z]*")
passed=$(count run)
skipped=$(grep -c '<skipped message="SKIP_' "$report" || true)
disabled=$(count disabled)
failed=$((cases - passed - skipped - disabled))

if [ $((skipped + disabled)) -gt 0 ]; then
  echo "$((skipped + disabled)) skipped:"
  awk '/<testcase /{ match($0, /name="[^"]*"/); name = substr($0, RSTART + 6, RLENGTH - 7); isSkipped = 0 }
       /status="disabled"/{ print "  " name ": disabled" }
       /<skipped message="SKIP_/{ isSkipped = 1; next }
       isSkipped && /Skipped$/{ getline; print "  " name ": " $0; isSkipped = 0 }' "$report"
fi
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
