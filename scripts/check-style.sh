#!/usr/bin/env bash
# Holds all C++ code to .clang-format, and every #include to scripts/layers.txt.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/check-layers.sh
git ls-files '*.cpp' '*.hpp' | xargs clang-format --dry-run --Werror
