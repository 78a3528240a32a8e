#!/bin/sh
# exports.sh NM LIBRARY HEADER...: checks that a public or protected part of a HEADER declares every
# symbol that LIBRARY exports.  Compiler-generated data of a class (vtable, typeinfo) counts as the
# class.
set -eu
nm=$1 library=$2
shift 2

# All words in the headers, without comments and private parts.
declared=$(sed 's,//.*,,' "$@" |
    awk '/^private:/ { private = 1 } /^(public|protected):|^};/ { private = 0 } !private' |
    grep -oE '[A-Za-z_][A-Za-z0-9_]*|<<' | sort -u)

# Each symbol's bare name, without arguments, template arguments, marks and scopes, followed by the
# symbol itself.  Skips AddressSanitizer's own symbols, the linker's on PA-RISC, musl's start-up code, and
# local ones, which MIPS's table has, too.
exported=$("$nm" -DC --defined-only --extern-only "$library" | sed -E '/ (__odr_asan\.|_GLOBAL_OFFSET_TABLE_$|_init$|_fini$)/d; s/^[0-9a-f]* [A-Za-z] //; h
    s/^(vtable|typeinfo|typeinfo name|guard variable|VTT) for //; s/[[(].*//; s/<[^<].*>//; s/.*:://; s/^operator//; s/^~//
    G; s/\n/\t/')
[ -n "$exported" ] || { echo "exports.sh: $library exports nothing"; exit 1; }

wrong=$({ echo "$declared"; echo "$exported"; } | awk -F'\t' 'NF == 1 { declared[$1] } NF > 1 && !($1 in declared) { print $2 }')
[ -z "$wrong" ] || { printf 'exported, and declared in no public header:\n%s\n' "$wrong"; exit 1; }
echo "all $(echo "$exported" | wc -l) exported symbols are declared in public headers"
