#!/usr/bin/env bash
# Installs whatever Debian package the build, the tests or the demo needs and this machine lacks.
set -euo pipefail

packages=(g++ cmake ninja-build libgtest-dev libcli11-dev nlohmann-json3-dev libfmt-dev libpng-dev libeigen3-dev)

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "Please install these packages as root: ${missing[*]}" >&2; exit 1; }
    as_root=(sudo)
fi
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
