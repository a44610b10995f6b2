#!/usr/bin/env bash
# Times the image actions over a file set of 200 JPEGs of 3008 x 2000 (made
# here; 50 of them carry EXIF orientation 6) against the tools a user would
# otherwise run, each as `brivant run` of a one-action project:
#   resize to 50%          against vipsthumbnail and `mogrify -resize 50%`
#   rotate 90, re-encoded  against `mogrify -rotate 90`
#   lossless rotate 90     against a `jpegtran -rotate 90` shell loop
#   lossless EXIF auto     against `exiftran -a -i`
# Each round times every command once, in an order that rotates from round
# to round, on inputs prepared identically outside the timing; the script
# ends with the median of the per-round ratios and the peak memory (maximum
# resident set).
# Goals: resize at most 1.0 x vipsthumbnail and at least 4 x faster than
# mogrify; rotate at most 0.5 x mogrify; lossless at most 0.8 x jpegtran.
#
# Usage: bench/images_bench.sh [BRIVANT] [ROUNDS]
#   BRIVANT  the brivant binary (default build/brivant); nothing is built here
#   ROUNDS   rounds to run (default 3)
# Needs vips, vipsthumbnail, mogrify, jpegtran, exiftran and GNU time
# (Debian: apt-get install libvips-tools imagemagick libjpeg-turbo-progs
# exiftran time) and about 1.5 GB free in /tmp.
set -euo pipefail

readonly kImages=200 kRotated=50 kWidth=3008 kHeight=2000

brivant=${1:-build/brivant}
rounds=${2:-3}

bench_name=images_bench
source "$(dirname "$0")/bench_lib.sh"

for tool in vips vipsthumbnail mogrify jpegtran exiftran /usr/bin/time; do
  command -v "$tool" >/dev/null ||
    die "needs $tool (Debian: apt-get install libvips-tools imagemagick libjpeg-turbo-progs exiftran time)"
done
start_bench TBVImagesAction TBVJPEGLosslessTransformAction

# Photo-like content: smoothed noise compresses about as a photo does.
photos=$scratch/photos
mkdir -p "$photos"
vips gaussnoise "$scratch/noise.v" "$kWidth" "$kHeight" --sigma 60 --mean 128
vips bandjoin "$scratch/noise.v $scratch/noise.v $scratch/noise.v" "$scratch/rgb.v"
vips gaussblur "$scratch/rgb.v" "$scratch/base.jpg[Q=90]" 1.5
# The same JPEG behind a minimal EXIF block saying "orientation 6".
{
  printf '\xff\xd8\xff\xe1\x00\x22Exif\x00\x00II*\x00\x08\x00\x00\x00\x01\x00'
  printf '\x12\x01\x03\x00\x01\x00\x00\x00\x06\x00\x00\x00\x00\x00\x00\x00'
  tail -c +3 "$scratch/base.jpg"
} >"$scratch/turned.jpg"
for ((i = 0; i < kImages; ++i)); do
  source=$scratch/base.jpg
  ((i % (kImages / kRotated) == 0)) && source=$scratch/turned.jpg
  cp "$source" "$(printf '%s/img%03d.jpg' "$photos" "$i")"
done

# A project running one action over the file set of the JPEGs in $2.
project() {
  local name=$1 base=$2 class=$3
  shift 3
  {
    echo "<Project><FileSets><FileSet Name=\"Photos\" BaseDir=\"$base\">"
    echo "<Include>*.jpg</Include></FileSet></FileSets><Actions>"
    echo "<Action Class=\"$class\" Title=\"$name\">"
    echo "<Property Name=\"InputImage\">UseFileSet</Property>"
    echo "<Property Name=\"InputFileset\">Photos</Property>"
    for property in "$@"; do
      echo "<Property Name=\"${property%%=*}\">${property#*=}</Property>"
    done
    echo "</Action></Actions></Project>"
  } >"$scratch/$name.bvproj"
}
out=$scratch/out
work=$scratch/work
project resize "$photos" TBVImagesAction OutputDir="$out" FailIfFileExistsInDir=False \
  ResizeImage=PercentageResize ResizePercent=50
project rotate "$photos" TBVImagesAction OutputDir="$out" FailIfFileExistsInDir=False \
  RotateImage=Rotate90
