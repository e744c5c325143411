#!/usr/bin/env bash
# Batches: where their files go, what is refused, what they say, and that they resume from whatever
# ends them to the bytes that they would have made at once.
# batch_test.sh SOURCE RASTELO
set -euo pipefail
samples=$(realpath "$1")/samples rastelo=$(realpath -e "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
failures=0

fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
says() { # CODE PATTERN ARGUMENT... : of rastelo batch
  local code=$1 pattern=$2 got=0 output
  shift 2
  output=$("$rastelo" batch "$@" 2>&1) || got=$?
  [ "$got" -eq "$code" ] || fail "batch $*: exit code $got, expected $code: $output"
  [[ $output =~ $pattern ]] || fail "batch $*: said '$output', expected '$pattern'"
}
files() { (cd "$1" && find . -type f ! -name '*.jsonl' | sort | xargs); }
bytes() { (cd "$1" && find . -type f ! -name '*.jsonl' -exec cksum {} + | sort -k 3); }

mkdir -p in/sub/deep in/other
cp "$samples"/{scene,page,cells}.jpg in
cp "$samples"/page.jpg in/sub/a.jpg
cp "$samples"/cells.jpg in/sub/deep/b.jpg
"$rastelo" run in/scene.jpg shrink=0.5 save=in/other/small.png
echo "no picture" >in/notes.txt
ln -s .. in/sub/loop

# Places and names.
says 0 '6 done, 0 failed' "gray clean-page" -o tree in --recursive
[ "$(files tree)" = "./cells.jpg ./other/small.png ./page.jpg ./scene.jpg ./sub/a.jpg ./sub/deep/b.jpg" ] ||
  fail "the tree: $(files tree)"
says 0 '2 done' gray -o named in/scene.jpg in/sub/a.jpg --name '{stem}-gray.{ext}' --to png
[ "$(files named)" = "./a-gray.png ./scene-gray.png" ] || fail "names: $(files named)"
says 0 '2 done' gray -o based ./in/scene.jpg in//other/../sub/a.jpg --base in/.
says 2 "is not in 'in/sub'" gray -o no in/sub/../page.jpg --base in/sub
[ "$(files based)" = "./scene.jpg ./sub/a.jpg" ] || fail "places: $(files based)"
printf '\xEF\xBB\xBFin/scene.jpg\r\n\nin/sub/a.jpg\n' >list.txt
says 0 '2 done' gray -o listed --list list.txt
printf 'in/scene.jpg\0in/sub/a.jpg\0' | says 0 '2 done' gray -o zeros --files0-from -
cmp <(bytes listed) <(bytes zeros) || fail "lists"
odd=$'in/o d\nd \xff.jpg'
cp in/page.jpg "$odd"
printf '%s\0' "$odd" | says 0 '1 done' gray -o odd --files0-from -
[ -e odd/$'o d\nd \xff.jpg' ] || fail "a name of any bytes"
rm "$odd"

# What is refused before work starts leaves nothing.
for refused in "in/page.jpg in/sub/page.jpg" "in/page.jpg in/page.jpg"; do
  cp in/page.jpg in/sub/page.jpg
  # shellcheck disable=SC2086
  says 2 "would both become 'page.jpg'" gray -o no $refused
done
rm in/sub/page.jpg
says 2 "is one of the pictures" gray -o in in/page.jpg
says 3 "'tree/page.jpg' exists already; --resume" gray -o tree in/page.jpg
says 3 "exists already, and 5 more" gray -o tree in -r
[ ! -e no ] || fail "a refused batch writes"

# A picture that fails is told and the others go on; where all fail, the end says so too.
echo damaged >in/bad.jpg
mkfifo in/pipe.jpg
says 1 "cannot open 'in/bad.jpg'.*6 done, 2 failed" gray -o some in -r
says 3 "0 done, 2 failed" gray -o none in/bad.jpg in/pipe.jpg
says 1 "it needs a gray picture.*0 done, 1 failed" otsu -o none in/scene.jpg
rm in/bad.jpg in/pipe.jpg
says 3 "0 done, 1 failed" gray -o gone in/vanished.jpg
ln -s loop.jpg loop.jpg
says 1 "cannot open 'loop.jpg': Too many levels.*1 done, 1 failed" gray -o loops in/page.jpg loop.jpg
printf 'in/page.jpg\0in/scene.jpg\0' | says 2 "zero bytes.*--files0-from" gray -o no --list -
says 3 "cannot read 'none.txt'" convolve=none.txt -o no in/page.jpg
[ ! -e no ] || fail "a batch without its template makes a folder"
mkdir nolog
ln -s /dev/full nolog/rastelo-batch-1-of-1.jsonl
says 3 "cannot write 'nolog/rastelo.*': No space left" gray -o nolog -j 1 -r in
mkdir locked full
ln -s /dev/full full/page.jpg
says 3 "cannot write 'full/page.jpg': No space left" -y gray -o full in/page.jpg
if [ "$(id -u)" -ne 0 ]; then
  chmod 500 locked && says 3 "Permission denied" gray -o locked in/page.jpg
fi

# Notes and complaints stand on lines of their own, beside the bar.
python3 -c '
import struct, sys, zlib
chunk = lambda name, data: struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))
header = struct.pack(">IIBBBBB", 1, 1, 8, 6, 0, 0, 0)
sys.stdout.buffer.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
                        chunk(b"IDAT", zlib.compress(bytes(5))) + chunk(b"IEND", b""))' >in/z.png
