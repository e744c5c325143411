#!/usr/bin/env bash
# The command-line host on Windows: it leaves and prints what it does elsewhere, to the byte; and it
# takes names, wildcards, long paths and streams as that system has them.
# tool_test.sh SOURCE RASTELO COMMAND... : RASTELO is the program that runs here, COMMAND runs the one
# for Windows, which sees folders below $TMPDIR.
set -euo pipefail
samples=$(realpath "$1")/samples here=$(realpath -e "$2")
shift 2
windows=("$@")
work=$(mktemp -d)
trap 'code=$?; [ $code -eq 0 ] || cat "$work"/said; rm -rf "$work"' EXIT
cd "$work"
failures=0

fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
# says CODE PATTERN ARGUMENT... : on Windows, ends with CODE and prints what matches, on either stream
says() {
  local code=$1 pattern=$2 got=0 output
  shift 2
  output=$("${windows[@]}" "$@" 2>&1) || got=$?
  [ "$got" -eq "$code" ] && [[ $output =~ $pattern ]] ||
    fail "$*: exit code $got, expected $code; said '$output', expected '$pattern'"
}
bytes() { (cd "$1" && find . -type f ! -name '*.jsonl' -exec cksum {} + | sort -k 3); }

mkdir -p in/sub/папка
cp "$samples"/scene.jpg in/фото-照片-🙂.jpg
cp "$samples"/page.jpg "in/sub/two words.jpg"
cp "$samples"/cells.jpg in/sub/папка/é.JPG
cp "$samples"/scene.jpg .
"$here" run scene.jpg shrink=0.5 save=in/small.png
printf '\xEF\xBB\xBFin/фото-照片-🙂.jpg\r\nin/sub/two words.jpg\r\n' >list.txt
seq 9 >ramp.txt

