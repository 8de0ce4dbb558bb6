#!/bin/sh
# Screenshots of the repository screens and the inspector, light and dark, under Xvfb.
#
#   tests/ui/screens/screenshots.sh <build dir> <repository> <output dir>
#
# Needs Xvfb, xdotool and imagemagick's import. The window is 1280×800; the clicks go to the
# sidebar rows and to the first list row, as the main window lays them out at that size.
set -eu
build=$1
repository=$2
out=$3
mkdir -p "$out"
display=:${STRATALOOM_SCREENSHOT_DISPLAY:-97}
Xvfb "$display" -screen 0 1400x900x24 >/dev/null 2>&1 &
xvfb=$!
trap 'kill $xvfb 2>/dev/null' EXIT
sleep 1
export DISPLAY=$display
state=$(mktemp -d)

click() { xdotool mousemove "$1" "$2" click 1; sleep 2; }
shot() { import -window root -crop 1280x800+0+0 "$out/$1.png"; }

for appearance in light dark; do
    STRATALOOM_APPEARANCE=$appearance STRATALOOM_INDEX_DIR=$state/index XDG_CONFIG_HOME=$state/config \
        "$build/src/ui/shell/strataloom" "$repository" >/dev/null 2>&1 &
    app=$!
    sleep 8
    shot "overview-$appearance"
    click 78 180; shot "timeline-$appearance"
    click 72 216; click 500 200; shot "history-$appearance"
    click 80 252; shot "branches-$appearance"; xdotool key Escape; sleep 1
    click 64 324; click 500 200; shot "files-$appearance"
    click 80 108; xdotool mousemove 600 500
    for _ in $(seq 1 25); do xdotool click 5; done
    sleep 1; click 330 525; shot "author-$appearance"
    click 72 216; click 1100 766; sleep 1; shot "diff-$appearance"
    kill $app
    wait $app 2>/dev/null || true
done
rm -rf "$state"
