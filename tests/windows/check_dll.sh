#!/usr/bin/env bash
# Whether a DLL needs no other but the system's own, and exports what the public header declares
# and nothing else. check_dll.sh DLL PREFIX, the prefix of the binary tools.
set -euo pipefail
dll=$1 prefix=$2
header=$(dirname "$0")/../../include/rastelo.h

foreign=$("$prefix-objdump" -p "$dll" | sed -n 's/^.*DLL Name: //p' |
  grep -vixE '(kernel32|user32|gdi32|msvcrt)\.dll' || true)
[ -z "$foreign" ] || { echo "$dll needs $foreign" >&2 && exit 1; }

exported=$("$prefix-objdump" -p "$dll" | sed -n '/^\[Ordinal\/Name Pointer\]/,/^$/s/^.*\] *\(+base\[.*\] *[0-9a-f]* \)\?//p' |
  sed 1d | "$prefix-c++filt" -n)
declared=$(sed 's,//.*,,' "$header" | grep -oE '~?\w+\(' | grep -v RASTELO | sort -u)
missing=$(for name in $declared; do grep -qF -- "$name" <<<"$exported" || echo "$name"; done)
[ -z "$missing" ] || { echo "$dll does not export $missing" >&2 && exit 1; }
stray=$(grep -vE '(^|for )(CRastelo|CImgRevokeOpr)\b|^(BuildBitmapInfo|GetPaletteSize|DebugTrace)\(' \
  <<<"$exported" || true)
[ -z "$stray" ] || { echo "$dll exports $stray" >&2 && exit 1; }
echo "$(wc -l <<<"$exported") names exported, no DLL needed but the system's"