script -qec "stty cols 30; '$rastelo' batch 'zoom=4' -o bars in -r -j 1" /dev/null | tr '\r' '\n' >bars.txt
! grep -q '[0-9] left.*rastelo' bars.txt || fail "a note behind the bar: $(cat bars.txt)"
grep -q '^rastelo: transparency' <(sed 's/\x1B\[K//g' bars.txt) || fail "no note: $(cat bars.txt)"
rm in/z.png

# What pictures print comes in their order, whatever the jobs; no folder is needed for it.
for jobs in 1 4; do "$rastelo" batch "gray brightness" --json -j $jobs -r in 2>/dev/null >order-$jobs.txt; done
cmp order-1.txt order-4.txt || fail "the order of prints"
[ "$(wc -l <order-1.txt)" -eq 6 ] || fail "prints: $(cat order-1.txt)"
says 0 '"total":6,"done":6,"failed":0,"skipped":0' gray -o json in -r --progress json

# The same bytes by any number of jobs and parts, which are of one mind about who does what.
for jobs in 1 3; do says 0 '6 done' "gray equalize zoom=0.5" -o jobs-$jobs in -r -j $jobs; done
for part in 3 1 2; do "$rastelo" batch "gray equalize zoom=0.5" -o parts in -r --shard $part/3 2>/dev/null; done
"$rastelo" batch gray -o begun in -r --shard 1/3 2>/dev/null
[[ $("$rastelo" batch --status begun) =~ ^([0-9])\ done.*\ ([0-9])\ not\ begun$ ]] &&
  [ $((BASH_REMATCH[1] + BASH_REMATCH[2])) -eq 6 ] || fail "the status of a part: $("$rastelo" batch --status begun)"
cmp <(bytes jobs-1) <(bytes jobs-3) || fail "jobs change bytes"
cmp <(bytes jobs-1) <(bytes parts) || fail "parts change bytes"
says 0 '6 done, 0 failed, 0 cut off at work, 0 not begun' --status parts

