#!/usr/bin/env bash
# The long tests, after the quick ones: what is built, with what sanitizers, on what systems. Each
# step tells what it found; the first that fails ends it. The last two need root and debootstrap.
# SECONDS_EACH sets how long each fuzzer runs.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh tests clang clang-tidy cppcheck slurm-wlm munge
long=$PWD/build/long
mkdir -p "$long"

step() { echo "== $1"; }

step "the package: what it needs of a system"
cmake --build --preset release --target package

step "two builds in different folders"
scripts/prove-reproducible.sh "$long/twice"

step "address and undefined-behaviour sanitizers"
cmake --preset debug >/dev/null
cmake --build --preset debug
ctest --preset debug

step "thread sanitizer"
cmake -S . -B "$long/thread" -G Ninja -DRETIMER_HOST=OFF -DRETIMER_SANITIZE=thread >/dev/null
cmake --build "$long/thread" --target test_survival
"$long/thread/tests/survival/test_survival" --gtest_filter='*ManyInstances*'

step "random cases against the literal twin"
RETIMER_DIFFERENTIAL_CASES=5000 build/release/tests/literal/test_literal --gtest_filter='*RandomCases'

step "job arrays on a real Slurm"
tests/slurm/run.sh build/release

step "fuzzing"
scripts/fuzz.sh "${SECONDS_EACH:-600}"

step "clang-tidy and cppcheck"
scripts/lint.sh build/fuzz

if [ "$(id -u)" -eq 0 ] && command -v debootstrap >/dev/null; then
    step "an older and a newer Debian"
    scripts/prove-portability.sh build/release/package/Retimer_RX_RT.so "$long/systems"
    step "an emulated processor with AVX-512"
    scripts/prove-avx512.sh build/release "$long/avx512"
else
    step "NOT RUN, needs root and debootstrap: an older and a newer Debian, a processor with AVX-512"
fi
