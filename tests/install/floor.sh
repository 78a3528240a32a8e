#!/bin/sh
# floor.sh READELF LIBRARY VERSION...: checks that LIBRARY needs no symbol version newer than these,
# one for each family, so that a system whose C and C++ libraries provide them can load it.
set -eu
readelf=$1 library=$2
shift 2

needed=$("$readelf" -WV "$library" | sed -n '/^Version needs/,$s/.*Name: \([A-Z_]*_[0-9.]*\) .*/\1/p' | sort -Vu)
echo "$needed" | grep -q GLIBC_ || { echo "floor.sh: $library needs nothing of libc?"; exit 1; }

too_new=$(for version in $needed; do
    family=${version%_*}
    for floor; do
        [ "${floor%_*}" != "$family" ] || break
        floor=
    done
    newest=$(printf '%s\n%s\n' "$version" "${floor:-${family}_0}" | sort -V | tail -n 1)
    [ "$newest" = "${floor:-none}" ] || echo "$version"
done)
if [ -n "$too_new" ]; then
    echo "$library needs more than $*:"
    for version in $too_new; do "$readelf" -W --dyn-syms "$library" | grep -F "@$version (" || echo "$version"; done
    exit 1
fi
echo "newest needed:" $(for floor; do echo "$needed" | grep "^${floor%_*}_[0-9]" | tail -n 1; done)
