#!/bin/sh
# Compares the libraries that the installed programs link with the table of docs/libraries.md.
# libraries_test.sh INSTALLED-FOLDER DOCUMENT
set -eu
installed=$1 document=$2
status=0

linked() { # the libraries of a program, without those that every program links
    readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
        grep -v -E '^(lib(a|t|ub|l)san|libstdc\+\+|libgcc_s|libc|libm|ld-linux[^.]*)\.so' | sort | tr '\n' ' '
}
named() { # those of the table
    sed -n "s/^| \`$1\` |//p" "$document" | grep -o 'lib[^ `|]*\.so[.0-9]*' | sort | tr '\n' ' '
}

for name in quillmoor-rights-helper ditto version-check VersionCheck.so installer-host; do
    programs=$(find "$installed" -type f -name "$name")
    [ -n "$programs" ] || { echo "$name is not installed"; status=1; }
    for program in $programs; do
        [ "$(linked "$program")" = "$(named "$name")" ] || {
            echo "$program links $(linked "$program"), the document names $(named "$name")"
            status=1
        }
    done
done
exit $status
