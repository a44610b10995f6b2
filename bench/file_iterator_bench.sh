#!/usr/bin/env bash
# Times the file iterator over a tree of 100,000 files (1,000 directories
# three levels deep, 100 empty files each) through `brivant run`, against
# `find DIR -type f | wc -l` in the same rounds. Three projects:
#   list   the iterator builds and logs its list, then a script in the first
#          pass calls Reset, so the loop ends: the listing alone (goal: within
#          1.5 x find);
#   any    the same with FindAnyFile, which needs no attribute word per file:
#          the same information find reads;
#   loop   every file iterated, the one child action disabled: the host's own
#          cost per iteration is (loop - list) / 100,000;
#   child  every file iterated with an enabled child that checks the file
#          exists (one lstat and one log line): what a real small child adds.
# Each round runs the four commands, rotating who goes first, and the script
# ends with the medians.
#
# Usage: bench/file_iterator_bench.sh [BRIVANT] [ROUNDS]
#   BRIVANT  the brivant binary (default build/brivant); nothing is built here
#   ROUNDS   rounds to run (default 5)
# Needs about 500 MiB free in /tmp (inodes mostly). Removed at the end.
set -euo pipefail

readonly kTopDirectories=10
readonly kFilesPerDirectory=100

brivant=${1:-build/brivant}
rounds=${2:-5}

bench_name=file_iterator_bench
source "$(dirname "$0")/bench_lib.sh"
start_bench TFileIterator
tree=$scratch/tree

# Written by bash builtins alone: a process per file would take longer than
# the benchmark.
make_tree() {
  local a b c f directory
  for ((a = 0; a < kTopDirectories; a++)); do
    for ((b = 0; b < 10; b++)); do
      for ((c = 0; c < 10; c++)); do
        directory=$tree/a$a/b$b/c$c
        mkdir -p "$directory"
        for ((f = 0; f < kFilesPerDirectory; f++)); do : >"$directory/file$f.dat"; done
      done
    done
  done
}

write_project() {
  local name=$1 child=$2 options=${3:-}
  cat >"$scratch/$name.bvproj" <<EOF
<Project>
  <Actions>
    <Action Class="TFileIterator" Title="Each file">
      <Property Name="VariableName">F</Property>
      <Property Name="FileSpec">%TREE%/*</Property>
      <Property Name="Recurse">True</Property>$options
      <Actions>
$child
      </Actions>
    </Action>
  </Actions>
</Project>
EOF
}

write_projects() {
  echo "one line" >"$scratch/one-line.txt"
  local end_loop='        <Action Class="TBVReadTextFileAction" Title="End the loop">
          <Property Name="FileName">%ONE_LINE%</Property>
          <Script Name="OnReadLine">Brivant.getAction("Each file").Reset();</Script>
        </Action>'
  write_project list "$end_loop"
  write_project any "$end_loop" '
      <Property Name="FindAnyFile">True</Property>'
  write_project loop '        <Action Class="TFileExistsAction" Title="Nothing" Enabled="False">
          <Property Name="FileOrDirectory">%F%</Property>
        </Action>'
  write_project child '        <Action Class="TFileExistsAction" Title="Check">
          <Property Name="FileOrDirectory">%F%</Property>
        </Action>'
}

run_ours() {
  "$brivant" run "$scratch/$1.bvproj" -D "TREE=$tree" -D "ONE_LINE=$scratch/one-line.txt"
}
list_ours() { run_ours list; }
any_ours() { run_ours any; }
loop_ours() { run_ours loop; }
child_ours() { run_ours child; }
find_peer() { find "$tree" -type f | wc -l; }

files=$((kTopDirectories * 100 * kFilesPerDirectory))
echo "preparing $files files in $tree"
make_tree
write_projects
[[ $(find_peer) -eq $files ]] || die "the tree does not hold $files files"
# The listing must be complete: its count line says so.
list_ours >"$scratch/check.log" 2>&1 || die "the list project failed: $(tail -n 5 "$scratch/check.log")"
grep -q "Found $files Files." "$scratch/check.log" || die "the iterator did not find $files files"
# Warm the caches once, as every timed run after it finds them warm.
find_peer >/dev/null

commands=(list_ours any_ours loop_ours child_ours find_peer)
for ((round = 1; round <= rounds; round++)); do
  line="round $round"
  for ((i = 0; i < ${#commands[@]}; i++)); do
    command=${commands[(i + round) % ${#commands[@]}]}
    seconds=$(elapsed "$command")
    echo "$command $seconds" >>"$scratch/times"
    line+="  $command $seconds s"
  done
  echo "$line"
done

for command in "${commands[@]}"; do
  eval "m_$command=$(awk -v c="$command" '$1 == c { print $2 }' "$scratch/times" | median)"
done
# Ratios and differences per round, then their medians.
awk -v n="$files" '
  { by[$1, ++count[$1]] = $2 }
  END {
    for (r = 1; r <= count["find_peer"]; r++) {
      printf "%.4f %.4f %.4f %.4f\n", by["list_ours", r] / by["find_peer", r],
        (by["loop_ours", r] - by["list_ours", r]) / n * 1e6,
        (by["child_ours", r] - by["list_ours", r]) / n * 1e6,
        by["any_ours", r] / by["find_peer", r]
    }
  }' "$scratch/times" >"$scratch/derived"
echo "median times: list $m_list_ours s, any $m_any_ours s, loop $m_loop_ours s, child $m_child_ours s, find $m_find_peer s"
echo "median brivant list / find:          $(cut -d' ' -f1 "$scratch/derived" | median)   (goal: at most 1.50)"
echo "median list with FindAnyFile / find: $(cut -d' ' -f4 "$scratch/derived" | median)"
echo "median host cost per iteration:      $(cut -d' ' -f2 "$scratch/derived" | median) us"
echo "median cost per iteration with child: $(cut -d' ' -f3 "$scratch/derived" | median) us"
