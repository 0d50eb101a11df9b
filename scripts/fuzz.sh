#!/usr/bin/env bash
# Runs each fuzzer under the address and undefined-behaviour sanitizers: fuzz.sh SECONDS_EACH [FLAG...]
# Flags are libFuzzer's: with -seed=1 a run that finds something finds it again.
# Finds go to build/fuzz; inputs worth keeping gather in build/fuzz/corpus.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh tests clang libclang-rt-14-dev
folder=$PWD/build/fuzz
cmake -S . -B "$folder" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DRETIMER_FUZZ=ON -DRETIMER_SANITIZE=ON >/dev/null
cmake --build "$folder" --target fuzzers
for fuzzer in "$folder"/fuzz/fuzz_*; do
    name=$(basename "$fuzzer" | sed 's/^fuzz_//')
    mkdir -p "$folder/corpus/$name"
    "$fuzzer" "$folder/corpus/$name" "$PWD/fuzz/corpus/$name" -max_total_time="$1" -max_len=2000 \
        -close_fd_mask=3 -print_final_stats=1 -artifact_prefix="$folder/$name-" "${@:2}" >"$folder/$name.log" 2>&1 ||
        { tail -40 "$folder/$name.log"; exit 1; }
    echo "$name: $(grep -oP 'Done \K[0-9]+ runs' "$folder/$name.log")"
done
