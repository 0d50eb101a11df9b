#!/usr/bin/env bash
# Builds the model and amisim from these sources twice, in folders of different name and depth, and
# compares the files that come out: prove-reproducible.sh FOLDER [CMAKE_OPTION...]
set -euo pipefail
shopt -s inherit_errexit
cd "$(dirname "$0")/.."
folder=$(realpath -m "$1")
options=("${@:2}")

build() {
    rm -rf "$1" && mkdir -p "$1/source"
    { git ls-files -z --cached --others --exclude-standard; find host -name node_modules -prune -print0; } |
        tar c --null --ignore-failed-read -T - 2>/dev/null | tar x -C "$1/source"
    cmake -S "$1/source" -B "$2" -G Ninja -DBUILD_TESTING=OFF "${options[@]}" >/dev/null
    cmake --build "$2" >/dev/null
    (cd "$2" && find . -type f \( -path './package/*.so' -o -path './package/*.*i*' -o -path './host/amisim*' \) |
        sort | xargs -r sha256sum)
}
one=$(build "$folder/one" "$folder/one/build")
two=$(build "$folder/another/one" "$folder/another/one/source/deeper/build")
echo "$one"
[[ $one = *Retimer_RX_RT.so* ]]
diff <(echo "$one") <(echo "$two")
echo "twice the same"
