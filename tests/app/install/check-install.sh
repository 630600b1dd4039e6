#!/usr/bin/env bash
# Installs the build into a temporary DESTDIR and checks what the desktop finds there: the
# program, the launcher, the icons and the software-centre record, each file as its validator
# reads it; then starts the installed program offscreen in demo mode until its first frame.
set -euo pipefail
build=$1
id=app.quorvane.Quorvane
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
root=$stage/root
DESTDIR=$root cmake --install "$build" --prefix /usr >/dev/null

expected=(usr/bin/quorvane usr/share/applications/$id.desktop usr/share/metainfo/$id.metainfo.xml
  usr/share/icons/hicolor/scalable/apps/$id.svg usr/share/doc/quorvane/copyright usr/share/doc/quorvane/changelog.gz)
for size in 16 22 24 32 48 64 128 256; do
  png=usr/share/icons/hicolor/${size}x${size}/apps/$id.png
  expected+=("$png")
  # A PNG's width and height are the two big-endian words after its header.
  [ "$(od -An -tx1 -j16 -N8 "$root/$png" | tr -d ' \n')" = "$(printf '%08x%08x' "$size" "$size")" ] \
    || { echo "$png is not $size px square"; exit 1; }
done
diff <(printf '%s\n' "${expected[@]}" | sort) <(cd "$root" && find . -type f | sed 's|^\./||' | sort)

desktop-file-validate "$root/usr/share/applications/$id.desktop"
appstreamcli validate --no-net "$root/usr/share/metainfo/$id.metainfo.xml" >"$stage/appstream.log" \
  || { cat "$stage/appstream.log"; exit 1; }
grep -qx "Exec=quorvane" "$root/usr/share/applications/$id.desktop"
grep -qx "Icon=$id" "$root/usr/share/applications/$id.desktop"

# A fresh user with no session bus, in a runtime folder of its own.
mkdir -m 700 "$stage/runtime"
# The sanitizer build's settings pass through: leaks inside Qt's own caches are not ours.
out=$(env -i PATH=/usr/bin:/bin HOME="$stage/home" XDG_RUNTIME_DIR="$stage/runtime" QT_QPA_PLATFORM=offscreen \
  DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent QUORVANE_STARTUP_PROBE=1 \
  ASAN_OPTIONS="${ASAN_OPTIONS:-}" UBSAN_OPTIONS="${UBSAN_OPTIONS:-}" \
  timeout 60 "$root/usr/bin/quorvane" --demo 2>"$stage/stderr") || { cat "$stage/stderr"; exit 1; }
grep -qx frame <<<"$out" || { echo "no first frame: $out"; cat "$stage/stderr"; exit 1; }
