#!/usr/bin/env bash
# The desktop entry and the AppStream metainfo pass their validators and agree
# with each other and with the project's version; `cmake --install` lays out a
# tree in which the programs, the entry, the metainfo and every icon size are
# where a desktop looks for them, and the installed command line finds its
# seed database and vocabularies under share/ beside its bin/.
# Usage: check-install.sh SOURCE_DIR BUILD_DIR VERSION
set -euo pipefail
source_dir=$1
build_dir=$2
version=$3
app_id=co.tessavel.Folvane
desktop=$source_dir/packaging/$app_id.desktop
metainfo=$source_dir/packaging/$app_id.metainfo.xml

failures=0
fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

desktop-file-validate "$desktop" || fail "desktop-file-validate refuses $desktop"
appstreamcli validate --no-net "$metainfo" >/dev/null || {
    appstreamcli validate --no-net "$metainfo" >&2 || true
    fail "appstreamcli refuses $metainfo"
}

# The metainfo names the entry it describes and the version being packaged.
python3 - "$metainfo" "$app_id" "$version" <<'PY' || fail "the metainfo does not match the package"
import sys, xml.etree.ElementTree as ET
path, app_id, version = sys.argv[1:]
root = ET.parse(path).getroot()
problems = []
if root.findtext("id") != app_id:
    problems.append(f"id is {root.findtext('id')!r}, not {app_id!r}")
launchable = root.findtext("launchable[@type='desktop-id']")
if launchable != app_id + ".desktop":
    problems.append(f"launchable is {launchable!r}")
binaries = {b.text for b in root.iter("binary")}
if binaries != {"folvane", "folvane-cli"}:
    problems.append(f"provided binaries are {sorted(binaries)}")
releases = [r.get("version") for r in root.iter("release")]
if not releases or releases[0] != version:
    problems.append(f"newest release is {releases[:1]}, the project is {version}")
for p in problems:
    print("metainfo:", p, file=sys.stderr)
sys.exit(1 if problems else 0)
PY

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
prefix=$tmp/usr
cmake --install "$build_dir" --prefix "$prefix" >/dev/null

for program in folvane folvane-cli; do
    [ -x "$prefix/bin/$program" ] || fail "bin/$program is not installed"
done
installed_desktop=$prefix/share/applications/$app_id.desktop
[ -f "$installed_desktop" ] || fail "share/applications/$app_id.desktop is not installed"
[ -f "$prefix/share/metainfo/$app_id.metainfo.xml" ] || fail "share/metainfo/$app_id.metainfo.xml is not installed"

# Every Exec line (the main one and each action's) starts an installed program.
if [ -f "$installed_desktop" ]; then
    while read -r command; do
        [ -x "$prefix/bin/$command" ] || fail "the desktop entry runs $command, which is not in bin/"
    done < <(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$installed_desktop")
    icon=$(sed -n 's/^Icon=//p' "$installed_desktop")
    [ "$icon" = "$app_id" ] || fail "the desktop entry's icon is '$icon'"
fi

# Each hicolor size is a PNG of that size; the SVG is there for the rest.
for size in 16 22 24 32 48 64 128 256 512; do
    png=$prefix/share/icons/hicolor/${size}x${size}/apps/$app_id.png
    if [ ! -f "$png" ]; then
        fail "no ${size}x${size} icon"
        continue
    fi
    described=$(file -b "$png")
    case "$described" in
        "PNG image data, $size x $size,"*) ;;
        *) fail "the ${size}x${size} icon is: $described" ;;
    esac
done
[ -f "$prefix/share/icons/hicolor/scalable/apps/$app_id.svg" ] || fail "no scalable icon"

# The installed command line, in a fresh home, builds its database from the
# installed seed (with the example chat and its document) and counts tokens
# with the installed vocabulary.
export XDG_DATA_HOME=$tmp/data XDG_CONFIG_HOME=$tmp/config HOME=$tmp/home
if chats=$("$prefix/bin/folvane-cli" chats 2>&1); then
    grep -q "Example Chat" <<<"$chats" || fail "the installed seed has no example chat: $chats"
else
    fail "installed folvane-cli chats: $chats"
fi
[ -f "$XDG_DATA_HOME/$app_id/Bitcoin Whitepaper.pdf" ] ||
    fail "the example document was not copied from the installed resources"
if tokens=$(printf 'hello world' | "$prefix/bin/folvane-cli" tokens 2>&1); then
    [ "$tokens" = 2 ] || fail "installed folvane-cli counts $tokens tokens in 'hello world', not 2"
else
    fail "installed folvane-cli tokens: $tokens"
fi
# The window's program answers --version without a display, and the sounds
# of dictation are installed where the core looks for them.
version=$(env -u DISPLAY -u WAYLAND_DISPLAY "$prefix/bin/folvane" --version 2>&1) ||
    fail "installed folvane --version: $version"
[[ "$version" == "folvane "[0-9]* ]] || fail "folvane --version printed: $version"
for sound in sound-start.mp3 sound-stop.mp3; do
    found=$(find "$prefix/share" -name "$sound" | head -1)
    [ -n "$found" ] || fail "$sound is not installed"
done

if [ "$failures" -gt 0 ]; then
    echo "$failures packaging check(s) failed" >&2
    exit 1
fi
echo "packaging: entry, metainfo and install tree are complete"
