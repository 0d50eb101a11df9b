#!/usr/bin/env bash
# Runs amisim as a whole on broken files, under the address and undefined-behaviour sanitizers: afl.sh SECONDS_EACH
# A file must be read or refused: the program may end with any exit code, but not by a signal and not by taking
# over ten seconds. Finds stay in build/afl/found.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh tests clang afl++
folder=$PWD/build/afl
# The sanitizers' reports are to be a signal, which is what afl-fuzz looks for.
export AFL_USE_ASAN=1 AFL_USE_UBSAN=1 AFL_QUIET=1 AFL_NO_UI=1 AFL_SKIP_CPUFREQ=1 \
    AFL_I_DONT_CARE_ABOUT_MISSING_CRASHES=1 ASAN_OPTIONS=abort_on_error=1:detect_leaks=0:symbolize=0 \
    UBSAN_OPTIONS=abort_on_error=1:symbolize=0
cmake -S . -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=afl-clang-fast++ \
    -DBUILD_TESTING=OFF >/dev/null
cmake --build "$folder" --target amisim
amisim=$folder/host/amisim
# The model is not what is tried here: it is that of the release preset.
cmake --preset release >/dev/null
cmake --build --preset release --target package_files
model=$PWD/build/release/package/Retimer_RX_RT.so
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# NAME SEEDS EXTENSION: what each command is given. @@ is the broken file.
commands() {
    cat <<END
check-ibs IbsFile ibs check @@
check-ami AmiFile ami check @@
params-ibs IbsFile ibs params @@
touchstone Touchstone s4p run $model --bits 64 --box off --out $work/run --touchstone @@
wave SignalFile csv run $model --bits 64 --box off --out $work/run --wave @@
plan PlanFile toml sweep --dry-run @@ --out $work/sweep
END
}

commands | while read -r name seeds extension arguments; do
    out=$folder/found/$name
    rm -rf "$out" && mkdir -p "$out"
    # shellcheck disable=SC2086  # arguments are words
    afl-fuzz -i "fuzz/corpus/$seeds" -o "$out" -e "$extension" -V "$1" -t 10000 -m none -- "$amisim" $arguments \
        >"$folder/$name.log" 2>&1 </dev/null || { tail -20 "$folder/$name.log"; exit 1; }
    stats=$out/default/fuzzer_stats
    echo "$name: $(awk '/execs_done/ {print $3}' "$stats") runs"
    found=$(find "$out/default/crashes" "$out/default/hangs" -name 'id*' | head -5)
    [ -z "$found" ] || { echo "$found"; exit 1; }
done
