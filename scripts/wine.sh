# How programs for Windows run here. Sourced behind common.sh.

root=$PWD/build/wine/i386 # a Debian of 32 bits, where this one has no Wine for them
mkdir -p build/wine out
export WINEDEBUG=-all
unset DISPLAY

has_wine32() { dpkg --print-foreign-architectures | grep -qx i386 && (require wine wine32:i386) >&2; }

has_root32() { (debian_root "$root" --arch=i386 --include=wine32,wine) && as_root mkdir -p "$root/$PWD"; }

run_plain() { WINEPREFIX=$prefix wine "$@"; }
# In the root, with this folder at its own place and a /proc, both gone when the program ends.
# shellcheck disable=SC2016
run_in_root() {
  as_root unshare --mount sh -c 'root=$0 folder=$1 prefix=$2 && shift 2 &&
    mount -t proc proc "$root/proc" && mount --bind "$folder" "$root/$folder" &&
    exec chroot "$root" env -C "$folder" WINEDEBUG=-all "WINEPREFIX=$prefix" wine "$@"' \
    "$root" "$PWD" "$prefix" "$@"
}

# find_wine SYSTEM: says in $run how programs of the system run, x64 or x86; fails if they cannot.
find_wine() {
  prefix=$PWD/build/wine/$1
  if [ "$1" = x64 ]; then
    (require wine wine64) >&2 && run=run_plain
  elif has_wine32; then
    run=run_plain
  else
    has_root32 && run=run_in_root
  fi
}
