#!/bin/sh
# Makes the committed icon files from their SVG sources (Debian: librsvg2-bin, icoutils):
#   vantrel.ico, folder.ico  ICON resources 101 and 141 of vantrel.rc: 16, 32 and 48 px bitmaps
#                            and a 256 px PNG image
#   vantrel-48.png           the 48 px desktop icon
# Run it after changing an SVG and commit what it writes.
set -eu
cd "$(dirname "$0")"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
for name in vantrel folder; do
  for size in 16 32 48 256; do
    rsvg-convert -w $size -h $size $name.svg -o "$tmp/$name-$size.png"
  done
  icotool -c -o $name.ico "$tmp/$name-16.png" "$tmp/$name-32.png" "$tmp/$name-48.png" --raw="$tmp/$name-256.png"
done
cp "$tmp/vantrel-48.png" vantrel-48.png
