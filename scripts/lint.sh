#!/usr/bin/env bash
# Looks through the C++ with clang-tidy (.clang-tidy), and the model's also with cppcheck.
#   lint.sh                  everything, about half an hour on two cores
#   lint.sh --since COMMIT   the sources that have changed since then
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh tests clang clang-tidy cppcheck
cmake -S . -B build/lint -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null
if [ "${1:-}" = --since ]; then
    sources() { git diff --name-only --diff-filter=d "$commit" -- "$@"; }
    commit=$2
else
    sources() { git ls-files "$@"; }
fi
tidy() { xargs -r -n 1 -P "$(nproc)" clang-tidy -p build/lint --quiet "$@" 2>/dev/null; }
model=({ami,blocks,mathematics,receiver,runtime}/'*.cpp')
sources "${model[@]}" | tidy
# The static analyzer takes as long again, and is for what runs in other people's simulators.
sources '*.cpp' "${model[@]/#/:!}" | tidy --checks=-clang-analyzer-*
[ $# -gt 0 ] || cppcheck --enable=warning,performance,portability --inline-suppr --suppress=missingIncludeSystem \
    --std=c++20 --language=c++ -I. --quiet --error-exitcode=1 ami blocks mathematics receiver/*.?pp runtime
