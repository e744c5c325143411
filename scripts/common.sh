# What the scripts share. Each of them sources it first. It goes to the project's top folder and
# checks the arguments by the head comment of the script, whose line "Usage:" names them: a word in
# capitals stands for any argument but an option, other words for themselves.

[ -n "${BASH_VERSION:-}" ] || exec bash "$0" "$@" # started by another shell
set -euo pipefail

usage=$(sed -n 's/^# Usage: //p' "$0")

# fail MESSAGE: ends the script. refuse ARGUMENT: because of an argument that it does not know.
fail() {
  echo "error: $1" >&2
  exit "${2:-1}"
}
refuse() { fail "'$1' is no argument here. Usage: $usage" 2; }

check_arguments() {
  local argument place places place_number=0
  read -ra places <<<"${usage//[][]/}"
  for argument; do
    place=${places[++place_number]:-}
    case $place,$argument in
      *,-h | *,--help) sed -n '1d; /^#/!q; s/^# \?//p' "$0" && exit ;;
      *,-*) refuse "$argument" ;;
      SECONDS,* | ROUNDS,*) [[ $argument =~ ^[1-9][0-9]*$ ]] || refuse "$argument" ;;
      [[:upper:]]*,*) ;;
      *) grep -qxF -- "$argument" <<<"${place//|/$'\n'}" || refuse "$argument" ;;
    esac
  done
}
check_arguments "$@"
cd "$(dirname "$0")/.."

as_root() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

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
  echo "Installing ${missing[*]}" >&2
  { as_root apt-get update -q &&
    as_root env DEBIAN_FRONTEND=noninteractive \
      apt-get install -q -y --no-install-recommends "${missing[@]}"; } >&2 ||
    fail "cannot install what is missing. As root, run: apt-get update && apt-get install ${missing[*]}"
}

# debian_sources FORMAT [FILTER...]: where this machine has its Debian packages from.
debian_sources() { apt-get indextargets --format "$1" 'Created-By: Packages' 'Origin: Debian' "${@:2}"; }

# debian_archive: the one that its release comes from, and the release.
debian_archive() {
  local release archive=(debian_sources '$(REPO_URI) $(CODENAME)' 'Component: main')
  release=$(. /etc/os-release && echo "$VERSION_CODENAME")
  [ -n "$("${archive[@]}")" ] || as_root apt-get -q update >&2
  "${archive[@]}" "Codename: $release" | head -n 1
}

# debian_root FOLDER [OPTION...]: has a minimal Debian of this release in a folder, made once.
# OPTIONs go to debootstrap.
debian_root() {
  local folder=$1 archive release
  [ ! -e "$folder/made" ] || return 0
  require debootstrap
  echo "Making $folder" >&2
  read -r archive release < <(debian_archive)
  as_root rm -rf "$folder"
  as_root debootstrap --variant=minbase "${@:2}" "$release" "$folder" "$archive" \
    >out/debootstrap.log 2>&1 && as_root touch "$folder/made"
}

build_packages=(g++=g++ cmake=cmake ninja-build=ninja pkg-config=pkg-config libjpeg62-turbo-dev
  libhwy-dev libpng-dev libtiff-dev libexif-dev libcli11-dev libxxhash-dev nlohmann-json3-dev
  libgtest-dev libgmock-dev)

# What tests use beside the compiler.
test_packages=(python3=python3 mandoc=mandoc zsh=zsh fish=fish)

# build PRESET [OPTION...]: configures once, then builds what has changed.
build() {
  [ "build/$1/build.ninja" -nt CMakePresets.json ] || cmake --preset "$1" >&2
  cmake --build --preset "$@" >&2
}

# build_bench: the benchmarks, beside the peers that it installs.
build_bench() {
  require "${build_packages[@]}" libbenchmark-dev libopencv-core-dev libopencv-imgproc-dev \
    libopencv-imgcodecs-dev libfftw3-dev python3=python3
  cmake --preset bench >/dev/null # finds peers that have been installed since
  build bench
}

