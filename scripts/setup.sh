#!/bin/sh
# Installs the Debian packages Vesk needs to build, test and run, when they are missing.
# Safe to run again: an installed package is left alone and nothing is fetched when all are there.
set -eu

PACKAGES="build-essential cmake pkg-config git
libgtest-dev libgmock-dev googletest libbenchmark-dev
libopenimageio-dev openimageio-tools libcli11-dev nlohmann-json3-dev
libgl-dev libgl1-mesa-dri libosmesa6-dev libegl-dev
qt6-base-dev xvfb xauth
imagemagick"

for extra in "$@"; do
    case "$extra" in
        demo) PACKAGES="$PACKAGES ffmpeg" ;;
        bench) PACKAGES="$PACKAGES libopencv-dev hyperfine time" ;;
        farm) PACKAGES="$PACKAGES slurm-wlm munge" ;;
        fuzz) PACKAGES="$PACKAGES clang-14 libclang-rt-14-dev" ;;
        *) echo "setup: unknown package group '$extra' (known: demo, bench, farm, fuzz)" >&2; exit 2 ;;
    esac
done

missing=""
for package in $PACKAGES; do
    status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
    case "$status" in
        *"install ok installed"*) ;;
        *) missing="$missing $package" ;;
    esac
done

if [ -z "$missing" ]; then
    exit 0
fi

echo "setup: installing$missing"
if [ "$(id -u)" -eq 0 ]; then
    SUDO=""
elif command -v sudo >/dev/null 2>&1; then
    SUDO="sudo"
else
    echo "setup: these Debian packages are missing and I am not root:$missing" >&2
    exit 1
fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
# shellcheck disable=SC2086
$SUDO apt-get install -y -qq --no-install-recommends $missing
