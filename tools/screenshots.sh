#!/usr/bin/env bash
# Screenshots of the real application under Xvfb, in light and dark, at 1280×800 and at the
# minimum window size 980×680.
#
#   tools/screenshots.sh <output folder> [build folder, default: build] [sizes, default: both]
#   e.g. tools/screenshots.sh shots build 980x680
#
# Every run starts the application afresh with its own settings (recents, scanned list) and
# index folder, over repositories made here: three small ones for the welcome screen, and a
# history of a few hundred commits, several authors and tags from the shared history generator
# (MAKE_HISTORY, default ../shared/tools/make-history.py; the small one stands in without it)
# for the repository screens, the inspector, the sheets, Insights and Statistics. Insights and
# Statistics are saved page by page as they scroll. A shot is a function `shot_<name>` that
# brings the window to the state and saves it with `save <name>`; SHOTS lists them in order.
# The window is placed at the origin with -qwindowgeometry; clicks go to the sidebar rows,
# which stay where they are at any size, and to places computed from the window size.
# HISTORY=<repository> shows that repository instead of the generated history (a real one, such as
# a clone of git's own), and INDEX_DIR=<folder> keeps its index between runs, so a big history is
# indexed once rather than once per run.
# Needs Xvfb, xdotool and imagemagick (`make deps` installs them).
set -euo pipefail

out=${1:?usage: tools/screenshots.sh <output folder> [build folder] [sizes]}
build=${2:-build}
sizes=${3:-1280x800 980x680}
root=$(cd "$(dirname "$0")/.." && pwd)
app=$(realpath "$build/src/ui/shell/strataloom")
make_history=${MAKE_HISTORY:-$root/../shared/tools/make-history.py}
mkdir -p "$out"
out=$(realpath "$out")

SHOTS=(welcome-empty welcome-recents welcome-scanned error-alert about
       overview timeline history branches tags files author diff quick-search
       insights statistics)
# SHOTS_ONLY="overview insights" and APPEARANCES=dark narrow a run down.
if [ -n "${SHOTS_ONLY:-}" ]; then read -ra SHOTS <<<"$SHOTS_ONLY"; fi
appearances=${APPEARANCES:-light dark}

work=$(mktemp -d)
xvfb_pid=
app_pid=
cleanup() {
    if [ -n "$app_pid" ]; then kill "$app_pid" 2>/dev/null || true; fi
    if [ -n "$xvfb_pid" ]; then kill "$xvfb_pid" 2>/dev/null || true; fi
    rm -rf "$work"
}
trap cleanup EXIT

# --- Fixture repositories -------------------------------------------------------------------

commit() { # commit <repo> <date> <author> <message>
    GIT_AUTHOR_DATE=$2 GIT_COMMITTER_DATE=$2 git -C "$1" -c user.name="$3" \
        -c user.email="$(echo "$3" | tr 'A-Z ' 'a-z.')@example.com" commit -q -am "$4" 2>/dev/null ||
    GIT_AUTHOR_DATE=$2 GIT_COMMITTER_DATE=$2 git -C "$1" -c user.name="$3" \
        -c user.email="$(echo "$3" | tr 'A-Z ' 'a-z.')@example.com" commit -q -m "$4"
}

make_repository() { # make_repository <path>
    local repo=$1 authors=("Ada Lovelace" "Grace Hopper" "Linus Torvalds") i
    git init -q -b main "$repo"
    mkdir -p "$repo/src" "$repo/docs"
    for i in $(seq 1 24); do
        printf 'line %s\n' "$i" >>"$repo/src/module$((i % 5)).c"
        printf '# Notes %s\n' "$i" >>"$repo/docs/guide.md"
        git -C "$repo" add -A
        local kind=(feat fix docs refactor)
        commit "$repo" "2024-$(printf %02d $(((i % 12) + 1)))-$(printf %02d $(((i % 27) + 1)))T10:00:00Z" \
            "${authors[$((i % 3))]}" "${kind[$((i % 4))]}: change number $i"
        if [ "$i" = 12 ]; then git -C "$repo" tag v1.0; fi
    done
    git -C "$repo" branch feature/search
    git -C "$repo" branch release/1.x
}

