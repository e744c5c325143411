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
# says CODE PATTERN ARGUMENT... : ends with CODE; what it prints, on either stream, is one line that
# matches, or nothing for an empty pattern
says() {
  local code=$1 pattern=$2 got=0 output
  shift 2
  output=$("$rastelo" "$@" 2>&1) || got=$?
  [ "$got" -eq "$code" ] || fail "$*: exit code $got, expected $code: $output"
  [ "$code" -eq 0 ] || [[ $pattern$output != *$'\n'* ]] || [[ $pattern == *$'\n'* ]] ||
    fail "$*: says more than a line: $output"
  [[ $output =~ ^$pattern$ ]] || fail "$*: said '$output', expected '$pattern'"
}
run() { says 0 '' run "$@"; }
size() { says 0 "$2" run --as-is "$1" info; }

run scene.jpg gray rotate=ccw draw=200x100+10-5 screen=screen.bmp save=whole.jpg save-visible=v.jpg
size screen.bmp '200 x 100 pixels, 24 bits a pixel \(colour\)'
size whole.jpg '427 x 641 pixels, 8 bits a pixel \(gray\)'
size v.jpg '200 x 100 pixels, 8 bits a pixel \(gray\)'
run scene.jpg crop=0,0,50,40 save=crop.bmp
run scene.jpg keep=600,400,41,27 crop=600,400,41,27 save=corner.bmp
run scene.jpg crop=600,400,41,27 save=same.bmp
cmp corner.bmp same.bmp || fail "keep does not keep what crop cuts out"
run scene.jpg keep=600,400,41,27 crop=599,399,1,1 save=dark.bmp
[ "$(tail -c 4 dark.bmp | od -An -tu1 | tr -s ' ')" = " 0 0 0 0" ] || fail "keep leaves a pixel beside"
run --as-is sprite.bmp save=again.bmp
cmp sprite.bmp again.bmp || fail "--as-is changes a picture"
run sprite.bmp save=reduced.bmp
[ "$(tail -c +55 reduced.bmp | od -An -v -w3 -tu1 | sort -u | wc -l)" -eq 2 ] || fail "more than two colours"
run scene.jpg stretch=64x48 screen=small.jpg
run scene.jpg gray
says 0 'row from the top.*' run crop.bmp gray crop=0,0,1,1 rows
[ "$("$rastelo" run --trace crop.bmp gray rows 2>&1 >/dev/null | wc -l)" -eq 40 ] || fail "trace lines"
for step in equalize equalize=1; do run crop.bmp "$step"; done
for step in equalize=2 equalize=3 otsu graph-cut ndhm=2; do
  run crop.bmp gray "$step"
  says 1 "rastelo: step '$step': .*put gray before it" run --as-is crop.bmp "$step"
done
run scene.jpg gray save=gray.bmp
says 0 'otsu threshold: [0-9]+'$'\n''graph-cut threshold: [0-9]+' run gray.bmp threshold=otsu threshold=graph-cut
says 0 'otsu threshold: none separates this picture' run gray.bmp ndhm=0 threshold=otsu
says 0 'graph-cut threshold: [0-9]+' run gray.bmp threshold=graph-cut histogram=plot.jpg save=after.bmp
cmp gray.bmp after.bmp || fail "a threshold changes the picture"
says 0 'level.pixels.*' run gray.bmp histogram
[ "$("$rastelo" run gray.bmp histogram | awk '{ s += $2 } END { print NR, s }')" = "257 273707" ] || fail "counts"
says 0 'level.blue.green.red.*' run scene.jpg histogram histogram=colours.bmp
size colours.bmp '760 x 430 pixels, 24 bits a pixel \(colour\)'
run scene.jpg zoom=0.5 save=half.bmp
size half.bmp '321 x 214 pixels.*'
run scene.jpg gray size=10x7 zoom-out=1 save=tiny.bmp
size tiny.bmp '20 x 14 pixels, 8 bits.*'
seq 9 >ramp.txt
for step in sobel template=mean template=ramp.txt push=90,low,high fft; do
  run crop.bmp "$step" save=filtered.bmp
  size filtered.bmp '50 x 40 pixels, 8 bits.*'
done
run gray.bmp invert invert save=after.bmp
cmp gray.bmp after.bmp || fail "two complements differ from none"
says 0 'more than 0.5 of the pixels above level 100' run gray.bmp exceeds=100,0.5
says 0 'no more than 0.9 of the pixels above level 100' run gray.bmp exceeds=100,0.9
says 0 "垂直投影均光的次数为: [0-9]+" run --trace gray.bmp light=2
run gray.bmp crop=0,0,64,64 save=square.bmp fft spectrum=map.bmp ifft spectrum save=again.bmp
run square.bmp fft cut=1e9 ifft spectrum save=back.bmp
cmp again.bmp back.bmp || fail "a cut that drops nothing changes the picture"
for step in cut=5 ifft spectrum spectrum=map.bmp; do
  says 1 "rastelo: step '$step': .*put fft before it" run gray.bmp "$step"
done
says 1 "rastelo: step 'cut=5': .*used .*" run square.bmp fft ifft cut=5
says 1 "rastelo: step 'zoom=1e6': .*too large" run gray.bmp zoom=1e6
says 1 "rastelo: step 'zoom=0.0001': nothing .*" run gray.bmp zoom=0.0001
says 1 "rastelo: step 'template=none.txt': cannot read .*" run gray.bmp template=none.txt
for step in invert light=0; do
  says 1 "rastelo: step '$step': .*put gray before it" run --as-is crop.bmp "$step"
