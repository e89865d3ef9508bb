#!/bin/sh
# scripts/demo_page.sh ROWS FOLDER: writes FOLDER/index.html, a page with the table of ROWS (one row a line, its cells apart
# by tabs; the first line holds the headings) and the PNG pictures of FOLDER.
set -eu

rows=$1
folder=$2

escape() {
  sed 's/&/\&amp;/g; s/</\&lt;/g; s/>/\&gt;/g; s/"/\&quot;/g'
}

{
  cat <<'END'
<!DOCTYPE html>
<html lang="en">
<meta charset="utf-8">
<title>The demo's pictures and times</title>
<style>
body { font: 16px/1.5 sans-serif; margin: 2em auto; max-width: 75em; padding: 0 1em; }
table { border-collapse: collapse; }
th, td { border-bottom: 1px solid #ccc; padding: 0.2em 1em; text-align: right; white-space: pre; }
th:first-child, td:first-child { text-align: left; }
main { display: grid; gap: 1em; grid-template-columns: repeat(auto-fill, minmax(22em, 1fr)); margin-top: 2em; }
figure { margin: 0; }
img { width: 100%; }
</style>
<h1>The demo's pictures and times</h1>
<table>
END
  escape <"$rows" | awk -F '\t' '{
    cell = NR == 1 ? "th" : "td"
    printf "<tr>"
    for (i = 1; i <= NF; i++) printf "<%s>%s</%s>", cell, $i, cell
    print "</tr>"
  }'
  echo "</table>"
  echo "<main>"
  for picture in "$folder"/*.png; do
    [ -f "$picture" ] || continue
    name=$(basename "$picture" .png | escape)
    printf '<figure><a href="%s.png"><img src="%s.png" alt="%s" loading="lazy"></a><figcaption>%s</figcaption></figure>\n' \
      "$name" "$name" "$name" "$name"
  done
  echo "</main>"
  echo "</html>"
} >"$folder/index.html"
