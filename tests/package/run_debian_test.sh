#!/usr/bin/env bash
# Usage: run_debian_test.sh BUILD_DIR WORK_DIR
# Makes the Debian package of the build with cpack, unpacks it into a scratch
# root with dpkg-deb (nothing is installed on the machine) and runs the
# packaged twhost from there: its RPATH and the library's plug-in directory
# are relative to where the files lie, so it finds the packaged libraries and
# example plug-ins without LD_LIBRARY_PATH.
set -euo pipefail
build=$1 work=$2

rm -rf "$work"
mkdir -p "$work/root"
cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/cpack.log"
debs=("$work"/*.deb)
[ ${#debs[@]} -eq 1 ] || { echo "expected one .deb, got: ${debs[*]}"; exit 1; }
dpkg-deb --field "${debs[0]}" Package Version Depends | tee "$work/fields"
grep -qx "Package: tw-varlib" "$work/fields"
dpkg-deb -x "${debs[0]}" "$work/root"
test -f "$work/root/usr/lib/pkgconfig/tw_varlib.pc" || { echo "tw_varlib.pc is not in the package"; exit 1; }

unset LD_LIBRARY_PATH
"$work/root/usr/bin/twhost" plugins >"$work/plugins.txt"
for plugin in netinfo.twp tables.twp; do
    grep -qx "$plugin: loaded" "$work/plugins.txt" || { echo "$plugin missing:"; cat "$work/plugins.txt"; exit 1; }
done