# Resuming does what is missing, older than its picture or steps, and keeps what others have made.
says 0 '0 done, 0 failed, 6 up to date' "gray equalize zoom=0.5" -o parts in -r --resume
rm parts/sub/a.jpg
touch in/page.jpg
says 0 '2 done, 0 failed, 4 up to date' "gray equalize zoom=0.5" -o parts in -r --resume
cmp <(bytes jobs-1) <(bytes parts) || fail "resuming changes bytes"
says 0 '6 done' "gray zoom=0.5" -o parts in -r --resume
cp in/cells.jpg parts/scene.jpg
says 1 "'parts/scene.jpg': it exists already.*0 done, 1 failed, 5 up to date" "gray zoom=0.5" -o parts in -r --resume
cmp in/cells.jpg parts/scene.jpg || fail "somebody's own file is lost"
seq 9 >kernel.txt
says 0 '6 done' "convolve=kernel.txt" -o kernel in -r
says 0 '6 up to date' "convolve=kernel.txt" -o kernel in -r --resume
seq 2 10 >kernel.txt
says 0 '6 done' "convolve=kernel.txt" -o kernel in -r --resume

# Pictures written over themselves are not worked on twice, wherever a batch was killed.
mkdir once again
cp in/{scene,page,cells}.jpg once
for i in $(seq 40); do cp in/page.jpg once/$i.jpg; done
cp once/* again
"$rastelo" batch "rotate=cw shrink=0.5" -y -o once -r once 2>/dev/null
says 0 '0 done, 0 failed, 43 up to date' "rotate=cw shrink=0.5" -y -o once -r once --resume
for delay in 02 04 06 08 10; do
  (timeout -s KILL 0.$delay "$rastelo" batch "rotate=cw shrink=0.5" -y -o again -r again --resume || true) 2>/dev/null
done
says 0 '43 done|up to date' "rotate=cw shrink=0.5" -y -o again -r again --resume
rm -f again/.rastelo-*
cmp <(bytes once) <(bytes again) || fail "a picture is worked on twice"

# Killed at any moment, and resumed, a batch makes the same bytes, and no half file has a final name.
steps="gray equalize=1 zoom=1.5 rotate=cw"
"$rastelo" batch "$steps" -o whole in -r 2>/dev/null
for try in $(seq 200); do
  [ $((try % 8)) -ne 1 ] || rm -rf killed
  "$rastelo" batch "$steps" -o killed in -r --resume -j 2 >/dev/null 2>&1 &
  sleep "0.0$(printf %03d $((RANDOM % 60)))"
  kill -9 $! 2>/dev/null || true
  wait $! 2>/dev/null || true
  [ -d killed ] || continue
  while read -r sum size name; do
    [[ $name == */.rastelo-* ]] || grep -qF "$sum $size $name" <(bytes whole) || fail "half a file: $name"
  done < <(bytes killed)
  [ $((try % 8)) -ne 0 ] || "$rastelo" batch "$steps" -o killed in -r --resume 2>/dev/null || fail "resuming"
  [ $((try % 8)) -ne 0 ] || cmp <(bytes whole) <(bytes killed) || fail "a resumed batch differs"
done

# A reader that goes away ends the work, too.
mkdir many
for i in $(seq 300); do ln -s ../in/page.jpg many/$i.jpg; done
"$rastelo" batch "gray histogram" -o heads many -r -j 1 2>/dev/null | head -n 1 >/dev/null
[ "$(find heads -name '*.jpg' | wc -l)" -lt 300 ] || fail "a batch without a reader goes on"

# A first signal ends the work after the pictures at hand, by that signal.
for signal in INT TERM; do
  rm -rf stopped
  set -m
  "$rastelo" batch "$steps" -o stopped many -r -j 2 2>stopped.txt &
  set +m
  sleep 0.3 && kill -$signal $!
  got=0 && wait $! || got=$?
  [ "$got" -eq $((128 + $(kill -l $signal))) ] || fail "$signal: exit code $got"
  grep -q 'done, 0 failed, [0-9]* not begun' stopped.txt || fail "$signal: $(cat stopped.txt)"
  [ -z "$(find stopped -name '.rastelo-*')" ] || fail "$signal leaves $(find stopped -name '.rastelo-*')"
done
"$rastelo" batch "$steps" -o busy many -r -j 1 2>/dev/null &
sleep 0.2
says 3 "another run is writing it" "$steps" -o busy many -r --resume
kill -9 $! && wait $! 2>/dev/null || true

[ $failures -eq 0 ] && echo "all as expected"
