#!/usr/bin/env bash
# Holds a library for another system against the one for this system: the same bytes from every
# scenario, the same last words where the process ends, nothing left behind by this many loads.
#   compare.sh LIBRARY SCENARIOS STATUS LOADS REFERENCE-LIBRARY REFERENCE-SCENARIOS [EMULATOR...]
# STATUS is what abort ends a process with there. Works in the folder it is started in; wine's folder
# is WINEPREFIX.
set -euo pipefail
library=$1 scenarios=$2 status=$3 loads=$4 reference=$5 reference_scenarios=$6
shift 6
[ -e "$reference" ] || { echo "$reference is missing: build the release preset first" >&2; exit 1; }
ulimit -c 0
rm -rf here there
mkdir here there

here=("$reference_scenarios" "$reference")
there=("$@" "$scenarios" "$library")

# Lines end as the system's do, its programs have an extension, and the compiler has another name for
# size_t; its cache may have made the names of sources relative to the build folder. An emulator
# speaks for itself.
plain() {
    sed '/^qemu: /d; s/\r$//; s/\.exe: /: /; s/long long unsigned/long unsigned/; s,\.\./,,g' "$1" >"$1.plain"
}

"${here[@]}" run here 2>here/errors
"${there[@]}" run there 2>there/errors
plain here/errors
plain there/errors
for scenario in here/*/; do
    name=$(basename "$scenario")
    [ -s "here/$name/wave.bin" ] || [ "$name" = refused ] || { echo "$name: no waveform"; exit 1; }
    diff -r "here/$name" "there/$name"
done
diff here/errors.plain there/errors.plain
echo "$(ls -d here/*/ | wc -l) scenarios the same"

# Runs a command to its end: its status, a file for what it says, the command.
last_words() {
    local status=$1 file=$2 code=0
    shift 2
    { (exec "$@" >"$file" 2>&1); } 2>/dev/null || code=$?
    [ $code = "$status" ] || { echo "$file: ended with $code instead of $status"; exit 1; }
    plain "$file"
    grep -qi assertion "$file"
}
for end in blanks unready; do
    last_words 134 here/$end "${here[@]}" $end
    last_words "$status" there/$end "${there[@]}" $end
    diff here/$end.plain there/$end.plain
done
echo "the same last words"

[ "$loads" = 0 ] || "${there[@]}" load "$loads"