repos=$work/home/projects
make_repository "$repos/aurora"
make_repository "$repos/nebula-engine"
make_repository "$repos/tidewater"
mkdir -p "$work/not-a-repository"
history=$work/home/projects/fixture
if [ -n "${HISTORY:-}" ]; then
    history=$(realpath "$HISTORY")
elif [ -f "$make_history" ]; then
    (cd "$work/home/projects" &&
        python3 "$make_history" fixture --commits 400 --authors 9 --tags 6 --years 3 --seed 3 >/dev/null)
else
    echo "no history generator at $make_history: the small repository stands in" >&2
    make_repository "$history"
fi

# --- Settings ---------------------------------------------------------------------------------

# Dates in the settings count seconds from 2001-01-01 UTC.
reference_seconds() { echo $(( $(date -u -d "$1" +%s) - 978307200 )); }

# A byte-array value of a QSettings INI file: quoted, with its quotes and backslashes escaped.
ini_bytes() { printf '"@ByteArray(%s)"' "$(printf '%s' "$1" | sed 's/\\/\\\\/g; s/"/\\"/g')"; }

write_settings() { # write_settings <config home> <recents json> <discovered json>
    mkdir -p "$1/Strataloom"
    {
        echo "[General]"
        if [ -n "$2" ]; then echo "recentRepositories=$(ini_bytes "$2")"; fi
        if [ -n "$3" ]; then echo "discoveredRepositories=$(ini_bytes "$3")"; fi
    } >"$1/Strataloom/Strataloom.conf"
}

recents_json() {
    local t1 t2 t3
    t1=$(reference_seconds "2024-06-03 09:12"); t2=$(reference_seconds "2024-06-02 17:40")
    t3=$(reference_seconds "2024-05-28 08:05")
    printf '[{"name":"aurora","path":"%s","lastOpened":%s},{"name":"nebula-engine","path":"%s","lastOpened":%s},{"name":"tidewater","path":"%s","lastOpened":%s}]' \
        "$repos/aurora" "$t1" "$repos/nebula-engine" "$t2" "$repos/tidewater" "$t3"
}

discovered_json() {
    printf '{"repositories":[{"name":"aurora","path":"%s"},{"name":"nebula-engine","path":"%s"},{"name":"tidewater","path":"%s"}],"scannedAt":%s}' \
        "$repos/aurora" "$repos/nebula-engine" "$repos/tidewater" "$(reference_seconds "2024-06-03 09:30")"
}

# --- Display and application ----------------------------------------------------------------

start_display() { # start_display <width>x<height>
    if [ -n "$xvfb_pid" ]; then kill "$xvfb_pid" 2>/dev/null || true; wait "$xvfb_pid" 2>/dev/null || true; fi
    rm -f "$work/display"
    Xvfb -displayfd 4 -screen 0 "$1x24" -nolisten tcp 4>"$work/display" 2>/dev/null &
    xvfb_pid=$!
    for _ in $(seq 50); do if [ -s "$work/display" ]; then break; fi; sleep 0.1; done
    export DISPLAY=:$(cat "$work/display")
}

launch() { # launch <settings: empty|recents|scanned> [arguments...]
    local state=$1; shift
    local config=$work/config-$RANDOM
    case $state in
        empty) write_settings "$config" "" "" ;;
        recents) write_settings "$config" "$(recents_json)" "" ;;
        scanned) write_settings "$config" "$(recents_json)" "$(discovered_json)" ;;
    esac
    XDG_CONFIG_HOME=$config HOME=$work/home STRATALOOM_INDEX_DIR=${INDEX_DIR:-$work/indexes} \
        STRATALOOM_APPEARANCE=$appearance "$app" -qwindowgeometry "${width}x${height}+0+0" "$@" \
        >>"$out/app.log" 2>&1 &
    app_pid=$!
    sleep "${LAUNCH_WAIT:-3}"
}

quit_app() {
    if [ -n "$app_pid" ]; then kill "$app_pid" 2>/dev/null || true; wait "$app_pid" 2>/dev/null || true; fi
    app_pid=
}

save() { # save <name>
    local file=$out/$1-${width}x${height}-$appearance.png
    import -window root "$file"
    echo "$file"
}

