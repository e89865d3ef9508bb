#!/bin/sh
# editors/vscode/package.sh: builds, checks and tests the extension, and packs it to ostra-kernels-VERSION.vsix beside this
# script. Needs Node.js 20, npm and its registry. Tests of the tool itself run where PATH has ostra, or OSTRA names it.
set -eu

cd "$(dirname "$0")"
npm ci --ignore-scripts
rm -rf out ./*.vsix
npm run compile
npm run lint
npm test

# What is packed is enough to load the extension.
packed=$(mktemp -d)
trap 'rm -rf "$packed"' EXIT
npx vsce ls > "$packed/files"
tar -cf - --files-from="$packed/files" | tar -xf - -C "$packed"
node out/test/load_packed.js "$packed"

npx vsce package --skip-license --allow-missing-repository
