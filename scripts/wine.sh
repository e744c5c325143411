# How programs for Windows run here. Sourced behind common.sh.

root=$PWD/build/wine/i386 # a Debian of 32 bits, where this one has no Wine for them
mkdir -p build/wine out
export WINEDEBUG=-all LC_ALL=C.UTF-8 # in which Wine takes names of files and words of calls to be
unset DISPLAY

has_wine32() { dpkg --print-foreign-architectures | grep -qx i386 && (require wine wine32:i386) >&2; }

has_root32() { (debian_root "$root" --arch=i386 --include=wine32,wine) && as_root mkdir -p "$root/$PWD"; }

# In the root, with this project's folder at its own place and a /proc, both gone when the program
# ends.
# shellcheck disable=SC2016
in_root='root=$0 project=$1 prefix=$2 && shift 2 &&
  mount -t proc proc "$root/proc" && mount --bind "$project" "$root/$project" &&
  exec chroot "$root" env -C "$PWD" LC_ALL=C.UTF-8 WINEDEBUG=-all "WINEPREFIX=$prefix" wine "$@"'

# find_wine SYSTEM: says in $run, an array, how programs of the system run, x64 or x86, from any
# folder of the project; fails if they cannot.
find_wine() {
  prefix=$PWD/build/wine/$1
  if [ "$1" = x64 ]; then
    (require wine wine64) >&2 || return
  elif ! has_wine32; then
    has_root32 || return
    run=(unshare --mount sh -c "$in_root" "$root" "$PWD" "$prefix")
    [ "$(id -u)" -eq 0 ] || run=(sudo "${run[@]}")
    return
  fi
  run=(env "WINEPREFIX=$prefix" wine)
}
