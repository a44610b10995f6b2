#!/usr/bin/env bash
# Times the program-running action against what a user would otherwise run.
#   start:   `brivant run` of a project of 1,000 Execute Program actions that
#            each run /bin/true, against a bash loop running /bin/true 1,000
#            times (the cost of starting, waiting for and judging a program);
#   capture: `brivant run` of one Execute Program action running `cat` on a
#            100 MB file of 1,000,000 lines, output captured and logged (to a
#            file), live and after the end, against `cat FILE | cat >FILE`.
# Each round times ours and the peer back to back, swapping who goes first;
# the script ends with the median of the per-round ratios.
#
# Usage: bench/run_program_bench.sh [BRIVANT] [ROUNDS]
#   BRIVANT  the brivant binary (default build/brivant); nothing is built here
#   ROUNDS   rounds to run (default 5)
# Needs about 400 MB free in /tmp; everything it makes is removed at the end.
set -euo pipefail

readonly kPrograms=1000
readonly kLines=1000000

brivant=${1:-build/brivant}
rounds=${2:-5}

bench_name=run_program_bench
source "$(dirname "$0")/bench_lib.sh"
start_bench TRunProgramAction

write_projects() {
  {
    echo "<Project><Actions>"
    for ((i = 0; i < kPrograms; i++)); do
      echo "<Action Class=\"TRunProgramAction\"><Property Name=\"ProgramName\">/bin/true</Property></Action>"
    done
    echo "</Actions></Project>"
  } >"$scratch/start.bvproj"
  local live
  for live in True False; do
    cat >"$scratch/capture-$live.bvproj" <<EOF
<Project><Actions>
  <Action Class="TRunProgramAction" Title="Capture">
    <Property Name="ProgramName">cat</Property>
    <Property Name="Params">"$scratch/lines.txt"</Property>
    <Property Name="EnableLiveCapture">$live</Property>
  </Action>
</Actions></Project>
EOF
  done
}

start_ours() { "$brivant" run "$scratch/start.bvproj" --no-color; }
start_peer() { for ((i = 0; i < kPrograms; i++)); do /bin/true; done; }
live_ours() { "$brivant" run "$scratch/capture-True.bvproj" --no-color; }
live_peer() { cat "$scratch/lines.txt" | cat; }
spool_ours() { "$brivant" run "$scratch/capture-False.bvproj" --no-color; }
spool_peer() { live_peer; }

# Every line must reach the log: the lines of x's, nothing else counted.
check_captured() {
  local got
  got=$(grep -c 'xxxxxxxxxx' "$scratch/last.log") || true
  ((got == kLines)) || die "$1 logged $got of $kLines lines"
}

time_pair() {
  local work=$1 round=$2 ours_time peer_time
  if ((round % 2 == 1)); then
    ours_time=$(elapsed "${work}_ours")
    [[ $work == start ]] || check_captured "$work"
    peer_time=$(elapsed "${work}_peer")
  else
    peer_time=$(elapsed "${work}_peer")
    ours_time=$(elapsed "${work}_ours")
    [[ $work == start ]] || check_captured "$work"
  fi
  echo "$work $ours_time $peer_time" >>"$scratch/times"
  printf 'round %d %-6s brivant %7.3f s   peer %7.3f s\n' "$round" "$work" "$ours_time" "$peer_time"
}

echo "preparing $kLines lines (100 MB) in $scratch"
{ yes "$(printf 'x%.0s' {1..99})" || true; } | head -n "$kLines" >"$scratch/lines.txt"
write_projects

for ((round = 1; round <= rounds; round++)); do
  time_pair start "$round"
  time_pair live "$round"
  time_pair spool "$round"
done

echo "median brivant / bash loop, $kPrograms x /bin/true:   $(median_ratio start)"
echo "median brivant / cat | cat, 100 MB live capture:    $(median_ratio live)"
echo "median brivant / cat | cat, 100 MB logged at end:   $(median_ratio spool)"
