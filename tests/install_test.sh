#!/usr/bin/env bash
# Installs a build and has the smallest host use it, through CMake and through pkg-config.
# install_test.sh SOURCE BUILD FLAGS
set -euo pipefail
source=$1 build=$2 flags=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
host=$source/examples/minimal
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name librastelo.so)")
export LD_LIBRARY_PATH=$libdir

check() { # PROGRAM: it opens, tells the size and saves a picture that it can open again
  [ "$("$1" "$source/samples/scene.jpg" "$work/turned.jpg")" = "641 x 427 pixels" ]
  [ "$("$1" "$work/turned.jpg" "$work/twice.bmp")" = "427 x 641 pixels" ]
}

cmake -S "$host" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$work/cmake" >/dev/null
check "$work/cmake/minimal"

export PKG_CONFIG_PATH=$libdir/pkgconfig
# shellcheck disable=SC2046
g++ -std=c++17 $flags "$host/minimal.cpp" $(pkg-config --define-prefix --cflags --libs rastelo) \
  -o "$work/minimal"
check "$work/minimal"

# The first page shows this very program.
sed -n '/^```cpp$/,/^```$/p' "$source/README.md" | sed '1d;$d' | diff - "$host/minimal.cpp"
