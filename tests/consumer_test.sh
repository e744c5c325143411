#!/usr/bin/env bash
# The smallest host has the library in one of the ways that there are, and works.
# consumer_test.sh WAY BUILD [FLAGS]. find_package, pkg-config and moved take what BUILD installs;
# static, add_subdirectory and FetchContent build the library from its sources. FLAGS go to the
# compiler.
set -euo pipefail
way=$1 build=$2 flags=${3:-}
source=$(realpath "$(dirname "$0")/..")
host=$source/examples/minimal
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/installed
export CMAKE_GENERATOR=Ninja

fail() { echo "FAILED: $*" && exit 1; }
check() { # PROGRAM: it opens, tells the size and saves a picture that it can open again
  [ "$("$1" "$source/samples/scene.jpg" "$work/first.jpg")" = "641 x 427 pixels" ] || fail "$1"
  [ "$("$1" "$work/first.jpg" "$work/second.bmp")" = "427 x 641 pixels" ] || fail "$1, once more"
}
build_with() { # SOURCE OPTION...: into $work/build, silently
  cmake -S "$1" -B "$work/build" -DCMAKE_CXX_FLAGS="$flags" "${@:2}" >/dev/null
  cmake --build "$work/build" >/dev/null
}
use_find_package() {
  rm -rf "$work/build"
  build_with "$host" -DCMAKE_PREFIX_PATH="$prefix"
  check "$work/build/minimal"
}
use_pkg_config() { # OPTION...
  local libdir
  libdir=$(dirname "$(find "$prefix" -name 'librastelo.*' -print -quit)")
  export PKG_CONFIG_PATH=$libdir/pkgconfig
  # shellcheck disable=SC2046,SC2086
  g++ -std=c++17 $flags "$host/minimal.cpp" $(pkg-config --cflags --libs "$@" rastelo) -o "$work/minimal"
  LD_LIBRARY_PATH=$libdir check "$work/minimal"
}
use_sources() {
  build_with "$source/tests/consumers" -DWAY="$way"
  check "$work/build/minimal"
  cmake --install "$work/build" --prefix "$prefix" >/dev/null
  [ "$(cd "$prefix" && find . -type f)" = ./bin/minimal ] || fail "the library is installed as well"
}
page_shows() { # LANGUAGE FILE: the first page shows this very file
  sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/p" "$source/README.md" | sed '1d;$d' | diff - "$2"
}

case $way in
  find_package | pkg-config | moved) cmake --install "$build" --prefix "$prefix" >/dev/null ;;
esac
case $way in
  find_package)
    use_find_package
    page_shows cpp "$host/minimal.cpp"
    page_shows cmake "$host/CMakeLists.txt"
    ;;
  pkg-config)
    use_pkg_config
    [[ $(pkg-config --cflags rastelo) != *-D* ]] || fail "a host is to define something"
    ;;
  moved)
    mv "$prefix" "$work/elsewhere"
    prefix=$work/elsewhere
    use_find_package
    use_pkg_config
    env -u LD_LIBRARY_PATH "$prefix/bin/rastelo" --version
    ;;
  static)
    build_with "$source" -DBUILD_SHARED_LIBS=OFF -DRASTELO_BUILD_TESTS=OFF -DRASTELO_BUILD_TOOLS=OFF
    cmake --install "$work/build" --prefix "$prefix" >/dev/null
    use_find_package
    use_pkg_config --static
    [ -z "$(find "$prefix" -name '*.so*')" ] || fail "the library is no static one"
    ;;
  add_subdirectory | FetchContent) use_sources ;;
  *) fail "there is no way '$way'" ;;
esac
