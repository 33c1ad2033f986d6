#!/usr/bin/env bash
# Usage: run_package_test.sh BUILD_DIR CONSUMER_SRC WORK_DIR CXX_FLAGS GENERATOR LIBDIR
# (LIBDIR: the libraries' folder below the prefix, CMAKE_INSTALL_LIBDIR)
set -euo pipefail
build=$1 consumer=$2 work=$3 flags=$4 generator=$5 libdir=$6

rm -rf "$work"
mkdir -p "$work"
first="$work/first-prefix"
moved="$work/moved/prefix"

cmake --install "$build" --prefix "$first" >"$work/install.log"

# The umbrella header compiles on its own under plain C++20.
echo '#include <tw_varlib.h>' | ${CXX:-c++} -std=c++20 -fsyntax-only \
    -I"$first/include" -I"$first/include/tw_varlib" -x c++ -

# The dialog component, where this build made it.
widgets=OFF
[ -f "$first/$libdir/cmake/tw_varlib/tw_varlibWidgetsTargets.cmake" ] && widgets=ON

cmake -S "$consumer" -B "$work/consumer-build" -G "$generator" -DTW_CONSUMER_WIDGETS=$widgets \
    -DCMAKE_PREFIX_PATH="$first" -DCMAKE_INSTALL_PREFIX="$first" \
    -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_BUILD_TYPE=Release >"$work/consumer-configure.log"
cmake --build "$work/consumer-build" >"$work/consumer-build.log"
cmake --install "$work/consumer-build" >"$work/consumer-install.log"

test -f "$first/$libdir/tw_varlib/plugins/hello.twp" || { echo "tw_add_plugin did not make hello.twp"; exit 1; }

# Relocatable: the whole prefix moves, and everything still runs without LD_LIBRARY_PATH.
mkdir -p "$(dirname "$moved")"
mv "$first" "$moved"
unset LD_LIBRARY_PATH
"$moved/bin/tw_consumer" "$moved/$libdir/tw_varlib/plugins"

# pkg-config finds the moved prefix from where tw_varlib.pc lies; a program
# built with its flags alone runs the same way.
export PKG_CONFIG_PATH="$moved/$libdir/pkgconfig"
read -r -a pc_flags <<<"$(pkg-config --cflags --libs tw_varlib)"
# shellcheck disable=SC2086 # the build's flags are a list of words
${CXX:-c++} -std=c++20 $flags "$consumer/consumer.cpp" "${pc_flags[@]}" -Wl,-rpath,"$moved/$libdir" -o "$work/pc_consumer"
"$work/pc_consumer" "$moved/$libdir/tw_varlib/plugins"

if [ "$widgets" = ON ]; then
    "$moved/bin/tw_dialog_consumer"
fi
