#!/usr/bin/env bash
# Builds the Debian package, checks its files and its dependencies (the shared libraries
# dpkg-shlibdeps found and the QML modules named by hand), and runs lintian on it.
set -euo pipefail
build=$1
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$out" >"$out/cpack.log" 2>&1 || { cat "$out/cpack.log"; exit 1; }
deb=$(echo "$out"/quorvane_*.deb)
files=$(dpkg-deb -c "$deb" | awk '{print $6}')
for f in ./usr/bin/quorvane ./usr/share/applications/app.quorvane.Quorvane.desktop \
  ./usr/share/metainfo/app.quorvane.Quorvane.metainfo.xml ./usr/share/icons/hicolor/48x48/apps/app.quorvane.Quorvane.png; do
  grep -qx "$f" <<<"$files" || { echo "missing from the package: $f"; exit 1; }
done
depends=$(dpkg-deb -f "$deb" Depends)
for d in libc6 libqt6quick6 libqt6dbus6 qml6-module-qtquick-controls qt6-qpa-plugins; do
  grep -q "\b$d\b" <<<"$depends" || { echo "Depends lacks $d: $depends"; exit 1; }
done
[ "$(dpkg-deb -f "$deb" Section)" = misc ]
lintian --fail-on error --no-tag-display-limit "$deb" >"$out/lintian.log" 2>&1 || { cat "$out/lintian.log"; exit 1; }
