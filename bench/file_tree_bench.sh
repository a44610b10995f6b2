#!/usr/bin/env bash
# Times the copy and delete-tree actions against the tools a user would
# otherwise run: `brivant run` of a one-action project against `cp -r` for
# copying a tree, and against `rm -rf` for deleting one. The tree is 10,000
# small files (100 directories of 100 files, 1-8 KiB) plus five 100 MiB
# files. Each round times ours and the peer back to back, swapping who goes
# first, and the script ends with the median of the per-round ratios (the
# goals: copy no slower than `cp -r`, delete within 1.2 x `rm -rf`).
#
# Usage: bench/file_tree_bench.sh [BRIVANT] [ROUNDS]
#   BRIVANT  the brivant binary (default build/brivant); nothing is built here
#   ROUNDS   rounds to run (default 3)
# Needs about 5 GiB free in $TMPDIR (default /tmp; a tmpfs there times the
# copy without the disk). Everything it makes is removed at the end.
#
# Deleting many files and then creating many at once is several times slower
# on the benchmark machines' /tmp (freed inodes come back only after
# minutes), so nothing is deleted between timed runs: old copies are renamed
# into a trash directory and removed at the very end. Both delete runs get
# identical inputs, fresh `cp -r` copies, and every timed run starts after a
# sync.
set -euo pipefail

readonly kSmallDirectories=100
readonly kFilesPerDirectory=100
readonly kLargeFiles=5
readonly kLargeMiB=100

brivant=${1:-build/brivant}
rounds=${2:-3}

bench_name=file_tree_bench
source "$(dirname "$0")/bench_lib.sh"
free_kib=$(df -Pk "${TMPDIR:-/tmp}" | awk 'NR == 2 { print $4 }')
((free_kib > 5 * 1024 * 1024)) || die "/tmp has $((free_kib >> 20)) GiB free; the bench needs 5"

start_bench TCopyFilesAction TDeleteDirectoryAction
mkdir "$scratch/trash"

# Source tree. Written by bash builtins alone: a process per file would take
# longer than the benchmark. Sizes come from a fixed seed, so every run of
# the script copies the same tree.
make_source_tree() {
  local source=$1 text='' directory file
  RANDOM=20240601
  while ((${#text} < 8192)); do text+="brivant file tree bench $RANDOM$RANDOM "; done
  mkdir "$source"
  for ((directory = 0; directory < kSmallDirectories; directory++)); do
    mkdir "$source/dir$directory"
    for ((file = 0; file < kFilesPerDirectory; file++)); do
      printf '%s' "${text:0:1024 + RANDOM % 7169}" >"$source/dir$directory/file$file.txt"
    done
  done
  for ((file = 1; file <= kLargeFiles; file++)); do
    head -c $((kLargeMiB << 20)) /dev/urandom >"$source/large$file.bin"
  done
}

write_projects() {
  cat >"$scratch/copy.bvproj" <<'EOF'
<Project>
  <Actions>
    <Action Class="TCopyFilesAction" Title="Copy the tree">
      <Property Name="FileSpec">%SOURCE%/*</Property>
      <Property Name="Target">%TARGET%</Property>
      <Property Name="Recurse">True</Property>
      <Property Name="LogFilesAffected">True</Property>
      <Property Name="Force">True</Property>
    </Action>
  </Actions>
</Project>
EOF
  cat >"$scratch/delete.bvproj" <<'EOF'
<Project>
  <Actions>
    <Action Class="TDeleteDirectoryAction" Title="Delete the tree">
      <Property Name="FileOrDirectory">%TARGET%</Property>
      <Property Name="DeleteTree">True</Property>
    </Action>
  </Actions>
</Project>
EOF
}

# Whatever the previous run left to write back goes to disk first, so that
# no run pays for another's writes.
synced_elapsed() {
  sync
  elapsed "$@"
}

# "files bytes" of a tree, to check a copy without timing it.
tree_summary() {
  find "$1" -type f -printf '%s\n' | awk '{ files++; bytes += $1 } END { print files + 0, bytes + 0 }'
}

check_copy() {
  local copy=$1 expected actual
  expected=$(tree_summary "$scratch/source")
  actual=$(tree_summary "$copy")
  [[ $actual == "$expected" ]] || die "$copy holds $actual (files bytes), the source $expected"
}

check_deleted() {
  [[ ! -e $1 ]] || die "$1 is still there after the delete"
}

copy_ours() { "$brivant" run "$scratch/copy.bvproj" -D "SOURCE=$scratch/source" -D "TARGET=$1"; }
copy_peer() { cp -r "$scratch/source" "$1"; }
delete_ours() { "$brivant" run "$scratch/delete.bvproj" -D "TARGET=$1"; }
delete_peer() { rm -rf "$1"; }

# Times `$1_ours` and `$1_peer` on their targets, ours first in odd rounds,
# and records "work ours peer" in $scratch/times.
time_pair() {
  local work=$1 round=$2 ours_target=$3 peer_target=$4 ours_time peer_time
  if ((round % 2 == 1)); then
    ours_time=$(synced_elapsed "${work}_ours" "$ours_target")
    peer_time=$(synced_elapsed "${work}_peer" "$peer_target")
  else
    peer_time=$(synced_elapsed "${work}_peer" "$peer_target")
    ours_time=$(synced_elapsed "${work}_ours" "$ours_target")
  fi
  echo "$work $ours_time $peer_time" >>"$scratch/times"
  printf 'round %d %-6s brivant %7.3f s   peer %7.3f s\n' "$round" "$work" "$ours_time" "$peer_time"
}

echo "preparing $((kSmallDirectories * kFilesPerDirectory)) small and $kLargeFiles large files in $scratch"
make_source_tree "$scratch/source"
write_projects
sync

for ((round = 1; round <= rounds; round++)); do
  time_pair copy "$round" "$scratch/copy-ours" "$scratch/copy-peer"
  check_copy "$scratch/copy-ours"
  check_copy "$scratch/copy-peer"
  mv "$scratch/copy-ours" "$scratch/trash/copy-ours-$round"
  mv "$scratch/copy-peer" "$scratch/trash/copy-peer-$round"

  cp -r "$scratch/source" "$scratch/delete-ours"
  cp -r "$scratch/source" "$scratch/delete-peer"
  time_pair delete "$round" "$scratch/delete-ours" "$scratch/delete-peer"
  check_deleted "$scratch/delete-ours"
  check_deleted "$scratch/delete-peer"
done

echo "median brivant / cp -r:  $(median_ratio copy)   (goal: at most 1.00)"
echo "median brivant / rm -rf: $(median_ratio delete)   (goal: at most 1.20)"
