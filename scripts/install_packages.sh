#!/bin/sh
# Installs those packages of packages.txt that are missing; does nothing when all are there.
set -eu

list=$(dirname "$0")/packages.txt
missing=
for package in $(sed 's/#.*//' "$list"); do
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
