#!/usr/bin/env bash
# Usage: bench/batch_bench.sh [FOLDER]
# How many photographs a second `rastelo batch` makes gray, equalised and half as large, JPEG to JPEG,
# two at a time, beside others at the same work and beside the JPEG codec alone: 100 photographs of 12
# megapixels, made of Debian's wallpapers, or those of a folder. Each runs three times, in turn; the
# best counts.
. "$(dirname "$0")/../scripts/common.sh"
require "${build_packages[@]}" imagemagick libvips-tools python3-venv
work=$PWD/out/batch-bench rastelo=$PWD/build/release/tools/rastelo
build release --target rastelo_tool codec_alone
export MAGICK_THREAD_LIMIT=1 VIPS_CONCURRENCY=1 OPENCV_NUM_THREADS=1

# Photographs of 4000 x 3000 pixels, each of the wallpapers in its four turns, up to 100.
make_photographs() {
  local number=0 turn picture
  mkdir -p "$work/packages" "$work/in"
  (cd "$work/packages" && apt-get -q download mate-backgrounds plasma-workspace-wallpapers &&
    for package in *.deb; do dpkg -x "$package" .; done) >&2
  while read -r picture; do
    for turn in "" "rotate=180" "rotate=cw" "rotate=ccw"; do
      [ $number -lt 100 ] || return 0
      # shellcheck disable=SC2086
      "$rastelo" run -y "$picture" size=4000x3000 $turn \
        "save=$work/in/$(printf %03d $number).jpg,quality=92" && number=$((number + 1))
    done
  done < <(find "$work/packages" -name '*.jpg' -size +400k ! -name '*dark*' | sort)
}

ours() { "$rastelo" batch "gray equalize zoom=0.5" -o "$1" --jobs 2 "$photographs"/*.jpg 2>&1; }
codec_alone() { build/release/bench/batch/codec_alone 2 2000 1500 "$photographs"/*.jpg; }
imagemagick() {
  printf '%s\0' "$photographs"/*.jpg |
    xargs -0 -P 2 -n 50 mogrify -path "$1" -colorspace Gray -equalize -resize 50% -quality 75
}
# shellcheck disable=SC2016
libvips() {
  printf '%s\0' "$photographs"/*.jpg | xargs -0 -P 2 -I{} sh -c '
    name=$(basename "$1" .jpg) && cd "$2" &&
    vips colourspace "$1" "$name-1.v" b-w && vips hist_equal "$name-1.v" "$name-2.v" &&
    vips resize "$name-2.v" "$name.jpg[Q=75]" 0.5 && rm "$name"-?.v' sh {} "$1"
}
opencv_python() { "$work/venv/bin/python" bench/batch/opencv.py "$1" "$photographs"/*.jpg; }

# seconds NAME: how long it took, once all photographs are there.
seconds() {
  local out=$work/out-$1 start=$EPOCHREALTIME
  rm -rf "$out" && mkdir -p "$out"
  start=$EPOCHREALTIME
  "$1" "$out" >"$work/$1.log" 2>&1 || { cat "$work/$1.log" >&2 && fail "$1 failed"; }
  local end=$EPOCHREALTIME
  [ "$1" = codec_alone ] || [ "$(find "$out" -name '*.jpg' | wc -l)" -eq "$count" ] || fail "$1: pictures are missing"
  awk "BEGIN { print $end - $start }"
}

[ -x "$work/venv/bin/python" ] || { python3 -m venv "$work/venv" && "$work/venv/bin/pip" -q install opencv-python-headless; }
photographs=${1:-$work/in}
[ -n "${1:-}" ] || [ -e "$work/in/099.jpg" ] || make_photographs
count=$(find "$photographs" -maxdepth 1 -name '*.jpg' | wc -l)
[ "$count" -gt 0 ] || fail "there are no photographs in $photographs"
declare -A best
for round in 1 2 3; do
  for name in ours codec_alone opencv_python libvips imagemagick; do
    [ "$round" -eq 1 ] || case $name in libvips | imagemagick) continue ;; esac
    took=$(seconds $name)
    best[$name]=$(awk "BEGIN { b = ${best[$name]:-1e9}; print ($took < b ? $took : b) }")
  done
done
echo "$count photographs, two at a time, $(du -sm "$photographs" | cut -f1) MB of JPEG:"
for name in ours codec_alone opencv_python libvips imagemagick; do
  awk "BEGIN { printf \"  %-14s %6.2f s  %6.1f a second  ours is %.2f times as fast\n\",
    \"$name\", ${best[$name]}, $count / ${best[$name]}, ${best[$name]} / ${best[ours]} }"
done
