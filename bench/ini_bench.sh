#!/usr/bin/env bash
# Times the INI actions as a build runs them: one `brivant run` of a project
# of 10,000 Read Ini File actions on a 5,000-section INI file (five keys a
# section, about 0.5 MB), and one of 1,000 Write Ini File actions into the
# same file (half replace a key, half add one). Each action opens, reads and
# (for writes) rewrites the whole file under its update lock, as a build
# would. A run of the same 10,000 reads on a one-section file gives the
# project's own cost (loading 10,000 actions, the log), so the script prints
# both the time per action and the part of it the large file adds; and the
# peak resident memory of each run. Times are wall clock and, because these
# machines are shared, also CPU time (user + system) of the brivant process.
#
# Usage: bench/ini_bench.sh [BRIVANT] [ROUNDS]
#   BRIVANT  the brivant binary (default build/brivant); nothing is built here
#   ROUNDS   rounds to run (default 3); each figure is the median
set -euo pipefail

readonly kSections=5000 kKeys=5 kReads=10000 kWrites=1000

brivant=${1:-build/brivant}
rounds=${2:-3}

bench_name=ini_bench
source "$(dirname "$0")/bench_lib.sh"
[[ -x /usr/bin/time ]] || die "needs /usr/bin/time (Debian: apt-get install time)"
start_bench TReadIniFileAction TWriteIniFileAction

awk -v sections=$kSections -v keys=$kKeys 'BEGIN {
  for (s = 0; s < sections; ++s) {
    printf "[Section%04d]\r\n", s
    for (k = 0; k < keys; ++k) printf "Key%d = value %d of section %d\r\n", k, k, s
    printf "\r\n"
  }
}' >"$scratch/big.ini"
printf '[Section0001]\r\nKey1=1\r\n' >"$scratch/small.ini"

# A project of `count` actions; each line of awk's output is one action.
project() {
  local body=$1 count=$2
  {
    echo '<Project><Variables><Variable Name="V" Type="String" Value=""/></Variables><Actions>'
    awk -v count="$count" -v sections=$kSections -v keys=$kKeys "BEGIN {
      srand(11); for (i = 0; i < count; ++i) { s = int(rand() * sections); k = int(rand() * keys); $body } }"
    echo '</Actions></Project>'
  }
}
read_action='printf "<Action Class=\"TReadIniFileAction\"><Property Name=\"IniFile\">%%INI%%</Property><Property Name=\"Section\">Section%04d</Property><Property Name=\"ValueName\">Key%d</Property><Property Name=\"VariableName\">V</Property></Action>\n", s, k'
write_action='printf "<Action Class=\"TWriteIniFileAction\"><Property Name=\"IniFile\">%%INI%%</Property><Property Name=\"Section\">Section%04d</Property><Property Name=\"ValueName\">Key%d</Property><Property Name=\"NewValue\">written %d</Property></Action>\n", s, (i % 2 ? k : keys + i), i'
project "$read_action" $kReads >"$scratch/read.bvproj"
project "$write_action" $kWrites >"$scratch/write.bvproj"

# "wall-seconds cpu-seconds peak-KiB" of one run.
timed_run() {
  local ini=$1 proj=$2
  /usr/bin/time -f '%e %U %S %M' -o "$scratch/time.txt" \
    "$brivant" run "$scratch/$proj.bvproj" -D "INI=$scratch/$ini" --log json >"$scratch/last.log" ||
    { tail -n 5 "$scratch/last.log" >&2; die "brivant run $proj failed"; }
  awk '{ print $1, $2 + $3, $4 }' "$scratch/time.txt"
}

: >"$scratch/times"
for ((round = 1; round <= rounds; ++round)); do
  cp "$scratch/big.ini" "$scratch/work.ini"
  echo "read-small $(timed_run small.ini read)" >>"$scratch/times"
  echo "read-big $(timed_run big.ini read)" >>"$scratch/times"
  echo "write-big $(timed_run work.ini write)" >>"$scratch/times"
done

figure() { awk -v w="$1" -v col="$2" '$1 == w { print $col }' "$scratch/times" | median; }
awk -v size="$(stat -c %s "$scratch/big.ini")" -v reads=$kReads -v writes=$kWrites \
  -v small="$(figure read-small 2)" -v small_cpu="$(figure read-small 3)" \
  -v big="$(figure read-big 2)" -v big_cpu="$(figure read-big 3)" -v big_mem="$(figure read-big 4)" \
  -v write="$(figure write-big 2)" -v write_cpu="$(figure write-big 3)" \
  -v write_mem="$(figure write-big 4)" 'BEGIN {
  printf "INI file: '"$kSections"' sections, %.0f KiB\n", size / 1024
  printf "read:  %d actions, %.2f s wall, %.2f s CPU: %.0f us (CPU %.0f us) per read,", reads, big,
    big_cpu, big / reads * 1e6, big_cpu / reads * 1e6
  printf " of it the large file %.0f us (CPU %.0f us); peak %.1f MiB\n", (big - small) / reads * 1e6,
    (big_cpu - small_cpu) / reads * 1e6, big_mem / 1024
  printf "write: %d actions, %.2f s wall, %.2f s CPU: %.0f us (CPU %.0f us) per write; peak %.1f MiB\n",
    writes, write, write_cpu, write / writes * 1e6, write_cpu / writes * 1e6, write_mem / 1024
}'
