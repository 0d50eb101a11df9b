#!/usr/bin/env bash
# Holds every #include to scripts/layers.txt, and names those that run back up.
set -euo pipefail
cd "$(dirname "$0")/.."
find ami base blocks host ibis mathematics python receiver runtime touchstone -name node_modules -prune -o -name '*.[ch]pp' -print0 |
    xargs -0 grep -Hno '^#include "[^"]*/[^"/]*"' |
    awk -F: '
        # The longest listed folder that a path lies in.
        function layer(path) {
            while (sub(/\/[^\/]*$/, "", path)) if (path in listed) return path
            return ""
        }
        FNR == NR {
            if ($0 ~ /^#/ || !NF) next
            listed[$1]
            n = split($2, names, " ")
            for (i = 1; i <= n; i++) {
                if (!(names[i] in listed)) { print "layers.txt: " names[i] " comes after " $1; bad = 1 }
                may[$1, names[i]]
            }
            next
        }
        {
            split($3, quoted, "\"")
            from = layer($1); to = layer(quoted[2])
            if (from == "" || to == "") { print $1 ":" $2 ": " quoted[2] ": no layer is known"; bad = 1 }
            else if (from != to && !((from, to) in may)) {
                print $1 ":" $2 ": " from " may not include " to ": " quoted[2]; bad = 1
            }
        }
        END { exit bad }
    ' scripts/layers.txt -
