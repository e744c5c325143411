#!/usr/bin/env bash
# The command-line host: what its steps leave, and what it says when something is wrong.
# tool_test.sh SOURCE RASTELO
set -euo pipefail
samples=$(realpath "$1")/samples rastelo=$(realpath -e "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cp "$samples"/scene.jpg "$samples"/sprite.bmp .
failures=0

fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
# says CODE PATTERN ARGUMENT... : ends with CODE, and what it prints, on either stream, matches, all of
# it; "" is nothing
says() {
  local code=$1 pattern=$2 got=0 output
  shift 2
  output=$("$rastelo" "$@" 2>&1) || got=$?
  [ "$got" -eq "$code" ] || fail "$*: exit code $got, expected $code: $output"
  [[ $output =~ ^$pattern$ ]] || fail "$*: said '$output', expected '$pattern'"
}
run() { says 0 '' run "$@"; }
size() { says 0 "$2, from .*" run "$1" info; }
level() { # FILE NUMBER : the first levels of a BMP file's lowest row
  tail -c +"$(($(od -An -tu4 -j10 -N4 "$1") + 1))" "$1" | od -An -tu1 -N"$2" | xargs
}

# Steps act on the picture as it stands, and leave what they say.
run scene.jpg gray rotate=ccw draw=200x100+10-5 screen=screen.bmp save=whole.jpg save-visible=v.jpg
size screen.bmp '200 x 100 pixels, 24 bits a pixel \(colour\)'
size whole.jpg '427 x 641 pixels, 8 bits a pixel \(gray\)'
size v.jpg '200 x 100 pixels, 8 bits a pixel \(gray\)'
run scene.jpg crop=0,0,50,40 save=crop.bmp
run scene.jpg keep=600,400,41,27 crop=600,400,41,27 save=corner.bmp
run scene.jpg crop=600,400,41,27 save=same.bmp
cmp corner.bmp same.bmp || fail "keep does not keep what crop cuts out"
run scene.jpg keep=600,400,41,27 crop=599,399,1,1 save=dark.bmp
[ "$(level dark.bmp 3)" = "0 0 0" ] || fail "keep leaves a pixel beside"
run sprite.bmp save=again.bmp
cmp sprite.bmp again.bmp || fail "a BMP file changes on its way"
run --key-colour sprite.bmp save=reduced.bmp
[ "$(tail -c +55 reduced.bmp | od -An -v -w3 -tu1 | sort -u | wc -l)" -eq 2 ] || fail "more than two colours"
says 0 'row from the top.*' run crop.bmp gray crop=0,0,1,1 rows
[ "$("$rastelo" run --trace crop.bmp gray rows 2>&1 >/dev/null | wc -l)" -eq 40 ] || fail "trace lines"
run scene.jpg gray save=gray.bmp
says 0 'otsu level: [0-9]+'$'\n''graph-cut level: [0-9]+' run gray.bmp level=otsu level=graph-cut
says 0 'otsu level: none separates this picture' run gray.bmp ndhm=0 level=otsu
says 0 'graph-cut level: [0-9]+' run gray.bmp level=graph-cut histogram=plot.png save=after.bmp
cmp gray.bmp after.bmp || fail "a search for a level changes the picture"
[ "$("$rastelo" run gray.bmp histogram | awk '{ s += $2 } END { print NR, s }')" = "257 273707" ] || fail "counts"
says 0 'level.blue.green.red.*' run scene.jpg histogram histogram=colours.bmp
size colours.bmp '760 x 430 pixels, 24 bits a pixel \(colour\)'
seq 9 >ramp.txt
for step in sobel edges template=mean template=ramp.txt convolve=ramp.txt push=90,low,high fft; do
  run crop.bmp gray "$step" save=filtered.bmp -y
  size filtered.bmp '50 x 40 pixels, 8 bits.*'
done
says 0 'more than 0.5 of the pixels above level 100' run gray.bmp exceeds=100,0.5
says 0 'no more than 0.9 of the pixels above level 100' run gray.bmp exceeds=100,0.9
says 0 "垂直投影均光的次数为: [0-9]+" run --trace gray.bmp light=2 save=even.bmp
run gray.bmp crop=0,0,64,64 save=square.bmp fft spectrum=map.bmp ifft spectrum save=back1.bmp
run square.bmp fft cut=1e9 ifft spectrum save=back2.bmp
cmp back1.bmp back2.bmp || fail "a cut that drops nothing changes the picture"
says 1 "rastelo: step 'cut=5': .*used .*" run square.bmp fft ifft cut=5 save=no.bmp

# Streams, formats and JSON.
"$rastelo" run - gray save=- --to png <scene.jpg >piped.png
"$rastelo" run scene.jpg gray save=direct.png
cmp piped.png direct.png || fail "standard streams change the picture"
says 0 '640 x .*' run - info < <("$rastelo" run scene.jpg size=640x400 info save=- --to bmp 2>/dev/null)
{ script -qec "NO_COLOR=1 '$rastelo' run scene.jpg save=- --to jpg" /dev/null || true; } | tr -d '\r' |
  grep -qx 'rastelo: a picture is not written to a terminal; redirect the output' ||
  fail "a picture goes to a terminal"
"$rastelo" run gray.bmp --json info brightness level=otsu | python3 -c '
import json, sys
lines = [json.loads(line) for line in sys.stdin]
assert [line["step"] for line in lines] == ["info", "brightness", "level"], lines
assert lines[0]["width"] == 641 and 0 < lines[1]["mean"] < 255 and lines[2]["search"] == "otsu"' || fail "JSON"
for name in a.jpg b.jpeg c.JPG d.bmp e.PNG; do
  run scene.jpg save="$name"
  says 0 '641 x 427 pixels.*' run "$name" info
done
cp direct.png named.jpg
says 0 '.*from PNG.*' run named.jpg info
[ "$(stat -c %s a.jpg)" -gt "$("$rastelo" run scene.jpg save=-,quality=20 --to jpg | wc -c)" ] || fail "quality"
touch -d '2001-02-03 04:05:06' old.jpg -r scene.jpg
cp scene.jpg old.jpg && touch -d '2001-02-03 04:05:06' old.jpg
run old.jpg gray save=older.jpg --preserve-time
[ "$(stat -c %Y older.jpg)" = "$(stat -c %Y old.jpg)" ] || fail "the time is not kept"

# Nothing is overwritten unasked; a save that fails keeps the old picture and leaves nothing beside it.
says 3 "rastelo: cannot write 'gray.bmp': it exists already; --overwrite .*" run scene.jpg save=gray.bmp
run -y scene.jpg save=gray.bmp
says 3 "rastelo: cannot write './scene.jpg': it is the picture itself; --overwrite .*" run scene.jpg gray save=./scene.jpg
mkdir folder.jpg
says 3 ".*cannot write 'folder.jpg': it is a folder" run -y scene.jpg save=folder.jpg
says 3 ".*cannot write 'none/a.jpg': No such file or directory" run scene.jpg save=none/a.jpg
for name in full.bmp full.jpg; do
  ln -s /dev/full $name
  says 3 ".*cannot write '$name': No space left on device" run scene.jpg save=$name
done
cp scene.jpg kept.bmp
(
  ulimit -f 8
  trap '' XFSZ
  says 3 ".*cannot write 'kept.bmp': File too large" run -y scene.jpg save=kept.bmp
  exit $failures
) || failures=$((failures + 1))
cmp scene.jpg kept.bmp || fail "a failed save loses the old picture"
[ -z "$(find . -name '.rastelo-*')" ] || fail "something is left behind: $(find . -name '.rastelo-*')"
run scene.jpg gray save=new.jpg
for delay in $(seq 100); do
  cp scene.jpg killed.jpg
  "$rastelo" run -y scene.jpg gray save=killed.jpg &
  sleep "0.0$(printf %03d $((delay % 25)))"
  kill -9 $! 2>/dev/null || true
  wait $! 2>/dev/null || true
  cmp -s killed.jpg scene.jpg || cmp -s killed.jpg new.jpg || fail "a killed save loses the picture"
done
rm -f .rastelo-*
chmod 640 kept.bmp
ln -s kept.bmp link.bmp
run -y scene.jpg save=link.bmp
[ -L link.bmp ] && [ "$(stat -c %a kept.bmp)" = 640 ] || fail "a save through a link"

# Sheets: each picture once, and small.
says 0 '' sheet -o sheet.jpg scene.jpg gray.bmp --try 'gray otsu' --try equalize
says 3 ".*'scene.jpg'.*" sheet -o scene.jpg scene.jpg
says 0 '' sheet -y -o sheet.png scene.jpg

# What cannot be opened is told with its cause, and a sheet does without it.
: >empty.jpg
says 1 "rastelo: cannot open 'empty.jpg': .*" sheet -o rest.png empty.jpg scene.jpg --tile 60x40
size rest.png '80 x 78 pixels, .*'
says 1 "rastelo: 'scene.jpg': step 'otsu': it needs a gray picture.*" sheet -o no.png scene.jpg --try otsu
says 3 "rastelo: cannot open 'empty.jpg': .*" sheet -o no.png empty.jpg
# shellcheck disable=SC2046
says 2 "rastelo: --output: 'no.jpg' would be 244 x 78410 pixels.*" sheet -o no.jpg $(yes scene.jpg | head -n 400)
[ ! -e no.png ] && [ ! -e no.jpg ] || fail "a sheet of nothing"
echo "a few words" >text.jpg
head -c 20000 scene.jpg >half.jpg
head -c 9000 sprite.bmp >cut.bmp
says 3 "rastelo: cannot open 'none.jpg': No such file or directory" run none.jpg info
says 3 "rastelo: cannot open 'folder.jpg': it is a folder" run folder.jpg info
for name in empty.jpg text.jpg half.jpg cut.bmp; do
  says 3 "rastelo: cannot open '$name': .*(empty|not a picture|cut off).*" run "$name" info
done
printf 'x' >$'bad\e[31mname\xff.jpg'
says 3 'rastelo: cannot open '"'"'bad\\x1B\[31mname\\xFF.jpg'"'"': .*' run $'bad\e[31mname\xff.jpg' info
says 0 'rastelo [0-9.]+' --version

# A reader that goes away is no error; a signal ends the program as it ends others.
"$rastelo" run scene.jpg histogram histogram histogram | head -n 1 >/dev/null
[ "${PIPESTATUS[0]}" -eq 0 ] || fail "a broken pipe"
mkfifo pipe
"$rastelo" run - info <pipe >/dev/null 2>&1 &
exec 9>pipe
sleep 0.2 && kill -INT $! 2>/dev/null || true
kill -TERM $! && wait $! && fail "a signal does not end it" || [ $? -gt 128 ] || fail "not by the signal: $?"
exec 9>&-

[ $failures -eq 0 ] && echo "all as expected"
