#!/usr/bin/env bash
# Holds the receiver's own elementary functions against MPFR: prove-mathematics.sh BUILD [ARGUMENTS]
# for each function, 100,000,000 by default, seven minutes of a core; and the receiver that uses them
# against the literal twin that uses the C library's, where CASES sets the number of random cases.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath -m "$1")
scripts/setup.sh tests
cmake -S . -B "$build" -G Ninja -DRETIMER_HOST=OFF -DRETIMER_MATHS=exact >/dev/null
cmake --build "$build" --target test_mathematics test_literal
RETIMER_MATHS_ARGUMENTS=${2:-100000000} "$build/tests/mathematics/test_mathematics"
RETIMER_DIFFERENTIAL_CASES=${CASES:-450} "$build/tests/literal/test_literal" --gtest_filter='*RandomCases'
