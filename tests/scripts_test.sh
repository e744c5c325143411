#!/usr/bin/env bash
# Every script tells its usage, refuses arguments that it does not know, and starts from any shell.
set -euo pipefail
cd "$(dirname "$0")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# says CODE PATTERN COMMAND... : ends with CODE and prints what begins like the pattern
says() {
  local code=$1 pattern=$2 got=0 output
  shift 2
  output=$("$@" 2>&1) || got=$?
  [ "$got" -eq "$code" ] && [[ $output =~ ^$pattern ]] ||
    { echo "FAILED: $*: exit code $got, expected $code: $output" && exit 1; }
}

for script in $(find scripts -type f -executable); do
  says 0 "Usage: $script.*"$'\n'"[A-Z].*\." "$script" --help
  says 0 "Usage: $script" sh "$script" -h
  says 2 "error: '--none' is no argument here. Usage: $script" sh "$script" --none
  says 2 "error: '.' is no argument here" "$script" 1 1 1
done
says 2 "error: 'x32' is no argument" scripts/windows-deps x32
says 2 "error: 'ten' is no argument" scripts/fuzz ten
says 1 "error: there is no picture to read in $work/none.jpg" sh scripts/demo "$work/none.jpg"
says 1 "error: there is no picture to read in $PWD/tests" env -C tests ../scripts/demo .

# Who may not install anything is told what to have installed.
mkdir "$work/scripts"
cp scripts/common.sh "$work/scripts"
printf '%s\n' '# Usage: lacking' '. "$(dirname "$0")/common.sh"' 'require there=sh no-such-package' >"$work/scripts/lacking"
printf '%s\n' 'echo 1000' >"$work/id"
printf '%s\n' 'exit 1' >"$work/sudo"
chmod +x "$work/id" "$work/sudo"
says 1 ".*As root, run: apt-get update && apt-get install no-such-package" \
  env PATH="$work:$PATH" bash "$work/scripts/lacking"
echo "all as expected"
