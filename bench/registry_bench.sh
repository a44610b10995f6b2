#!/usr/bin/env bash
# Times registry reads and writes through `brivant run`: a file iterator
# over 10,000 empty files runs one Read Registry Value (reads) or one Set
# Registry Value of the file's name (writes) per file, each its own
# transaction on one store. A third project runs the same loop with the
# child disabled (base), so the time per operation is
# (reads - base) / 10,000 and (writes - base) / 10,000.
# Goals: a read under 20 us, a write under 200 us. The store runs in WAL
# mode; the script checks the file says so.
#
# Usage: bench/registry_bench.sh [BRIVANT] [ROUNDS]
#   BRIVANT  the brivant binary (default build/brivant); nothing is built here
#   ROUNDS   rounds to run (default 3)
set -euo pipefail

readonly kOperations=10000

brivant=${1:-build/brivant}
rounds=${2:-3}

bench_name=registry_bench
source "$(dirname "$0")/bench_lib.sh"
start_bench TFileIterator TReadRegValueAction TSetRegValueAction
export BRIVANT_REGISTRY=$scratch/registry.db

mkdir "$scratch/items"
for ((i = 0; i < kOperations; i++)); do : >"$scratch/items/$i"; done

# project NAME ENABLED CHILD_CLASS
project() {
  cat >"$scratch/$1.bvproj" <<XML
<Project>
  <Variables><Variable Name="F"/><Variable Name="V"/></Variables>
  <Actions>
    <Action Class="TFileIterator">
      <Property Name="FileSpec">$scratch/items/*</Property>
      <Property Name="VariableName">F</Property>
      <Property Name="IncludeFilePath">False</Property>
      <Actions>
        <Action Class="$3" Enabled="$2">
          <Property Name="RegRoot">HKEY_CURRENT_USER</Property>
          <Property Name="RegKey">Software\\Brivant\\Bench</Property>
          <Property Name="RegValueName">Value</Property>
          $([[ $3 == TSetRegValueAction ]] && echo '<Property Name="RegValue">%F%</Property>' ||
            echo '<Property Name="BVVariable">V</Property>')
        </Action>
      </Actions>
    </Action>
  </Actions>
</Project>
XML
}
project base False TReadRegValueAction
project reads True TReadRegValueAction
project writes True TSetRegValueAction

"$brivant" registry set 'HKCU\Software\Brivant\Bench' -v Value -d seed
# Bytes 18 and 19 of a SQLite file are 2 in WAL mode.
[[ $(od -An -tu1 -j18 -N2 "$BRIVANT_REGISTRY" | tr -s ' ') == " 2 2" ]] ||
  die "the store is not in WAL mode"

: >"$scratch/times"
for ((round = 0; round < rounds; round++)); do
  for work in base reads writes; do
    echo "$work $(elapsed "$brivant" run "$scratch/$work.bvproj" --log json)" >>"$scratch/times"
  done
done
[[ $(grep -c '"text":"Set Value Value to : ' "$scratch/last.log") -eq $kOperations ]] ||
  die "the last run did not do its $kOperations writes"

for work in base reads writes; do
  awk -v w=$work '$1 == w { print $2 }' "$scratch/times" | median >"$scratch/$work.median"
done
base=$(<"$scratch/base.median")
for work in reads writes; do
  awk -v w=$work -v t="$(<"$scratch/$work.median")" -v b="$base" -v n=$kOperations \
    'BEGIN { printf "%-6s %8.3f s  base %8.3f s  per operation %7.1f us\n", w, t, b, (t - b) / n * 1e6 }'
done
