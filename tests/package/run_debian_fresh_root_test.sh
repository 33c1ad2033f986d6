#!/usr/bin/env bash
# Usage: run_debian_fresh_root_test.sh BUILD_DIR WORK_DIR CONSUMER_SRC
# Installs the Debian packages of the build into a fresh Debian 12 root (a
# minbase debootstrap, so it holds only what they declare) and runs them
# there: twhost alone first, which must not bring Qt, then every package, the
# twhost commands, and a program and a plug-in built against the -dev package
# with CMake and with pkg-config. Needs root, debootstrap and the network to
# the Debian mirror; without them it says why and exits 77 (skipped). The
# pristine root is kept as a tarball in the build folder: only the first run
# bootstraps (a few minutes).
set -euo pipefail
build=$1 work=$2 consumer=$3
skip() { echo "skipped: $*"; exit 77; }
fail() { echo "$*"; exit 1; }
mirror=${TW_DEBIAN_MIRROR:-http://deb.debian.org/debian}
host=${mirror#*://} host=${host%%/*}

[ "$(id -u)" -eq 0 ] || skip "needs root (debootstrap, chroot, mount)"
command -v debootstrap >/dev/null || skip "debootstrap is not installed"
timeout 10 bash -c "exec 3<>/dev/tcp/$host/80" 2>/dev/null || skip "no network to $host"

root="$work/root"
cleanup() {
    if mountpoint -q "$root/proc"; then umount "$root/proc"; fi
}
trap cleanup EXIT
cleanup
rm -rf --one-file-system "$work"
mkdir -p "$root"

pristine="$build/debian-bookworm-minbase.tar"
if [ ! -f "$pristine" ]; then
    echo "bootstrapping Debian 12 into $work/bootstrap"
    debootstrap --variant=minbase bookworm "$work/bootstrap" "$mirror" >"$work/debootstrap.log" 2>&1 ||
        fail "debootstrap failed: $(tail -5 "$work/debootstrap.log")"
    tar -C "$work/bootstrap" -cf "$pristine.part" . && mv "$pristine.part" "$pristine"
    rm -rf --one-file-system "$work/bootstrap"
fi
tar -C "$root" -xf "$pristine"
cp /etc/resolv.conf "$root/etc/resolv.conf"
mount -t proc proc "$root/proc"

cpack --config "$build/CPackConfig.cmake" -B "$work/debs" >"$work/cpack.log"
mkdir -p "$root/tmp/debs"
cp "$work"/debs/*.deb "$root/tmp/debs/"
# The root's paths of the copied packages matching the patterns, into debs.
find_debs() {
    local pattern deb
    debs=()
    for pattern in "$@"; do
        for deb in "$root"/tmp/debs/$pattern; do debs+=("/tmp/debs/${deb##*/}"); done
    done
}
in_root() { chroot "$root" env DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 "$@"; }
install_quietly() {
    in_root apt-get install -y --no-install-recommends "$@" >>"$work/apt.log" 2>&1 || fail "apt-get install $* failed: $(tail -20 "$work/apt.log")"
}

in_root apt-get update >"$work/apt.log" 2>&1 || fail "apt-get update failed: $(tail -5 "$work/apt.log")"
# Only what the packages declare (Depends, no Recommends). A server: twhost
# alone, and no Qt.
find_debs 'twhost_*.deb' 'libtw-varlib0_*.deb'
install_quietly "${debs[@]}"
if in_root dpkg-query -W -f "\${Package}\n" | grep -i qt; then
    fail "installing twhost brought Qt"
fi
in_root twhost plugins >"$work/plugins.txt"
for plugin in netinfo.twp tables.twp; do
    grep -qx "$plugin: loaded" "$work/plugins.txt" || fail "$plugin not loaded: $(cat "$work/plugins.txt")"
done
in_root twhost call TableColumns '[[{"name": "lo", "mtu": 65536}]]' | tee "$work/call.txt"
grep -q '"mtu"' "$work/call.txt" || fail "twhost call gave no column list"
report=$(in_root twhost report netinfo.twp InterfaceReport '["lo"]')
grep -q "lo" "$root$report" || fail "twhost report wrote no report on lo at $report"

# Every package, and the tools to build against the -dev packages (a host of
# the dialog too, which needs what libtw-varlib-widgets-dev declares).
find_debs '*.deb'
install_quietly "${debs[@]}" g++ cmake make pkgconf
in_root twhost --help | grep -q "^  dialog " || fail "twhost offers no dialog command with twhost-dialog installed"

cp -r "$consumer" "$root/tmp/consumer"
if ! { in_root cmake -S /tmp/consumer -B /tmp/consumer-build -DCMAKE_BUILD_TYPE=Release -DTW_CONSUMER_WIDGETS=ON &&
    in_root cmake --build /tmp/consumer-build && in_root cmake --install /tmp/consumer-build; } >"$work/consumer.log" 2>&1; then
    fail "building the consumer against libtw-varlib-dev failed: $(tail -20 "$work/consumer.log")"
fi
# The plug-in went where twhost looks; the program calls it.
in_root twhost call Greet '["root"]' | grep -q "Hello, root" || fail "twhost does not call the installed hello.twp"
plugins=$(in_root pkg-config --variable=libdir tw_varlib)/tw_varlib/plugins
in_root /usr/local/bin/tw_consumer "$plugins"
in_root sh -c "c++ -std=c++20 /tmp/consumer/consumer.cpp \$(pkg-config --cflags --libs tw_varlib) -o /tmp/pc_consumer" ||
    fail "building with pkg-config's flags failed"
in_root /tmp/pc_consumer "$plugins"
echo "all packages installed and ran in a fresh Debian 12 root"
