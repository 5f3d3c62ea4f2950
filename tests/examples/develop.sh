#!/bin/sh
# develop.sh PROGRAM [ARGUMENT]: runs the example `develop` as its users do, in a scratch folder.
set -eu
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

fail() {
    echo "$*" >&2
    exit 1
}

# expect_refusal PROGRAM...: status 2 and one line on standard error.
expect_refusal() {
    status=0
    "$@" >answer 2>reason || status=$?
    [ "$status" -eq 2 ] || fail "status $status: $*"
    [ "$(wc -l <reason)" -eq 1 ] || fail "not one line: $* says $(cat reason)"
}

# Every decoder has its picture, and a finer decoder comes closer to the scene.
"$@" >table
cat table
for name in scene downsample_2x nearest simple edge_sense gradient adaptive kimmel sheet; do
    [ -s "out/$name.png" ] || fail "no picture $name.png"
done
cpsnr() {
    awk -v name="$1" '$1 == name { print int($4 * 100) }' table
}
worse=0
for name in BAYER_DECODING_NEAREST BAYER_DECODING_SIMPLE BAYER_DECODING_EDGE_SENSE BAYER_DECODING_ADAPTIVE; do
    [ "$(cpsnr $name)" -gt "$worse" ] || fail "$name is not better than the decoder before it"
    worse=$(cpsnr $name)
done

"$@" --help | grep -q -e --pattern || fail "no help"

# Frames of both depths, with a comment in the header, at their own size and another one.
printf 'P5\n# a comment\n4 2\n255\nabcdefgh' >bytes.pgm
printf 'P5 2 2 4095\n\017\377\017\377\017\377\017\377' >words.pgm
"$@" --pattern RGGB --decoder BAYER_DECODING_EDGE_SENSE --output bytes.png bytes.pgm
"$@" --pattern GRBG --max 4000 --size 6x5 --output words.png words.pgm
[ -s bytes.png ] && [ -s words.png ] || fail "no picture of a frame"

# The same samples in every kind of file give the same picture.
same_picture() {
    "$@" --pattern GBRG --max 15 --output same.png || fail "$*"
    cmp same.png expected.png || fail "another picture: $*"
}
printf 'P5 4 2 1023\n\0\001\0\006\0\013\0\011\0\016\0\003\0\004\0\017' >ten.pgm
"$@" --pattern GBRG --max 15 --output expected.png ten.pgm
printf '\001\006\013\011\016\003\004\017' >eight.raw
printf '\001\0\006\0\013\0\011\0--\016\0\003\0\004\0\017\0' >words.raw
printf '\0\001\002\002\171--\003\0\001\003\316' >packed10.raw
printf '\0\0\141\0\0\233\0\0\076\0\0\364' >packed12.raw
echo "iVBORw0KGgoAAAANSUhEUgAAAAQAAAACEAAAAAAKU/78AAAABGdBTUEAALGPC/xhBQAAABpJREFUeNpjYGBkYGPgZuBkYOBjYGZgYeAHAAHgAEAhkkuqAAAAAElFTkSuQmCC" |
    base64 -d >grey.png
same_picture "$@" --raw 4x2 eight.raw
same_picture "$@" --raw 4x2 --depth 12 --stride 10 words.raw
same_picture "$@" --raw 4x2 --depth RAW10 --stride 7 packed10.raw
same_picture "$@" --raw 4x2 --depth RAW12 packed12.raw
same_picture "$@" grey.png

# A colour picture is the truth; several frames, of which one is bad, are developed all the same.
"$@" --pattern GRBG --size 64x48 --output truth.png bytes.pgm
"$@" --all truth truth.png | grep -q '^kimmel .*[0-9]\.[0-9][0-9]   truth/kimmel.png' || fail "no CPSNR"
"$@" --pattern GRBG --all words words.pgm
[ -s truth/sheet.png ] && [ -s words/sheet.png ] || fail "no sheet"
head -c 60 truth.png >short.png
expect_refusal "$@" --pattern RGGB --output several bytes.pgm short.png words.pgm
grep -q '^\[3/3\] words.pgm' answer && [ -s several/bytes.png ] && [ -s several/words.png ] || fail "frames are missing"

printf 'P5 4 2 255\nabc' >short.pgm
printf 'P6 1 1 255\nabc' >colour.pgm
printf 'P5 99999999999 2 255\nabc' >huge.pgm
expect_refusal "$@" --pattern RGGB missing.pgm
expect_refusal "$@" --pattern RGGB short.pgm
expect_refusal "$@" --pattern RGGB colour.pgm
expect_refusal "$@" --pattern RGGB huge.pgm
expect_refusal "$@" bytes.pgm
expect_refusal "$@" --pattern RGBG bytes.pgm
expect_refusal "$@" --pattern RGGB --decoder SIMPLEST bytes.pgm
expect_refusal "$@" --pattern RGGB --output bytes.png bytes.png
expect_refusal "$@" --pattern RGGB --raw 4x3 --depth RAW10 packed10.raw
expect_refusal "$@" --pattern RGGB --depth 11 bytes.pgm
expect_refusal "$@" --pattern RGGB --size 6 bytes.pgm
expect_refusal "$@" --pattern RGGB --max 12x bytes.pgm
expect_refusal "$@" --pattern RGGB --output no/such/folder.png bytes.pgm
expect_refusal "$@" --pattern
expect_refusal "$@" --patterns