# What both systems leave and print alike.
leave() { # FOLDER COMMAND...
  mkdir "$1" && cp scene.jpg list.txt ramp.txt "$1" && cp -r in "$1"
  cd "$1" && shift
  "$@" run in/фото-照片-🙂.jpg --trace info gray save=наклон-🙂.png rotate=ccw zoom=1.3 save=turned.jpg >info 2>trace
  "$@" run - gray save=- --to png <scene.jpg >piped.png
  "$@" run - info save=- --to bmp <in/small.png >piped.bmp 2>piped.txt
  "$@" run scene.jpg draw=200x100+10-5 screen=screen.bmp save-visible=visible.jpg
  "$@" run scene.jpg gray light=2 level=otsu histogram histogram=plot.png otsu save=otsu.bmp >printed
  "$@" run in/small.png --json info gray convolve=ramp.txt brightness rows save=ramp.jpg >json
  "$@" run in/small.png gray fft cut=1e5 spectrum=map.png ifft spectrum save=back.png
  "$@" sheet -o sheet.jpg scene.jpg in/small.png --try 'gray otsu' --try edges
  "$@" batch "gray equalize zoom=0.5" -o made in -r -j 2
  "$@" batch gray -o listed --list list.txt --name '{stem}-серый.{ext}' --to png
  "$@" batch gray -o piped --files0-from - --base in < <(printf '%s\0' in/sub/*.jpg)
  for part in 3 1 2; do "$@" batch "gray equalize zoom=0.5" -o parts in -r --shard $part/3; done
  "$@" batch "gray brightness" in -r -j 2 --json >brightness
  "$@" generate reference >reference
} 2>>"$work/said"
(leave linux "$here")
(leave windows "${windows[@]}")
: >said
diff -r -x '*.jsonl' linux windows || fail "the systems differ"
[ "$(bytes windows/made)" = "$(bytes windows/parts)" ] || fail "parts make other bytes"
[ "$(bytes windows/made | wc -l)" -eq 4 ] || fail "made: $(bytes windows/made)"

# The system's own device averages in its own way.
says 0 '^$' run scene.jpg stretch=300x200 screen=small.bmp
says 0 '^300 x 200 pixels, 24 bits' run small.bmp info

# Words with "*" and "?" outside quotes are names, which either separator takes apart.
says 0 '^in.фото-照片-🙂.jpg: 641 x 427.*'$'\n''scene.jpg: 641 x 427[^'$'\n'']*$' info 'in\*.jpg' 'sc?ne.JPG'
says 3 "^rastelo: cannot open 'in/sub/\* \*.jpg'" info 'in/sub/* *.jpg' # quoted, for its blank
says 3 "^rastelo: cannot open 'none\*.jpg'" info 'none*.jpg'
says 3 "^rastelo: cannot write 'a\?b.jpg'" run scene.jpg 'save=a?b.jpg'
says 0 '2 done, 0 failed' batch gray -o based --base in 'in\*.jpg' 'in\sub\*.jpg'
[ "$(cd based && find . -name '*.jpg' | sort | xargs)" = "./sub/two words.jpg ./фото-照片-🙂.jpg" ] ||
  fail "places: $(find based)"

# Paths of any length.
long=$(printf 'папка-%0100d/' 1 2 3)x
says 0 '2 done, 0 failed' batch gray -o "$long" in/small.png scene.jpg
says 0 '0 done, 0 failed, 2 up to date' batch gray -o "$long" in/small.png scene.jpg --resume
says 0 '^641 x 427' info "$long/scene.jpg"

# Names that differ by case are one file; none is replaced unasked.
mkdir cases && cp scene.jpg cases/A.jpg
says 2 "'cases/A.jpg' and 'in/../cases/a.jpg' would both become 'a.jpg'" batch gray -o no cases/A.jpg in/../cases/a.jpg
[ ! -e no ] || fail "a refused batch writes"
says 3 "'SCENE.JPG': it is the picture itself" run scene.jpg gray save=SCENE.JPG
says 3 "'Small.Bmp': it exists already" run scene.jpg save=Small.Bmp
says 2 "is one of the pictures" batch gray -o IN 'in\small.png'
says 2 "'B.png' is written twice" run scene.jpg save=b.png gray save=B.png
says 3 "exists already, and 3 more" batch gray -o windows/made in -r
cmp scene.jpg "$samples"/scene.jpg || fail "the picture is replaced"
says 0 '^$' run -y scene.jpg gray save=SMALL.BMP
[ "$(ls small.bmp SMALL.BMP 2>/dev/null)" = small.bmp ] || fail "a replaced file changes its name"

# Resuming does what is missing, also after the program has been killed.
cd windows
resumed=(batch "gray equalize zoom=0.5" -o made in -r --resume)
says 0 '0 done, 0 failed, 4 up to date' "${resumed[@]}"
rm made/small.png
says 0 '1 done, 0 failed, 3 up to date' "${resumed[@]}"
cd ..
[ "$(bytes linux/made)" = "$(bytes windows/made)" ] || fail "resuming changes bytes"
mkdir many && for i in $(seq 10 49); do cp scene.jpg many/$i.jpg; done
"${windows[@]}" batch "zoom=2 rotate=cw" -o killed many -r 2>/dev/null &
for _ in $(seq 200); do [ -e killed/12.jpg ] || sleep 0.05; done
kill -9 $! && wait $! 2>/dev/null || true
[ ! -e killed/49.jpg ] || fail "nothing is left to resume"
says 0 ' done, 0 failed' batch "zoom=2 rotate=cw" -o killed many -r --resume
[ "$(cat killed/*.jpg | cksum)" = "$(for _ in many/*; do cat killed/10.jpg; done | cksum)" ] &&
  [ -z "$(find killed -name '.rastelo-*')" ] || fail "killed, then resumed: $(ls -A killed)"

# A reader that goes away is no error.
"${windows[@]}" run scene.jpg histogram histogram histogram | head -n 1 >/dev/null
[ "${PIPESTATUS[0]}" -eq 0 ] || fail "a broken pipe"

[ $failures -eq 0 ] && echo "all as expected"
