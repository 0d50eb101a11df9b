#!/usr/bin/env bash
# Sets the machine up, builds everything with warnings as errors and runs all tests, those of the model
# for Windows and for 64-bit ARM too where their compilers are installed (scripts/setup.sh tests cross).
# With --long also what takes hours: see docs/reliability.md.
set -euo pipefail
cd "$(dirname "$0")"
scripts/setup.sh tests
cmake --preset release
cmake --build --preset release
ctest --preset release
cross() {  # PRESET COMPILER EMULATOR
    if ! command -v "$2" >/dev/null || ! PATH=$PATH:/usr/lib/wine command -v "$3" >/dev/null; then
        echo "Preset $1 is left out: $2 or $3 is not installed (scripts/setup.sh tests cross)."
        return
    fi
    cmake --preset "$1"
    cmake --build --preset "$1"
    ctest --preset "$1"
}
cross windows x86_64-w64-mingw32-g++-posix wine64
cross aarch64 aarch64-linux-gnu-g++ qemu-aarch64
cmake --build --preset release --target package_files  # takes the library for Windows in
if [ "${1:-}" = --long ]; then exec scripts/test-long.sh; fi
