#!/usr/bin/env bash
# Sets the machine up, builds everything with warnings as errors and runs all tests. With --long also
# what takes hours: see docs/reliability.md.
set -euo pipefail
cd "$(dirname "$0")"
scripts/setup.sh tests
cmake --preset release
cmake --build --preset release
ctest --preset release
if [ "${1:-}" = --long ]; then exec scripts/test-long.sh; fi
