#!/usr/bin/env bash
# Sets the machine up, builds everything with warnings as errors and runs all tests.
set -euo pipefail
cd "$(dirname "$0")"
scripts/setup.sh
cmake --preset release
cmake --build --preset release
ctest --preset release
