#!/usr/bin/env bash
# Usage: run_debian_test.sh BUILD_DIR WORK_DIR LIBDIR
# Makes the Debian packages of the build with cpack, checks what each holds and
# depends on, unpacks them all into a scratch root with dpkg-deb (nothing is
# installed on the machine) and runs the packaged twhost from there: its RPATH
# and the library's plug-in and web directories are relative to where the
# files lie, so it finds the packaged libraries, plug-ins and dialog module
# without LD_LIBRARY_PATH.
set -euo pipefail
build=$1 work=$2 libdir=$3

rm -rf "$work"
mkdir -p "$work/root"
cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/cpack.log"
fail() { echo "$*"; exit 1; }
version=$(dpkg-deb --field "$work"/libtw-varlib0_*.deb Version)

# package | a file it must hold | a dependency it must have | one it must not have
# (the Qt 6 dependency lives only in the dialog's packages).
table=(
    "libtw-varlib0|usr/$libdir/libtw_varlib.so.0|libpugixml1v5|qt6"
    "libtw-varlib-dev|usr/$libdir/pkgconfig/tw_varlib.pc|libtw-varlib0 (= $version)|qt6"
    "twhost|usr/$libdir/tw_varlib/plugins/netinfo.twp|libmicrohttpd|qt6"
    "libtw-varlib-widgets0|usr/$libdir/libtw_varlib_widgets.so.0|libqt6widgets6|twhost"
    "libtw-varlib-widgets-dev|usr/$libdir/cmake/tw_varlib/tw_varlibWidgetsTargets.cmake|qt6-base-dev|twhost ("
    "twhost-dialog|usr/$libdir/tw_varlib/twhost/dialog.so|libtw-varlib-widgets0 (= $version)|libtw-varlib-dev"
)
widgets=OFF
grep -q 'CPACK_COMPONENTS_ALL .*HostDialog' "$build/CPackConfig.cmake" && widgets=ON
for row in "${table[@]}"; do
    IFS='|' read -r package file needs shuns <<<"$row"
    deb=$(compgen -G "$work/${package}_${version}_*.deb" || true)
    if [ -z "$deb" ]; then
        [ "$widgets" = OFF ] && [[ $package == *widgets* || $package == *dialog* ]] && continue
        fail "$package: no package made"
    fi
    depends=$(dpkg-deb --field "$deb" Depends)
    echo "$package: Depends: $depends"
    [[ $depends == *"$needs"* ]] || fail "$package does not depend on $needs"
    [[ $depends != *"$shuns"* ]] || fail "$package depends on $shuns"
    dpkg-deb --contents "$deb" >"$work/$package.contents"
    for path in "$file" "usr/share/doc/$package/copyright" "usr/share/doc/$package/changelog.Debian.gz"; do
        grep -q " \./$path\( ->.*\)\?$" "$work/$package.contents" || fail "$package does not hold /$path"
    done
    # Nothing below the flat lib/ but the multiarch folder.
    if grep -E ' \./usr/lib/[^/ ]+( -> .*)?$' "$work/$package.contents"; then
        fail "$package puts files directly in /usr/lib"
    fi
    dpkg-deb -x "$deb" "$work/root"
done
# lintian, where installed, finds no error in any package (the warnings kept
# are listed in cmake/TwDebianPackages.cmake).
if command -v lintian >/dev/null; then
    lintian --fail-on error "$work"/*.deb >"$work/lintian.txt" 2>&1 || fail "lintian: $(cat "$work/lintian.txt")"
    grep -v "running with root privileges" "$work/lintian.txt" || true
fi
zcat "$work/root/usr/share/doc/twhost/changelog.Debian.gz" | head -1 | grep -q "^twhost ($version)" ||
    fail "the changelog's first entry is not twhost $version"

unset LD_LIBRARY_PATH
"$work/root/usr/bin/twhost" plugins >"$work/plugins.txt"
for plugin in netinfo.twp tables.twp; do
    grep -qx "$plugin: loaded" "$work/plugins.txt" || { echo "$plugin missing:"; cat "$work/plugins.txt"; exit 1; }
done
# twhost serve hands out the packaged page: started on a free port, asked for it, stopped.
"$work/root/usr/bin/twhost" serve --port 0 --workers 1 --report-dir "$work/reports" >"$work/serve.txt" 2>&1 &
serve=$!
for _ in $(seq 100); do
    grep -q "^Open http" "$work/serve.txt" && break
    sleep 0.1
done
address=$(sed -n 's/^Open \(http[^ ]*\) .*/\1/p' "$work/serve.txt")
page=$(curl -sf "$address" || true)
kill -TERM "$serve"
wait "$serve" || fail "twhost serve did not end with 0 on SIGTERM"
grep -q "<title>twhost" <<<"$page" || fail "twhost serve does not hand out the packaged web folder: $(cat "$work/serve.txt")"
if [ "$widgets" = ON ]; then
    QT_QPA_PLATFORM=offscreen "$work/root/usr/bin/twhost" dialog --screenshot "$work/dialog.png"
    test -s "$work/dialog.png" || fail "twhost dialog saved no picture"
fi
