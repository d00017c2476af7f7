#!/bin/sh
# The API reference is complete: doxygen warned about nothing, every public
# name has a man page of its own, and installed pages open by name.
#
#   docs/check.sh DOCS_BUILD_DIR LIBRARY [INSTALL_PREFIX [WIRE_TOOL]]
#
# DOCS_BUILD_DIR is the build's docs/ folder; with INSTALL_PREFIX, the pages
# installed there are read with man(1) as well, and with WIRE_TOOL, its
# installed man(1) page must say every line of its --help.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
out=$1
lib=$2
prefix=${3:-}
tool=${4:-}
fail=0

# Every warning fails, but one kind: the members of the record types, named
# after their wire tags (v3, s4...), carry no text of their own; records.h and
# each family's page state the naming rule once.
log=$out/warnings.log
[ -f "$log" ] || { echo "FAIL: no $log (was the docs target built?)"; exit 1; }
warnings=$(grep -v -E '/include/intfVelmor/(radio|config|station)\.h:[0-9]+: warning: Member [A-Za-z0-9_]+(\[[A-Z0-9_]+\])? \(variable\) of struct [A-Za-z0-9_]+ is not documented\.$' "$log" || true)
if [ -n "$warnings" ]; then
    echo "$warnings"
    echo "FAIL: $(echo "$warnings" | wc -l) doxygen warnings"
    fail=1
else
    echo "ok: no doxygen warning, past the $(grep -c "warning:" "$log") on record members named by their wire tags"
fi

# Every export of the library, and every macro and type name of the public
# headers, opens a page: its own link page or its struct's page.
man3=$out/man/man3
names=$( (nm -D --defined-only "$lib" | awk '$2 != "A" {print $3}' | sed 's/@.*//'
          cat "$root"/include/intfVelmor.h "$root"/include/intfVelmor/*.h "$root"/host/tolkHost.h |
            sed -n -e 's/^#define \([A-Za-z_][A-Za-z0-9_]*\).*/\1/p' \
                   -e 's/^} \([A-Za-z_][A-Za-z0-9_]*\);$/\1/p' \
                   -e 's/^typedef [^(]*(\*\([A-Za-z0-9_]*\)).*/\1/p') |
        grep -v -E '^(INTFVELMOR|TOLK)(_[A-Z]+)?_H$' | sort -u)
missing=0
for n in $names; do
    if [ ! -f "$man3/$n.3" ]; then
        echo "no man page: $n"
        missing=$((missing + 1))
    elif head -n 1 "$man3/$n.3" | grep -q '^\.so '; then
        target=$(sed -n 's/^\.so //p' "$man3/$n.3")
        [ -f "$out/man/$target" ] || { echo "$n.3 links to a missing $target"; missing=$((missing + 1)); }
    fi
done
count=$(echo "$names" | wc -l)
if [ "$missing" = 0 ]; then
    echo "ok: $count public names, each with a man page"
else
    echo "FAIL: $missing of $count public names without a man page"
    fail=1
fi

# Installed: the pages open by name through man(1), on the family's page.
if [ -n "$prefix" ]; then
    for pair in intfVelmor_ccaStats_serialize:intfVelmor_rec_ccaStats \
                intfVelmor_sendReq_getCCAStatistic:intfVelmor_cmd_getCCAStatistic \
                intfVelmor:intfVelmor; do
        n=${pair%%:*} page=${pair#*:}
        text=$(MANPAGER=cat MANWIDTH=200 man -M "$prefix/share/man" 3 "$n" 2>&1 || true)
        if printf '%s\n' "$text" | head -n 1 | grep -q "^$page(3)" &&
           printf '%s\n' "$text" | grep -q "$n"; then
            echo "ok: man 3 $n opens $page(3)"
        else
            printf '%s\n' "$text" | head -n 5
            echo "FAIL: man -M $prefix/share/man 3 $n does not open $page(3)"
            fail=1
        fi
    done
    # The page's agreement with --help is the wire tool's own test; here it
    # must be installed where man(1) finds it.
    if [ -n "$tool" ]; then
        page=$(LC_ALL=C MANPAGER=cat man -M "$prefix/share/man" 1 intfvelmor-wire 2>&1 || true)
        if printf '%s\n' "$page" | grep -qF 'INTFVELMOR-WIRE(1)'; then
            echo "ok: man 1 intfvelmor-wire opens the tool's page"
        else
            echo "FAIL: man -M $prefix/share/man 1 intfvelmor-wire does not open the tool's page"
            fail=1
        fi
    fi
    [ -f "$prefix/share/doc/IntfVelmor/html/index.html" ] ||
        { echo "FAIL: no HTML reference under $prefix/share/doc/IntfVelmor/html"; fail=1; }
fi
exit $fail
