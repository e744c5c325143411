#!/usr/bin/env bash
# The library's objects hold no operation that multiplies and adds with one rounding: compilers form
# them, too, where they are told not to.
# fused_test.sh BUILD-FOLDER COMPILER
set -euo pipefail
build=$1 compiler=$2
objdump=$("$compiler" -print-prog-name=objdump)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# lists the fused operations in objects, each with the function it is in
fused() {
  "$objdump" -d --no-show-raw-insn "$@" |
    awk '/^[0-9a-f]+ </ { place = $2 } $2 ~ /^(vfn?m(add|sub)|v4fn?madd|fn?m(add|sub|la|ls))/ { print place, $2 }'
}

echo 'double Fuse(double a, double b, double c) { return a * b + c; }' >"$work/fused.cpp"
case $("$compiler" -dumpmachine) in x86_64* | i?86*) enable="-mfma -mfpmath=sse" ;; *) enable=-O2 ;; esac
"$compiler" -O2 -ffp-contract=fast $enable -c "$work/fused.cpp" -o "$work/fused.o"
[ -n "$(fused "$work/fused.o")" ] || { echo "FAILED: a fused operation is not noticed" && exit 1; }

mapfile -t objects < <(find "$build/CMakeFiles/rastelo_kernels.dir" \
  "$build/CMakeFiles/rastelo_internal.dir" -name '*.o' -o -name '*.obj')
[ ${#objects[@]} -gt 20 ] || { echo "FAILED: no objects in $build" && exit 1; }
found=$(fused "${objects[@]}" | c++filt | sort | uniq -c)
[ -z "$found" ] || { echo "FAILED: fused operations" && echo "$found" && exit 1; }
echo "no fused operation in ${#objects[@]} objects"