# fetch_source PACKAGE: unpacks a source package of this Debian into build/cross/source/PACKAGE,
# once. apt's own lists and settings stay as they are: this takes a folder of its own.
fetch_source() {
  local cross=$PWD/build/cross apt
  [ ! -e "$cross/source/$1" ] || return 0
  require dpkg-dev=dpkg-source
  mkdir -p "$cross"/apt/{lists/partial,archives/partial} "$cross/source"
  echo "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg]" \
    "$(debian_archive) main" >"$cross/apt/sources.list"
  apt=(apt-get -q -o "Dir::Etc::SourceList=$cross/apt/sources.list" -o Dir::Etc::SourceParts=-
    -o "Dir::State::Lists=$cross/apt/lists" -o "Dir::Cache=$cross/apt" -o APT::Sandbox::User=root)
  rm -rf "$cross/fetch"
  mkdir "$cross/fetch"
  (cd "$cross/fetch" && "${apt[@]}" update && "${apt[@]}" source "$1") >&2
  mv "$cross"/fetch/*/ "$cross/source/$1"
}

# cross_dependency NAME SYSTEM [OPTION...]: has a source package built and installed for a system of
# cmake/SYSTEM.cmake, in build/cross/SYSTEM, static; by cmake/cross/NAME where its own build does not
# serve. OPTIONs go to CMake.
cross_dependency() {
  local name=$1 system=$2 cross=$PWD/build/cross project
  shift 2
  [ ! -e "$cross/$system/$name.done" ] || return 0
  fetch_source "$name"
  project=cmake/cross/$name
  [ -d "$project" ] || project=$cross/source/$name
  echo "Building $name for $system" >&2
  cmake -Wno-dev -S "$project" -B "$cross/build/$system/$name" -G Ninja \
    --toolchain "$PWD/cmake/$system.cmake" -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF \
    -DCMAKE_INSTALL_PREFIX="$cross/$system" -DSOURCE="$cross/source/$name" "$@" >/dev/null
  cmake --build "$cross/build/$system/$name" >/dev/null
  cmake --install "$cross/build/$system/$name" >/dev/null
  touch "$cross/$system/$name.done"
}

# cross_headers PACKAGE SYSTEM: has the headers of a Debian package of nothing else, and how CMake finds
# them, in build/cross/SYSTEM. The folder that this machine has them in holds its own headers as well.
cross_headers() {
  local target=$PWD/build/cross/$2 file
  [ ! -e "$target/$1.done" ] || return 0
  require "$1"
  for file in $(dpkg -L "$1" | grep -E '^/usr/(include|share/cmake)/'); do
    [ ! -f "$file" ] || install -D -m 644 "$file" "$target/${file#/usr/}"
  done
  touch "$target/$1.done"
}

# cross_libraries SYSTEM: has what the library needs on a system.
cross_libraries() {
  require cmake=cmake ninja-build=ninja nasm=nasm
  cross_dependency libjpeg-turbo "$1" -DENABLE_SHARED=OFF -DWITH_TURBOJPEG=OFF -DREQUIRE_SIMD=ON
  cross_dependency highway "$1" -DBUILD_TESTING=OFF -DHWY_ENABLE_TESTS=OFF \
    -DHWY_ENABLE_EXAMPLES=OFF -DHWY_ENABLE_CONTRIB=OFF
}

# cross_tool_libraries SYSTEM: has what the command-line tool needs there beyond that.
cross_tool_libraries() {
  cross_dependency zlib "$1"
  cross_dependency libpng1.6 "$1" -DPNG_SHARED=OFF -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF
  cross_dependency tiff "$1" -Dtiff-tools=OFF -Dtiff-tests=OFF -Dtiff-contrib=OFF -Dtiff-docs=OFF \
    -Dcxx=OFF
  cross_dependency libexif "$1"
  cross_headers libcli11-dev "$1"
  cross_headers nlohmann-json3-dev "$1"
  cross_headers libxxhash-dev "$1"
}