click() { xdotool mousemove --sync "$1" "$2" click 1; sleep "${3:-1}"; }
key() { xdotool key "$@"; sleep 1; }
# The sidebar's rows, top to bottom, 36 points apart.
section() {
    local rows=(Overview Statistics Timeline History Branches Tags Files Search Insights) i
    for i in "${!rows[@]}"; do
        if [ "${rows[$i]}" = "$1" ]; then click 80 $((108 + 36 * i)) "${2:-1.5}"; return; fi
    done
}
# The middle of the content column (between the sidebar and the inspector).
content_x() { echo $(( (210 + width - 300) / 2 )); }

# Saves a scrolling page from the top to its end: one shot per screenful (a little overlap).
save_pages() { # save_pages <name>
    local page=0 previous=
    local steps=$(( height / 160 ))
    xdotool mousemove --sync "$(content_x)" $((height / 2))
    while [ "$page" -lt 20 ]; do
        local file=$out/$1-${width}x${height}-$appearance-$(printf %02d "$page").png
        import -window root "$file"
        if [ -n "$previous" ] && [ "$(compare -metric AE "$previous" "$file" null: 2>&1 || true)" = 0 ]; then
            rm "$file"   # the page did not move: its end was reached
            break
        fi
        echo "$file"
        previous=$file
        page=$((page + 1))
        for _ in $(seq "$steps"); do xdotool click 5; done
        sleep 0.6
    done
}

shot_welcome-empty() { launch empty; save welcome-empty; }
shot_welcome-recents() { launch recents; save welcome-recents; }
shot_welcome-scanned() {
    launch scanned
    click $((width / 2 + 65)) 167 0.5 # the "Repositories" tab
    save welcome-scanned
}
shot_error-alert() { launch empty "$work/not-a-repository"; sleep 1; save error-alert; }
shot_about() {
    launch recents "$repos/aurora"
    sleep 2
    click 128 12 0.5 # the "Help" menu
    click 170 42 0.8 # "About Strataloom"
    save about
}

# The repository shots run one after the other in one window over the history.
shot_overview() { LAUNCH_WAIT=8 launch recents "$history"; save overview; }
shot_timeline() { section Timeline; save timeline; }
shot_history() { section History; click "$(content_x)" 200; save history; }
# Not in SHOTS by default: the end of the whole history, reached with the End key from a row.
shot_history-end() { section History; click "$(content_x)" 200; key End; sleep 2; save history-end; }
shot_branches() { section Branches; save branches; key Escape; }
shot_tags() { section Tags; save tags; }
shot_files() { section Files; click "$(content_x)" 200; save files; }
shot_author() {
    # The overview's "Top authors", at the end of the page.
    section Overview
    xdotool mousemove --sync "$(content_x)" $((height / 2))
    for _ in $(seq 30); do xdotool click 5; done
    sleep 1
    click "$(content_x)" $((height - 150))
    save author
}
shot_diff() { section History; click "$(content_x)" 200; click $((width - 150)) $((height - 34)) 2; save diff; key Escape; }
shot_quick-search() {
    click $((width - 405)) 54 1.5 # the repository bar's search button
    xdotool type --delay 60 "fix"
    sleep 2
    save quick-search
    key Escape
}
# Not in SHOTS by default: a combined query in Search (SEARCH_QUERY) and, after `insights`, the
# insights screen as recorded.
shot_search-query() {
    section Search 2
    click "$(content_x)" 172 0.5 # the search field
    xdotool type --delay 40 "${SEARCH_QUERY:-fix author:peff path:Documentation/}"
    key Return
    sleep 3
    save search-query
}
shot_insights-as-recorded() { # after `insights`: the same pages with every correction off
    section Insights 2
    xdotool mousemove --sync "$(content_x)" $((height / 2))
    for _ in $(seq 200); do xdotool click 4; done # back to the top
    sleep 1
    click $((width - 388)) 120 2 # the "Corrections" button of the insights header
    save corrections-sheet
    click $((width / 2 - 165)) 140 2 # its "As recorded" switch
    key Escape
    sleep 15 # the insights are read again, and the screen rebuilt with them
    save_pages insights-as-recorded
}
shot_insights() { section Insights 2; save_pages insights; }
shot_statistics() { section Statistics 2; save_pages statistics; quit_app; }

for size in $sizes; do
    width=${size%x*}
    height=${size#*x}
    start_display "$size"
    for appearance in $appearances; do
        for name in "${SHOTS[@]}"; do
            case $name in
                welcome-*|error-alert|about|overview) quit_app ;;
            esac
            "shot_$name"
        done
        quit_app
    done
done
