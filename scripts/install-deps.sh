#!/usr/bin/env bash
# Installs what the project needs to build and test on Debian 12 (run as root or with sudo).
set -euo pipefail
packages=(
    g++ cmake ninja-build pkg-config git
    libpugixml-dev
    libgtest-dev libbenchmark-dev
    clang-14 libclang-rt-14-dev
    nlohmann-json3-dev rapidjson-dev
    libcli11-dev libmicrohttpd-dev libcpp-httplib-dev
    chromium
    qt6-base-dev libgl-dev fonts-dejavu-core
    xvfb xauth
    dpkg-dev file lintian debootstrap curl
)
# The browser test runs on Node.js with npm. A machine that has them from
# elsewhere keeps its own: Debian's npm conflicts with other builds of nodejs.
if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
    packages+=(nodejs npm)
fi
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${packages[@]}" >/dev/null
