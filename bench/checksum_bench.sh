#!/usr/bin/env bash
# Times the checksum actions on a 1 GiB file against the tools a user would
# otherwise run: `brivant run` of a one-action project (Calculate File CRC32,
# Calculate File MD5) against `rhash --crc32`, Python's zlib.crc32 (read in
# 1 MiB blocks) and `md5sum`. The file sits in the page cache for every run,
# so the figures compare the checksum code and the reading, not the disk.
# Each round times every tool once, in an order that rotates from round to
# round; the script ends with the median of the per-round ratios, of wall
# time and of CPU time (the goals: CRC-32 at least twice as fast as zlib, MD5
# at least as fast as md5sum).
#
# Usage: bench/checksum_bench.sh [BRIVANT] [ROUNDS]
#   BRIVANT  the brivant binary (default build/brivant); nothing is built here
#   ROUNDS   rounds to run (default 5)
# Needs rhash, python3 and md5sum on the PATH (Debian: apt-get install rhash
# python3) and 1 GiB free in /tmp.
set -euo pipefail

readonly kFileMiB=1024

brivant=${1:-build/brivant}
rounds=${2:-5}

bench_name=checksum_bench
source "$(dirname "$0")/bench_lib.sh"

for tool in rhash python3 md5sum; do
  command -v "$tool" >/dev/null || die "needs $tool (Debian: apt-get install rhash python3 coreutils)"
done
free_kib=$(df -Pk /tmp | awk 'NR == 2 { print $4 }')
((free_kib > (kFileMiB + 100) * 1024)) || die "/tmp has too little space for a $kFileMiB MiB file"

start_bench TBVFileCRCAction TBVFileMD5Action
data=$scratch/data.bin

for kind in CRC MD5; do
  cat >"$scratch/$kind.bvproj" <<EOF2
<Project>
  <Variables>
    <Variable Name="SUM" Type="String" Value=""/>
  </Variables>
  <Actions>
    <Action Class="TBVFile${kind}Action" Title="Checksum">
      <Property Name="FileName">%FILE%</Property>
      <Property Name="BVVariable">SUM</Property>
    </Action>
  </Actions>
</Project>
EOF2
done

crc_ours() { "$brivant" run "$scratch/CRC.bvproj" -D "FILE=$data" --log json; }
crc_rhash() { rhash --crc32 --printf='%C\n' "$data"; }
crc_zlib() {
  python3 -c '
import sys, zlib
crc = 0
with open(sys.argv[1], "rb", buffering=0) as f:
    while block := f.read(1 << 20):
        crc = zlib.crc32(block, crc)
print("%08X" % crc)' "$data"
}
md5_ours() { "$brivant" run "$scratch/MD5.bvproj" -D "FILE=$data" --log json; }
md5_md5sum() { md5sum "$data"; }

# The checksum a run printed, upper case, without "$": from brivant's
# "CRC32 for FILE is $..." / "MD5 for FILE is ..." event, else the first word.
checksum_of() {
  local line
  line=$(grep -oE '"(CRC32|MD5) for [^"]* is [$]?[0-9A-F]+"' "$scratch/last.log" || true)
  if [[ -n $line ]]; then
    line=${line##* is }
    line=${line//[\$\"]/}
  else
    line=$(awk 'NR == 1 { print $1 }' "$scratch/last.log")
  fi
  tr '[:lower:]' '[:upper:]' <<<"$line"
}

# Runs a command and records in $scratch/times "name wall cpu": its
# wall-clock seconds and the CPU seconds (user + system) of it and its
# children. On a machine shared with other work the CPU figures are the
# steadier ones. Its checksum goes to $scratch/sums.
timed() {
  local name=$1 status=0 TIMEFORMAT='%R %U %S'
  shift
  { time "$@" >"$scratch/last.log" 2>&1 || status=$?; } 2>"$scratch/time.txt"
  if ((status != 0)); then
    echo "checksum_bench: '$*' failed with status $status:" >&2
    tail -n 20 "$scratch/last.log" >&2
    exit 1
  fi
  awk -v name="$name" '{ printf "%s %.4f %.4f\n", name, $1, $2 + $3 }' "$scratch/time.txt" \
    >>"$scratch/times"
  echo "$name $(checksum_of)" >>"$scratch/sums"
}

# Median over the rounds of (time of $2) / (time of $1), column $3 (2 wall,
# 3 CPU): how many times faster $1 is.
median_speedup() {
  awk -v ours="$1" -v peer="$2" -v column="$3" '
    $1 == ours { o[++n] = $column } $1 == peer { p[++m] = $column }
    END { for (i = 1; i <= n; i++) printf "%.4f\n", p[i] / o[i] }' "$scratch/times" | median
}

median_seconds() {
  awk -v name="$1" -v column="$2" '$1 == name { print $column }' "$scratch/times" | median
}

echo "writing a $kFileMiB MiB file of random bytes to $data"
head -c $((kFileMiB << 20)) /dev/urandom >"$data"
cat "$data" >/dev/null  # into the page cache

runs=(crc_ours crc_rhash crc_zlib md5_ours md5_md5sum)
for ((round = 1; round <= rounds; round++)); do
  for ((i = 0; i < ${#runs[@]}; i++)); do
    run=${runs[(i + round) % ${#runs[@]}]}
    timed "$run" "$run"
  done
  printf 'round %d:' "$round"
  tail -n ${#runs[@]} "$scratch/times" | sort |
    awk '{ printf "  %s %.3f s (cpu %.3f s)", $1, $2, $3 }'
  echo
done

# Every tool must have found the same checksum in every round.
for kind in crc md5; do
  distinct=$(awk -v kind="$kind" 'index($1, kind "_") == 1 { print $2 }' "$scratch/sums" | sort -u)
  [[ $(wc -l <<<"$distinct") == 1 && -n $distinct ]] ||
    die "the $kind tools disagree: $(tr '\n' ' ' <<<"$distinct")"
done

mib_per_s() { awk -v s="$1" -v mib="$kFileMiB" 'BEGIN { printf "%.0f MiB/s", mib / s }'; }
for run in "${runs[@]}"; do
  wall=$(median_seconds "$run" 2)
  cpu=$(median_seconds "$run" 3)
  printf '%-11s median wall %6.3f s (%s), cpu %6.3f s (%s)\n' "$run" "$wall" \
    "$(mib_per_s "$wall")" "$cpu" "$(mib_per_s "$cpu")"
done
for kind in wall:2 cpu:3; do
  column=${kind#*:}
  echo "${kind%:*} time: CRC-32 brivant is $(median_speedup crc_ours crc_zlib "$column") x as fast as" \
    "zlib (goal: at least 2), $(median_speedup crc_ours crc_rhash "$column") x rhash;" \
    "MD5 $(median_speedup md5_ours md5_md5sum "$column") x md5sum (goal: at least 1)"
done
