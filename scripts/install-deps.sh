#!/usr/bin/env bash
# Installs every Debian 12 package the library, its extensions, examples and tests need.
# Idempotent: packages already present are skipped, and apt is only asked when one is missing.
set -euo pipefail

build_pkgs=(
    build-essential cmake ninja-build ccache pkg-config
    qtbase5-dev qtbase5-dev-tools libqt5opengl5-dev qttools5-dev-tools
    liblua5.3-dev libuchardet-dev libgif-dev libsfml-dev libopenal-dev
    libvorbis-dev libogg-dev libflac-dev libmpg123-dev libsamplerate0-dev libzip-dev
    libbenchmark-dev libgl1-mesa-dev libgl1-mesa-dri
    libkf5syntaxhighlighting-dev
)
test_pkgs=(
    xvfb xauth fonts-dejavu-core zip unzip giflib-tools imagemagick
    sox libsox-fmt-all flac mpg123 ffmpeg espeak-ng
)
# make fuzz: clang with libFuzzer and the sanitizer runtimes.
fuzz_pkgs=(clang libclang-rt-14-dev)

missing=()
for p in "${build_pkgs[@]}" "${test_pkgs[@]}" "${fuzz_pkgs[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

SUDO=
[[ $(id -u) -ne 0 ]] && SUDO=sudo
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
