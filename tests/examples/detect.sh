#!/bin/sh
# detect.sh PROGRAM [ARGUMENT]: runs the example `detect` as its users do, in a scratch folder.
set -eu
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

fail() {
    echo "$*" >&2
    exit 1
}

"$@"
for name in corners box_means distance detection; do
    [ -s "out/$name.png" ] || fail "no picture $name.png"
done

# A picture of odd width; one that is missing.
{
    printf 'P5 67 41 255\n'
    seq -f '%010.0f' 1 275 | tr -d '\n' | head -c $((67 * 41))
} >odd.pgm
"$@" --output odd odd.pgm
[ -s odd/distance.png ] || fail "no picture of odd.pgm"

status=0
"$@" missing.pgm 2>reason || status=$?
[ "$status" -eq 2 ] && [ "$(wc -l <reason)" -eq 1 ] || fail "status $status for a missing file"
