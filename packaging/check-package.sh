#!/usr/bin/env bash
# Checks a built Debian package: its desktop entry and AppStream description validate, the files
# a desktop installation needs are in it, every dependency is a package Debian knows, and both
# executables answer --version once unpacked into a scratch root (with the system's libraries).
# Usage: packaging/check-package.sh strataloom_<version>_<arch>.deb
set -euo pipefail
deb=$(realpath "${1:?usage: check-package.sh PACKAGE.deb}")
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

dpkg-deb -x "$deb" "$root"
status=0
fail() { echo "check-package: $*" >&2; status=1; }

for file in usr/bin/strataloom usr/bin/strataloom-cli \
            usr/share/applications/strataloom.desktop \
            usr/share/icons/hicolor/scalable/apps/strataloom.svg \
            usr/share/metainfo/org.strataloom.Strataloom.metainfo.xml \
            usr/share/man/man1/strataloom.1.gz usr/share/man/man1/strataloom-cli.1.gz \
            usr/share/bash-completion/completions/strataloom-cli \
            usr/share/doc/strataloom/copyright; do
    [ -e "$root/$file" ] || fail "missing /$file"
done

desktop-file-validate "$root/usr/share/applications/strataloom.desktop" || fail "desktop entry"
appstreamcli validate --no-net "$root/usr/share/metainfo/org.strataloom.Strataloom.metainfo.xml" \
    >/dev/null || fail "AppStream description"
for page in "$root"/usr/share/man/man1/*.gz; do
    [ -z "$(zcat "$page" | LC_ALL=C.UTF-8 MANWIDTH=80 man -l -Tutf8 - 2>&1 >/dev/null)" ] ||
        fail "manual page $(basename "$page") has warnings"
done
bash -n "$root/usr/share/bash-completion/completions/strataloom-cli" || fail "completion syntax"

# Every dependency must name a package apt knows (a typo would make the package uninstallable).
depends=$(dpkg-deb -f "$deb" Depends)
echo "Depends: $depends"
for package in $(echo "$depends" | tr ',' '\n' | sed -E 's/\(.*\)//; s/\|.*//' | tr -d ' '); do
    apt-cache show "$package" >/dev/null 2>&1 || fail "unknown dependency $package"
done

for program in strataloom strataloom-cli; do
    version=$(env -u DISPLAY -u WAYLAND_DISPLAY "$root/usr/bin/$program" --version) ||
        fail "$program --version failed"
    echo "$version"
done
[ $status -eq 0 ] && echo "check-package: $(basename "$deb") is complete"
exit $status
