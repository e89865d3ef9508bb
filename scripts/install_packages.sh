#!/bin/sh
# scripts/install_packages.sh [LIST...]: installs those packages of the lists that are missing; does nothing when all are
# there. Without a list: packages.txt and test_packages.txt.
set -eu

here=$(dirname "$0")
[ "$#" -gt 0 ] || set -- "$here/packages.txt" "$here/test_packages.txt"
missing=
for package in $(sed 's/#.*//' "$@"); do
  state=$(dpkg-query --show --showformat '${db:Status-Status}' "$package" 2>/dev/null) || state=
  [ "$state" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null; then
    echo "These packages are missing:$missing" >&2
    echo "Installing them needs root or sudo." >&2
    exit 1
  fi
  as_root=sudo
fi
echo "Installing$missing"
$as_root apt-get update -qq
# shellcheck disable=SC2086  # one word per package
$as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing
