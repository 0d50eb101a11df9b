#!/usr/bin/env bash
# Checks that a model library for Windows loads anywhere: check-dll.sh LIBRARY
# Prints each fault and ends with 1 if there is one.
set -euo pipefail
export LC_ALL=C
library=$1
faults=0

fault() { echo "$library: $1" >&2; faults=1; }

headers=$(x86_64-w64-mingw32-objdump -p "$library")
sections=$(x86_64-w64-mingw32-objdump -h -w "$library")

grep -q 'file format pei-x86-64' <<<"$headers" || fault "is not for 64-bit x86"
# What every Windows has; ADVAPI32 gives the stack protector its random number.
for needed in $(sed -n 's/.*DLL Name: //p' <<<"$headers"); do
    case ${needed,,} in kernel32.dll | msvcrt.dll | advapi32.dll) ;; *) fault "depends on $needed" ;; esac
done
exports=$(awk '/Ordinal\/Name Pointer. Table/ { names = 1; next } !NF { names = 0 } names { print $NF }' \
    <<<"$headers" | sort | tr '\n' ' ')
[ "$exports" = "AMI_Close AMI_GetWave AMI_Init " ] || fault "exports $exports"
for property in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
    grep -q "$property" <<<"$headers" || fault "lacks $property: it may be loaded where an attacker expects it"
done
grep -q 'Time/Date.*1970' <<<"$headers" || fault "holds the time when it was built"
! grep 'CODE' <<<"$sections" | grep -qv READONLY || fault "has code that can be written to"
exit $faults
