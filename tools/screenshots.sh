#!/usr/bin/env bash
# Screenshots of the real application under Xvfb at 1280×800, in light and dark.
#
#   tools/screenshots.sh <output folder> [build folder, default: build]
#
# Every shot starts the application afresh with its own settings (recents, scanned list) and
# index folder, over fixture repositories made here with git. To add a shot, write a function
# `shot_<name>` that prepares the state and starts the application with `launch`, and add
# <name> to SHOTS. Needs Xvfb, xdotool and imagemagick's `import`.
set -euo pipefail

out=${1:?usage: tools/screenshots.sh <output folder> [build folder]}
build=${2:-build}
app=$(realpath "$build/src/ui/shell/strataloom")
mkdir -p "$out"
out=$(realpath "$out")

SHOTS=(welcome-empty welcome-recents welcome-scanned overview error-alert about)

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

Xvfb -displayfd 4 -screen 0 1280x800x24 -nolisten tcp 4>"$work/display" 2>/dev/null &
xvfb_pid=$!
for _ in $(seq 50); do if [ -s "$work/display" ]; then break; fi; sleep 0.1; done
export DISPLAY=:$(cat "$work/display")

launch() { # launch <settings: empty|recents|scanned> [arguments...]
    local state=$1; shift
    local config=$work/config-$RANDOM
    case $state in
        empty) write_settings "$config" "" "" ;;
        recents) write_settings "$config" "$(recents_json)" "" ;;
        scanned) write_settings "$config" "$(recents_json)" "$(discovered_json)" ;;
    esac
    XDG_CONFIG_HOME=$config HOME=$work/home STRATALOOM_INDEX_DIR=$work/indexes \
        STRATALOOM_APPEARANCE=$appearance "$app" "$@" >"$work/app.log" 2>&1 &
    app_pid=$!
    sleep "${LAUNCH_WAIT:-3}"
}

shot_welcome-empty() { launch empty; }
shot_welcome-recents() { launch recents; }
shot_welcome-scanned() {
    launch scanned
    xdotool mousemove --sync 705 167 click 1 # the "Repositories" tab
    sleep 0.5
}
shot_overview() { launch recents "$repos/aurora"; sleep 3; }
shot_error-alert() { launch empty "$work/not-a-repository"; sleep 1; }
shot_about() {
    launch recents "$repos/aurora"
    sleep 2
    xdotool mousemove --sync 128 12 click 1 # the "Help" menu
    sleep 0.5
    xdotool mousemove --sync 170 42 click 1 # "About Strataloom"
    sleep 0.8
}

for appearance in light dark; do
    for name in "${SHOTS[@]}"; do
        "shot_$name"
        import -window root "$out/$name-$appearance.png"
        kill "$app_pid" 2>/dev/null || true
        wait "$app_pid" 2>/dev/null || true
        app_pid=
        echo "$out/$name-$appearance.png"
    done
done
