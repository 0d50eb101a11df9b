#!/usr/bin/env bash
# Runs the built library on an older and on a newer Debian and compares what comes back, to the last
# bit, with what comes back here: prove-portability.sh LIBRARY FOLDER
# Needs root and debootstrap; keeps the two systems in FOLDER for the next time.
set -euo pipefail
cd "$(dirname "$0")/.."
library=$(realpath "$1")
mkdir -p "$2"
folder=$(realpath "$2")
mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Label: Debian' | head -1)

# The program that loads the library is built on the older system.
for suite in bullseye trixie; do
    [ -e "$folder/$suite/etc/debian_version" ] ||
        debootstrap --variant=minbase --include=gcc,libc6-dev $suite "$folder/$suite" "$mirror" >"$folder/$suite.log"
    rm -rf "$folder/$suite/try"
    mkdir "$folder/$suite/try"
    cp "$library" "$folder/$suite/try/model.so"
done
cp tests/package/Loads.c "$folder/bullseye/try"
chroot "$folder/bullseye" gcc -O1 -o /try/loads /try/Loads.c -ldl
cp "$folder/bullseye/try/loads" "$folder/trixie/try"

here=$(mktemp -d)
trap 'rm -rf "$here"' EXIT
expected=$(cd "$here" && "$folder/bullseye/try/loads" "$library")
echo "$expected $(ldd --version | head -1)"
for suite in bullseye trixie; do
    got=$(chroot "$folder/$suite" sh -c 'cd /try && ./loads /try/model.so')
    echo "$got $suite: $(chroot "$folder/$suite" ldd --version | head -1)"
    [ "$got" = "$expected" ]
done
