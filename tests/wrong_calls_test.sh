#!/usr/bin/env bash
# Every wrong call of wrong_calls.txt ends with its exit code, says one line, or a line and the help of
# the step, that names the wrong word, and writes nothing.
# wrong_calls_test.sh SOURCE COMMAND...: COMMAND runs the tool.
set -euo pipefail
source=$(realpath "$1") && shift
tool=("$@")
[[ ${tool[0]} != */* ]] || tool[0]=$(realpath -e "${tool[0]}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cp "$source"/samples/{scene.jpg,sprite.bmp} .
cp scene.jpg taken.jpg
mkdir folder && cp scene.jpg folder
cp "$source"/tests/pictures/page.tif .
echo 1 2 3 4 >numbers.txt
"${tool[@]}" run scene.jpg gray save=gray.bmp
before=$(find . -type f -exec cksum {} + | sort)
calls=0 failures=0

while IFS= read -r line; do
  [[ $line == [0-9]* ]] || continue
  calls=$((calls + 1)) got=0
  code=${line%% *} rest=${line#* }
  eval "set -- $rest"
  word=$1 && shift
  said=$("${tool[@]}" "$@" 2>&1 >/dev/null </dev/null | tr -d '\r') || got=${PIPESTATUS[0]}
  got=0
  "${tool[@]}" "$@" >/dev/null 2>&1 </dev/null || got=$?
  first=${said%%$'\n'*}
  if [ "$got" != "$code" ] || [[ ! $first =~ $word && $first != *"$word"* ]] ||
    { [ "$first" != "$said" ] && [[ $first != *missing* && $first != *nothing\ follows* ]]; }; then
    echo "FAILED: rastelo $*: exit code $got, expected $code; said: $said"
    failures=$((failures + 1))
  fi
done <"$source/tests/wrong_calls.txt"

rm -rf out
[ "$before" = "$(find . -type f -exec cksum {} + | sort)" ] || { echo "FAILED: something was written" && failures=$((failures + 1)); }
[ "$calls" -ge 100 ] || { echo "FAILED: only $calls calls" && failures=$((failures + 1)); }
[ $failures -eq 0 ] && echo "$calls wrong calls, all told"