project lossless "$work" TBVJPEGLosslessTransformAction Transform=jptRotate90
project auto "$work" TBVJPEGLosslessTransformAction Transform=jptExifAuto

resize_ours() { "$brivant" run "$scratch/resize.bvproj" --log json; }
resize_vipsthumbnail() { vipsthumbnail --size "$((kWidth / 2))x" -o "$out/%s.jpg" "$photos"/*.jpg; }
resize_mogrify() { mogrify -path "$out" -resize 50% "$photos"/*.jpg; }
rotate_ours() { "$brivant" run "$scratch/rotate.bvproj" --log json; }
rotate_mogrify() { mogrify -path "$out" -rotate 90 "$photos"/*.jpg; }
lossless_ours() { "$brivant" run "$scratch/lossless.bvproj" --log json; }
lossless_jpegtran() {
  local file
  for file in "$work"/*.jpg; do jpegtran -copy all -rotate 90 -outfile "$file" "$file"; done
}
auto_ours() { "$brivant" run "$scratch/auto.bvproj" --log json; }
auto_exiftran() { exiftran -a -i "$work"/*.jpg; }

# Fresh inputs and an empty output directory, outside the timing; old ones
# are moved aside, not deleted (see the file tree benchmark).
prepare() {
  mkdir -p "$scratch/trash"
  local stamp=$EPOCHREALTIME
  [[ -d $out ]] && mv "$out" "$scratch/trash/out$stamp"
  [[ -d $work ]] && mv "$work" "$scratch/trash/work$stamp"
  mkdir -p "$out"
  cp -r "$photos" "$work"
  sync
}

# GNU time runs each command in a fresh bash; its peak is that of the
# largest process the command ran.
export -f resize_ours resize_vipsthumbnail resize_mogrify rotate_ours rotate_mogrify \
  lossless_ours lossless_jpegtran auto_ours auto_exiftran
export brivant scratch out work photos kWidth

# Times one command: "seconds peak_kib".
measure() {
  prepare
  /usr/bin/time -f '%e %M' -o "$scratch/last.time" bash -c "$1" >"$scratch/last.log" 2>&1 || {
    echo "$bench_name: '$*' failed:" >&2
    tail -n 20 "$scratch/last.log" >&2
    exit 1
  }
  cat "$scratch/last.time"
}

commands=(resize_ours resize_vipsthumbnail resize_mogrify rotate_ours rotate_mogrify
  lossless_ours lossless_jpegtran auto_ours auto_exiftran)
: >"$scratch/runs"
for ((round = 0; round < rounds; ++round)); do
  for ((k = 0; k < ${#commands[@]}; ++k)); do
    command=${commands[(k + round) % ${#commands[@]}]}
    read -r seconds peak < <(measure "$command")
    echo "$round $command $seconds $peak" >>"$scratch/runs"
    echo "round $((round + 1)): $command ${seconds}s peak $((peak / 1024)) MiB" >&2
  done
done

seconds_of() { awk -v c="$1" '$2 == c { print $3 }' "$scratch/runs" | median; }
peak_of() { awk -v c="$1" '$2 == c { print $4 }' "$scratch/runs" | sort -n | tail -n 1; }
# The median over the rounds of ours / peer.
ratio() {
  awk -v a="$1" -v b="$2" '$2 == a { ours[$1] = $3 } $2 == b { peer[$1] = $3 }
    END { for (r in ours) if (peer[r] > 0) print ours[r] / peer[r] }' "$scratch/runs" |
    median | awk '{ printf "%.2f", $1 }'
}
echo "load average before the summary: $(cut -d' ' -f1-3 /proc/loadavg), $(nproc) cores"
for command in "${commands[@]}"; do
  printf '%-22s median %7.2f s  peak %5d MiB\n' "$command" "$(seconds_of "$command")" \
    "$(($(peak_of "$command") / 1024))"
done
echo "resize:   ours / vipsthumbnail $(ratio resize_ours resize_vipsthumbnail) (goal <= 1.0)," \
  "ours / mogrify $(ratio resize_ours resize_mogrify) (goal <= 0.25)"
echo "rotate:   ours / mogrify $(ratio rotate_ours rotate_mogrify) (goal <= 0.5)"
echo "lossless: ours / jpegtran loop $(ratio lossless_ours lossless_jpegtran) (goal <= 0.8)"
echo "auto:     ours / exiftran -a $(ratio auto_ours auto_exiftran)"
