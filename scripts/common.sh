# What the scripts share. Sourced, from the project's top folder.

# require PACKAGE=COMMAND|PACKAGE... : has Debian packages at hand, installing those that are
# missing. PACKAGE=COMMAND counts as there when the command is.
require() {
  local entry package missing=()
  for entry in "$@"; do
    package=${entry%%=*}
    case $entry in *=*) command -v "${entry#*=}" >/dev/null && continue ;; esac
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q ' installed$' && continue
    missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  local as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  echo "Installing ${missing[*]}" >&2
  if ! command -v apt-get >/dev/null || { [ ${#as_root[@]} -gt 0 ] && ! command -v sudo >/dev/null; } ||
    ! { "${as_root[@]}" apt-get update -q &&
      "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "${missing[@]}"; } >&2; then
    echo "error: cannot install what is missing. As root, run: apt-get install ${missing[*]}" >&2
    exit 1
  fi
}

build_packages=(g++=g++ cmake=cmake ninja-build=ninja libjpeg62-turbo-dev libhwy-dev libcli11-dev)

# build PRESET: configures once, then builds what has changed.
build() {
  [ -f "build/$1/build.ninja" ] || cmake --preset "$1" >&2
  cmake --build --preset "$1" >&2
}
