#!/usr/bin/env bash
# Prints the names that a library for Linux or Windows exports, demangled and sorted, below what its
# hosts load: the library under its own name on Linux, the DLLs that it needs on Windows. Of a program
# for Windows, only those.
# exports.sh LIBRARY [LIST]: with a LIST, tells in which lines it differs. A change that is meant to
# change them comes with what it makes of the lists:
#     tests/exports.sh build/release/librastelo.so >tests/exports/linux.txt
#     tests/exports.sh build/windows-x64/rastelo.dll >tests/exports/windows.txt
set -euo pipefail
library=$1 list=${2:-}
export LC_ALL=C

loads() { objdump -p "$library" | sed -nE 's/^.*(SONAME|DLL Name:) +/loads /p' | sort -u; }
names() {
  case $library in
    *.exe) ;;
    *.dll) objdump -p "$library" | awk '/^$/ { inside = 0 } inside { print $NF } /^\[Ordinal\/Name/ { inside = 1 }' ;;
    *) nm -D --defined-only "$library" | awk '{ print $NF }' ;;
  esac | c++filt -n | sort -u
}
exports=$(loads && names)
[ -n "$list" ] || { echo "$exports" && exit; }
diff "$list" - <<<"$exports" || {
  echo "$library does not export what $list says. If it should not, see $0."
  exit 1
}