done
says 0 '' sheet sheet.jpg scene.jpg gray.bmp --try 'gray otsu' --try equalize
says 2 'rastelo: .*' sheet sheet.jpg scene.jpg --try 'gray sharpen'
says 2 'rastelo: .*' sheet sheet.png scene.jpg
says 0 'rastelo [0-9.]+' --version
"$rastelo" --help | grep -q -- --as-is || "$rastelo" run --help | grep -q -- --as-is || fail "help"
"$rastelo" steps | grep -q save-visible || fail "steps"

# Mistakes in the call: exit code 2, before anything is opened or written.
says 2 "rastelo: there is no step 'sharpen'.*" run scene.jpg save=no.jpg sharpen
for step in gray=1 rotate rotate=left crop=1,2,3 crop=1,2,3,4,5 crop=0,0,0,1 crop=-1,0,1,1 draw=0x5 \
  draw=5 draw=5x5+1 draw=5x5x stretch=5x5+1+1 stretch=99999x1 save=a.png screen=a save-visible= save= \
  equalize=4 equalize= otsu=1 ndhm ndhm=-1 ndhm=x threshold=mean histogram=a.png \
  zoom=0 zoom=x zoom=inf zoom=nan zoom-out=-1 size=5 size=0x5 push= push=x push=5,mid light=1 \
  exceeds=5 cut=nan spectrum=a.png; do
  says 2 "rastelo: step '${step//+/\\+}': expected .*" run scene.jpg save=no.jpg "$step"
done
says 2 'rastelo: .*' run scene.jpg
says 2 'rastelo: .*' run
says 2 'rastelo: .*'
says 2 'rastelo: .*' walk scene.jpg
[ ! -e no.jpg ] || fail "a wrong call writes"

# What cannot be done: exit code 1 and the reason.
: >empty.bmp
: >empty.jpg
echo "a few words" >text.jpg
head -c 20000 scene.jpg >half.jpg
head -c 14 sprite.bmp >header.bmp
head -c 9000 sprite.bmp >cut.bmp
mkdir folder.jpg
cp scene.jpg .jpg
says 1 "rastelo: cannot open 'none.jpg': No such file or directory" run none.jpg info
says 1 "rastelo: cannot open 'folder.jpg': Is a directory" run folder.jpg info
says 1 "rastelo: cannot open 'scene.png': its name must end in .*" run scene.png info
says 1 "rastelo: cannot open '.jpg': the path is too short .*" run .jpg info
for name in empty.bmp header.bmp cut.bmp; do
  says 1 "rastelo: cannot open '$name': it is not a complete BMP file .*" run "$name" info
done
for name in empty.jpg text.jpg; do
  says 1 "rastelo: cannot open '$name': it is not a JPEG file" run "$name" info
done
says 1 "rastelo: cannot open 'half.jpg': its picture data is damaged.*" run half.jpg info
says 1 "rastelo: step 'rows': .*put gray before it" run scene.jpg rows
says 1 "rastelo: step 'crop=640,0,2,1': .*641 x 427 pixels" run scene.jpg crop=640,0,2,1
says 1 ".*put draw or stretch before it" run scene.jpg screen=no.jpg
says 1 ".*put draw before it" run scene.jpg stretch=5x5 save-visible=no.jpg
says 1 ".*cannot write 'none/a.jpg': No such file or directory" run scene.jpg save=none/a.jpg
says 1 ".*cannot write 'folder.jpg': it is a folder" run scene.jpg save=folder.jpg
ln -s /dev/full full.bmp
ln -s /dev/full full.jpg
says 1 ".*cannot write 'full.bmp': No space left on device" run scene.jpg save=full.bmp
says 1 "Can't write image"$'\n\n'".*cannot write 'full.jpg': No space left on device" run scene.jpg save=full.jpg

# A save that fails keeps the old picture and leaves nothing beside it.
cp scene.jpg kept.bmp
(
  ulimit -f 8
  trap '' XFSZ
  says 1 ".*cannot write 'kept.bmp': File too large" run scene.jpg save=kept.bmp
  exit $failures
) || failures=$((failures + 1))
cmp scene.jpg kept.bmp || fail "a failed save loses the old picture"
[ -z "$(find . -name '.rastelo-*')" ] || fail "something is left behind: $(find . -name '.rastelo-*')"
# Nor does one that is killed, at whatever moment.
run scene.jpg gray save=new.jpg
for delay in $(seq 200); do
  cp scene.jpg killed.jpg
  "$rastelo" run scene.jpg gray save=killed.jpg &
  sleep "0.0$(printf %03d $((delay % 25)))"
  kill -9 $! 2>/dev/null || true
  wait $! 2>/dev/null || true
  cmp -s killed.jpg scene.jpg || cmp -s killed.jpg new.jpg || fail "a killed save loses the picture"
done
rm -f .rastelo-*
chmod 640 kept.bmp
ln -s kept.bmp link.bmp
run scene.jpg save=link.bmp
[ -L link.bmp ] && [ "$(stat -c %a kept.bmp)" = 640 ] || fail "a save through a link"

[ $failures -eq 0 ] && echo "all as expected"
