#!/usr/bin/env bash
# Sets the machine up, builds the receiver and the simulator, and runs the receiver over 20,000 bits
# of a line with 10 dB loss at half the bit rate, its equaliser adapting.
set -euo pipefail
cd "$(dirname "$0")"
scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target amisim Retimer_RX_RT package_files
build/release/host/amisim run build/release/package/retimer.ibs \
    --bits 20000 --loss 10 --ppm 100 --noise 0.002 --out out/demo
