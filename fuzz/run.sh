#!/usr/bin/env bash
# Runs each fuzz target for a while and sums up: used by 'make fuzz'.
#   fuzz/run.sh <build folder> <seconds per target> [target...]
# FUZZ_FLAGS adds libFuzzer flags (e.g. "-fork=1 -ignore_crashes=1" to go on after a finding).
# Each target grows its corpus in <build>/fuzz/corpus/<target>, starting from the seeds
# made at build time and those in fuzz/seeds/<target>; an input that breaks it is saved
# as fuzz/findings/<target>/crash-... (or leak-, timeout-, oom-).
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$1 seconds=$2
shift 2
targets=${*:-$(cat "$build/fuzz/targets.txt")}
total_runs=0 total_findings=0 count=0
# Crashes, leaks, timeouts and memory blow-ups are findings; libFuzzer also saves inputs
# that merely ran slowly (slow-unit-*), which on a loaded machine says nothing of the code.
count_findings() { find "$1" -maxdepth 1 \( -name 'crash-*' -o -name 'leak-*' -o -name 'timeout-*' -o -name 'oom-*' \) | wc -l; }
for t in $targets; do
  corpus=$build/fuzz/corpus/$t findings=$here/findings/$t log=$build/fuzz/logs/$t.log
  mkdir -p "$corpus" "$findings" "$build/fuzz/logs"
  seeds=()
  for d in "$build/fuzz/seeds/$t" "$here/seeds/$t"; do [ -d "$d" ] && seeds+=("$d"); done
  before=$(count_findings "$findings")
  (cd "$build/fuzz" && "$build/fuzz/bin/$t" "$corpus" "${seeds[@]}" -max_total_time="$seconds" \
      -timeout=20 -rss_limit_mb=2560 -max_len=65536 -print_final_stats=1 \
      -artifact_prefix="$findings/" ${FUZZ_FLAGS:-} >"$log" 2>&1)
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  [ -z "$runs" ] && runs=$(sed -n 's/^#\([0-9]*\): cov:.*/\1/p' "$log" | tail -1)  # -fork mode
  cov=$(grep -o 'cov: [0-9]* ft: [0-9]*' "$log" | tail -1)
  found=$(( $(count_findings "$findings") - before ))
  [ -z "$(ls -A "$findings")" ] && rmdir "$findings"
  echo "$t: ${runs:-0} executions, ${cov:-cov: ? ft: ?}, $found findings$( [ "$found" -gt 0 ] && echo " (log: $log)")"
  total_runs=$((total_runs + ${runs:-0})) total_findings=$((total_findings + found)) count=$((count + 1))
done
echo "fuzz: $count targets, $total_runs executions, $total_findings findings"
[ "$total_findings" -eq 0 ]
