#!/usr/bin/env bash
# Installs what the build or the demo needs and this machine lacks: Debian packages, and the npm package
# that draws the plots of report.html. With "tests" also what the tests need, with "tests cross" the
# compilers and emulators for the model on Windows and on 64-bit ARM; other words are packages.
set -euo pipefail
cd "$(dirname "$0")/.."
tests=${1:-}

packages=(g++ cmake ninja-build libgtest-dev libcli11-dev nlohmann-json3-dev libfmt-dev libcairo2-dev fonts-dejavu-core libeigen3-dev libtomlplusplus-dev)
for word in "${@:2}"; do
    case $word in
        cross) packages+=(g++-mingw-w64-x86-64 wine64 g++-aarch64-linux-gnu qemu-user) ;;
        *) packages+=("$word") ;;
    esac
done
if [ "$tests" = tests ]; then
    # What our own mathematics is held against; the Python module, and what its tests and notebooks use.
    packages+=(libmpfr-dev pybind11-dev python3-dev python3-numpy python3-pytest python3-matplotlib
               python3-jsonschema)
fi
command -v npm >/dev/null || packages+=(nodejs npm)
# Elsewhere chromium is no Debian package; the browser test is left out there unless it is installed.
if [ "$tests" = tests ] && ! command -v chromium >/dev/null && grep -qx 'ID=debian' /etc/os-release; then
    packages+=(chromium)
fi

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "Installing: ${missing[*]}"
    as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "Please install these packages as root: ${missing[*]}" >&2; exit 1; }
        as_root=(sudo)
    fi
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

folders=(host/pages/report)
[ "$tests" = tests ] && folders+=(tests/report)
for folder in "${folders[@]}"; do
    # npm notes in node_modules what it has installed.
    [ "$folder/node_modules/.package-lock.json" -nt "$folder/package-lock.json" ] && continue
    echo "Installing: npm packages of $folder"
    (cd "$folder" && npm ci --silent)
done
