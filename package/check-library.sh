#!/usr/bin/env bash
# Checks that a model library loads anywhere and lets go of everything: check-library.sh LIBRARY
# Prints each fault and ends with 1 if there is one.
set -euo pipefail
export LC_ALL=C
library=$1
newest=2.17
faults=0

fault() { echo "$library: $1" >&2; faults=1; }

versions=$(readelf -W -V "$library")
dynamic=$(readelf -W -d "$library")
segments=$(readelf -W -l "$library")
symbols=$(readelf -W --dyn-syms "$library")

# Weak needs count: an old loader refuses those as well.
for version in $(sed -n 's/.* Name: \([^ ]*\) .*/\1/p' <<<"$versions" | sort -u); do
    number=${version#GLIBC_}
    [ "$(printf '%s\n' "$number" $newest | sort -V | tail -1)" = $newest ] && [ "$number" != "$version" ] ||
        fault "needs $version: $(sed -n "s/.* \([^ ]*@$version\) .*/\1/p" <<<"$symbols" | tr '\n' ' ')"
done
for needed in $(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic"); do
    case $needed in libc.so.6 | libm.so.6 | ld-linux-x86-64.so.2 | ld-linux-aarch64.so.1) ;; *) fault "depends on $needed" ;; esac
done

exports=$(awk '$7 != "UND" && $5 != "LOCAL" && $1 ~ /^[0-9]+:$/ { print $8 }' <<<"$symbols" | sort | tr '\n' ' ')
[ "$exports" = "AMI_Close AMI_GetWave AMI_Init " ] || fault "exports $exports"

while read -r pattern text; do
    ! grep -qE "$pattern" <<<"$dynamic" || fault "$text"
done <<'END'
\((RPATH|RUNPATH)\) has a search path of its own
\(TEXTREL\) has relocations in its code
NODELETE cannot be unloaded
STATIC_TLS needs static thread-local storage
END
! grep -q ' UNIQUE ' <<<"$symbols" || fault "has unique symbols, which stop it from being unloaded"
! grep -q ' __cxa_thread_atexit' <<<"$symbols" || fault "has thread-local objects with destructors"
! grep -q '^ *TLS ' <<<"$segments" || fault "has thread-local storage"
grep -q '^ *GNU_RELRO ' <<<"$segments" && grep -q 'BIND_NOW' <<<"$dynamic" || fault "is not wholly relocated read-only"
grep -q '^ *GNU_STACK .* RW ' <<<"$segments" || fault "has an executable stack"
grep -q ' __stack_chk_fail' <<<"$symbols" || fault "is built without the stack protector"
exit $faults
