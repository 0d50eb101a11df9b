#!/usr/bin/env bash
# The long tests, after the quick ones: what is built, with what sanitizers, on what systems.
#
#   scripts/test-long.sh           all of them, some hours
#   scripts/test-long.sh STEP...   these: package twice sanitizers threads literal mathematics slurm fuzz afl lint systems avx512
#
# Each tells what it found; the first that fails ends it. SECONDS_EACH sets how long each fuzzer runs,
# CASES how many random cases are compared. The last two need root, and debootstrap or an emulator.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh tests clang clang-tidy cppcheck slurm-wlm munge
long=$PWD/build/long
mkdir -p "$long"

package() { cmake --build --preset release --target package; }

twice() { scripts/prove-reproducible.sh "$long/twice"; }

sanitizers() {
    cmake --preset debug >/dev/null
    cmake --build --preset debug
    ctest --preset debug
}

threads() {
    cmake -S . -B "$long/thread" -G Ninja -DRETIMER_HOST=OFF -DRETIMER_SANITIZE=thread >/dev/null
    cmake --build "$long/thread" --target test_survival
    "$long/thread/tests/survival/test_survival" --gtest_filter='*ManyInstances*'
}

literal() {
    RETIMER_DIFFERENTIAL_CASES=${CASES:-5000} build/release/tests/literal/test_literal --gtest_filter='*RandomCases'
}

mathematics() { scripts/prove-mathematics.sh "$long/exact"; }

slurm() { tests/slurm/run.sh build/release; }

fuzz() { scripts/fuzz.sh "${SECONDS_EACH:-600}"; }

afl() { scripts/afl.sh "${SECONDS_EACH:-600}"; }

lint() { scripts/lint.sh; }

systems() { scripts/prove-portability.sh build/release/package/Retimer_RX_RT.so "$long/systems"; }

avx512() { CASES=1 scripts/prove-avx512.sh build/release "$long/avx512"; }

steps=("$@")
[ $# -gt 0 ] || steps=(package twice sanitizers threads literal mathematics slurm fuzz afl lint systems avx512)
for step in "${steps[@]}"; do
    declare -F "$step" >/dev/null || { echo "expected a step as above, found '$step'" >&2; exit 2; }
    if [[ $step = systems || $step = avx512 ]] && { [ "$(id -u)" -ne 0 ] || ! command -v debootstrap >/dev/null; }; then
        echo "== $step: NOT RUN, needs root and debootstrap"
        continue
    fi
    echo "== $step"
    start=$SECONDS
    $step
    echo "== $step: passed in $((SECONDS - start)) s"
done
