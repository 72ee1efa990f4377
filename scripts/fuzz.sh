#!/usr/bin/env bash
# Runs every fuzz target of build/fuzz for FUZZ_SECONDS seconds each (default 60), with 512 MB of memory
# and 1 s per input (FUZZ_TARGETS="Sprite Palette" runs only those), starting from seeds made by the test writers, and prints what each run did.
# Corpora grow in build/fuzz/corpus/; inputs that crashed land in build/fuzz/crashes/<target>/ and
# belong, once fixed, in fuzz/crashes/<target>/.
set -euo pipefail

build=build/fuzz
seconds=${FUZZ_SECONDS:-60}
read -ra targets <<<"${FUZZ_TARGETS:-Catalogue Sprite Palette TextPreview Registry Descriptions}"

"$build/bin/make-fuzz-seeds" "$build/seeds"
printf '%-12s %14s %10s %8s %8s %16s\n' target executions exec/s cov crashes "total executions"
for target in "${targets[@]}"; do
  name=${target,,}
  corpus=$build/corpus/$name crashes=$build/crashes/$name log=$build/logs/$name.log total=$build/totals/$name
  mkdir -p "$corpus" "$crashes" "$build/logs" "$build/totals"
  "$build/bin/fuzz-$name" -max_total_time="$seconds" -rss_limit_mb=512 -timeout=1 -print_final_stats=1 \
    -artifact_prefix="$crashes/" "$corpus" "$build/seeds/$target" >"$log" 2>&1 || true
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
  cov=$(grep -o 'cov: [0-9]*' "$log" | tail -1 | cut -d' ' -f2)
  found=$(find "$crashes" -type f | wc -l)
  echo $(( $(cat "$total" 2>/dev/null || echo 0) + ${runs:-0} )) >"$total"
  printf '%-12s %14s %10s %8s %8s %16s\n' "$name" "${runs:-?}" "${speed:-?}" "${cov:-?}" "$found" "$(cat "$total")"
done
