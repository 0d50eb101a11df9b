#!/usr/bin/env bash
# Looks through the model's code with clang-tidy and cppcheck: lint.sh BUILD_FOLDER
# The folder is one that clang's compile commands are in (cmake -DCMAKE_EXPORT_COMPILE_COMMANDS=ON).
set -euo pipefail
cd "$(dirname "$0")/.."
clang-tidy -p "$1" --quiet ami/*.cpp blocks/*.cpp receiver/*.cpp runtime/*.cpp 2>/dev/null
cppcheck --enable=warning,performance,portability --inline-suppr --suppress=missingIncludeSystem \
    --std=c++20 --language=c++ -I. --quiet --error-exitcode=1 ami blocks receiver/*.?pp runtime
