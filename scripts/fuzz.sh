#!/usr/bin/env bash
# Runs every fuzz target of build/fuzz for FUZZ_SECONDS seconds each (default 60), with 512 MB of memory
# and 1 s per input (FUZZ_TARGETS="Sprite Palette" runs only those), starting from seeds made by the test
# writers, and prints what each run did. Sprites, for reading and for the encoder's round trip, may be up
# to 128 KiB, room for a frame of 8,192 rows whose rows share one stream, the road to the slow cases; an
# SLX bundle's text and two bitmaps 64 KiB; the other targets take libFuzzer's length.
# An input that crashes, leaks, runs out of memory or takes longer than its second is a failure: it lands
# in build/fuzz/crashes/<target>/ (crash-*, leak-*, oom-*, timeout-*), the run counts it, and the script exits
# 1 when any target found one. Fixed, it belongs in fuzz/crashes/<target>/. Corpora grow in build/fuzz/corpus/.
set -euo pipefail

build=build/fuzz
seconds=${FUZZ_SECONDS:-60}
read -ra targets <<<"${FUZZ_TARGETS:-Catalogue Sprite Palette TextPreview Registry Descriptions Picture SLXBundle RoundTrip Diff}"
declare -A maxLength=([Sprite]=131072 [RoundTrip]=131072 [SLXBundle]=65536)

"$build/bin/make-fuzz-seeds" "$build/seeds"
printf '%-12s %14s %10s %8s %8s %8s %16s\n' target executions exec/s cov crashes timeouts "total executions"
failed=0
for target in "${targets[@]}"; do
  name=${target,,}
  corpus=$build/corpus/$name crashes=$build/crashes/$name log=$build/logs/$name.log total=$build/totals/$name
  mkdir -p "$corpus" "$crashes" "$build/logs" "$build/totals"
  started=$build/logs/$name.started
  touch "$started"
  "$build/bin/fuzz-$name" -max_total_time="$seconds" -rss_limit_mb=512 -timeout=1 -print_final_stats=1 \
    ${maxLength[$target]:+-max_len="${maxLength[$target]}"} \
    -artifact_prefix="$crashes/" "$corpus" "$build/seeds/$target" >"$log" 2>&1 || true
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
  cov=$(grep -o 'cov: [0-9]*' "$log" | tail -1 | cut -d' ' -f2 || true)  # none when it stopped on a seed
  # What this run found; an input found again is written again, so its time tells.
  found=$(find "$crashes" -type f \( -name 'crash-*' -o -name 'leak-*' -o -name 'oom-*' \) -newer "$started" | wc -l)
  slow=$(find "$crashes" -type f -name 'timeout-*' -newer "$started" | wc -l)
  [ "$found" -eq 0 ] && [ "$slow" -eq 0 ] || failed=1
  echo $(( $(cat "$total" 2>/dev/null || echo 0) + ${runs:-0} )) >"$total"
  printf '%-12s %14s %10s %8s %8s %8s %16s\n' "$name" "${runs:-?}" "${speed:-?}" "${cov:-?}" "$found" "$slow" "$(cat "$total")"
done
exit "$failed"
