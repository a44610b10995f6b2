#!/usr/bin/env bash
# Concurrency check of the Mutex/Lock File container and the registry store
# with real builds: 8 `brivant run` processes at once, each 200 times
#   file    read a counter file, add one, write it back (a shell command)
#           inside a Mutex container in file-lock mode;
#   global  the same in global-mutex mode;
#   registry  Read Registry Value, add one, Set Registry Value, inside a
#           global mutex; no run may see "database is locked".
# Each must end at 1,600. Then: a holder killed with SIGKILL must let the
# next waiter in within a second, and SIGINT during a wait must end it with
# "Stopped." and leave nothing held. Prints the counts and times.
#
# Usage: bench/mutex_concurrency.sh [BRIVANT]
set -euo pipefail

readonly kBuilds=8
readonly kIncrements=200

brivant=${1:-build/brivant}
rounds=1
bench_name=mutex_concurrency
source "$(dirname "$0")/bench_lib.sh"
start_bench TBVMutexAction TFileIterator TRunDosCMDAction TReadRegValueAction
export BRIVANT_REGISTRY=$scratch/registry.db XDG_RUNTIME_DIR=$scratch/locks
mkdir "$scratch/items" "$scratch/locks"
for ((i = 0; i < kIncrements; i++)); do : >"$scratch/items/$i"; done

# mutex MODE CHILDREN: a Mutex container with the children's XML.
mutex() {
  local target
  if [[ $1 == file ]]; then
    target='<Property Name="Mode">mmFileLock</Property>
      <Property Name="FileName">'"$scratch"'/counter.lock</Property>'
  else
    target='<Property Name="Mode">mmGlobalMutex</Property>
      <Property Name="MutexName">bench-'"$$"'</Property>'
  fi
  echo "<Action Class=\"TBVMutexAction\">$target<Actions>$2</Actions></Action>"
}

shell() {
  echo "<Action Class=\"TRunDosCMDAction\"><Property Name=\"Command\">$1</Property></Action>"
}

# loop CHILDREN: the children once per item, in a project file on stdout.
loop() {
  cat <<XML
<Project>
  <Variables><Variable Name="F"/><Variable Name="N" Type="Integer" Value="0"/>
    <Variable Name="M"/><Variable Name="ME"/></Variables>
  <Actions>
    <Action Class="TFileIterator">
      <Property Name="FileSpec">$scratch/items/*</Property>
      <Property Name="VariableName">F</Property>
      <Actions>$1</Actions>
    </Action>
  </Actions>
</Project>
XML
}

increment_file="n=\`cat $scratch/counter\`; echo \`expr \$n + 1\` &gt; $scratch/counter"
loop "$(mutex file "$(shell "$increment_file")")" >"$scratch/file.bvproj"
loop "$(mutex global "$(shell "$increment_file")")" >"$scratch/global.bvproj"
registry_children='
  <Action Class="TReadRegValueAction"><Property Name="RegKey">Software\Bench</Property>
    <Property Name="RegValueName">Count</Property><Property Name="RegValType">rtInteger</Property>
    <Property Name="BVVariable">N</Property></Action>
  '"$(shell "echo -n \`expr %N% + 1\` &gt; $scratch/next.%ME%")"'
  <Action Class="TBVReadTextFileAction"><Property Name="FileName">'"$scratch"'/next.%ME%</Property>
    <Property Name="PutContentsInVar">True</Property><Property Name="BVVariable">M</Property></Action>
  <Action Class="TSetRegValueAction"><Property Name="RegKey">Software\Bench</Property>
    <Property Name="RegValueName">Count</Property><Property Name="RegValType">rtInteger</Property>
    <Property Name="RegValue">%M%</Property></Action>'
loop "$(mutex global "$registry_children")" >"$scratch/registry.bvproj"

# Runs the project in kBuilds builds at once; fails when any build fails.
run_builds() {
  local pids=() k status=0
  for ((k = 0; k < kBuilds; k++)); do
    "$brivant" run "$scratch/$1.bvproj" -D ME=$k --log json >"$scratch/$1.$k.log" 2>&1 &
    pids+=($!)
  done
  for k in "${!pids[@]}"; do
    wait "${pids[$k]}" || { status=1; tail -n 5 "$scratch/$1.$k.log" >&2; }
  done
  return $status
}

for work in file global registry; do
  echo 0 >"$scratch/counter"
  "$brivant" registry set 'HKLM\Software\Bench' -v Count -t REG_DWORD -d 0
  start=$EPOCHREALTIME
  run_builds $work || die "a $work build failed"
  seconds=$(awk -v s="$start" -v e="$EPOCHREALTIME" 'BEGIN { printf "%.1f", e - s }')
  if [[ $work == registry ]]; then
    count=$("$brivant" registry query 'HKLM\Software\Bench' -v Count | awk 'NR == 2 { print $3 }')
    count=$((count))
    ! grep -l "database is locked" "$scratch"/registry.*.log || die "a build saw the store locked"
  else
    count=$(<"$scratch/counter")
  fi
  echo "$work: $kBuilds builds x $kIncrements increments = $count (expected $((kBuilds * kIncrements)), ${seconds} s)"
  ((count == kBuilds * kIncrements)) || die "updates were lost in $work mode"
done

# A holder that dies without releasing, then a waiter.
cat >"$scratch/hold.bvproj" <<XML
<Project><Actions>$(mutex global "$(shell "touch $scratch/held; sleep 5")")</Actions></Project>
XML
cat >"$scratch/wait.bvproj" <<XML
<Project><Actions>$(mutex global "$(shell "date +%%s.%%N &gt; $scratch/entered")")</Actions></Project>
XML
"$brivant" run "$scratch/hold.bvproj" >/dev/null 2>&1 &
holder_pid=$!
until [[ -e $scratch/held ]]; do sleep 0.05; done
"$brivant" run "$scratch/wait.bvproj" >"$scratch/wait.log" 2>&1 &
waiter_pid=$!
sleep 0.5
killed=$EPOCHREALTIME
kill -KILL $holder_pid
wait $holder_pid 2>/dev/null || true
wait $waiter_pid || die "the waiter failed after the holder was killed"
awk -v k="$killed" -v e="$(<"$scratch/entered")" \
  'BEGIN { d = e - k; printf "SIGKILL of the holder: the waiter entered after %.3f s\n", d; exit d < 1 ? 0 : 1 }' ||
  die "the waiter took a second or more"

# SIGINT during a wait.
rm -f "$scratch/held"
"$brivant" run "$scratch/hold.bvproj" >/dev/null 2>&1 &
holder_pid=$!
until [[ -e $scratch/held ]]; do sleep 0.05; done
"$brivant" run "$scratch/wait.bvproj" --log json >"$scratch/stopped.log" 2>&1 &
waiter_pid=$!
sleep 0.5
kill -INT $waiter_pid
status=0
wait $waiter_pid || status=$?
grep -q '"tag":"stError","text":"Stopped."' "$scratch/stopped.log" || die "no Stopped. line"
wait $holder_pid
cat >"$scratch/check.bvproj" <<XML
<Project><Actions><Action Class="TBVMutexAction"><Property Name="Mode">mmGlobalMutex</Property>
  <Property Name="MutexName">bench-$$</Property><Property Name="EnableTimeout">True</Property>
</Action></Actions></Project>
XML
"$brivant" run "$scratch/check.bvproj" >/dev/null 2>&1 || die "the lock is still held after the stop"
echo "SIGINT during a wait: exit status $status, \"Stopped.\" logged, nothing left held"
