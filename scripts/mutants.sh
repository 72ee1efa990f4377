#!/usr/bin/env bash
# Measures what the tests catch: plants each fault of a list, one at a time, in a scratch copy of the
# tree, builds it as `make test` does, runs the tests, and says which faults no test caught.
#
#   scripts/mutants.sh [LIST] [FILTER]
#
# LIST (default scripts/mutants.txt) holds a fault a line, fields divided by tabs:
#   file:line   text on that line   what it becomes
# The line number is a hint: when the code has moved, the text is looked for in the whole file, and
# must stand there once. '#' starts a comment line. FILTER, a grep pattern, picks some lines only.
#
# Prints a line per fault (caught, MISSED, or stale when its text is gone, or no build when the fault
# doesn't compile) and the score; the missed ones also go to build/mutants/missed.txt and the caught
# ones to build/mutants/caught.txt. A missed fault that scripts/mutants-caught.txt lists (the faults
# the tests caught when the list was first run, kept so that a change of the tests can't lose one
# unseen) is LOST, and the script then exits 1. The working tree is never touched.
#
# To try a few faults against some tests only: TARGETS="cli_tests brindle-cli" builds just those
# targets, and TESTS (a ctest -R pattern) runs just the tests that match.
#
# KILLS=1 runs every test on every fault instead of stopping at the first failure, and writes to
# build/mutants/kills.txt the fault and, after a tab, the tests that caught it (a window test by its
# test function): the map to read before cutting tests, to see which fault only one test catches.
#
# TIMEOUT (default 300) is the seconds a test may run before it counts as failed: a fault that makes a
# loop endless costs that much for every test it hangs, more so under KILLS.
#
# WORK (default build/mutants) is where the copy, its build and the results go; runs with a WORK each
# can go on side by side.

set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
list=${1:-$root/scripts/mutants.txt}
filter=${2:-}
kept=$root/scripts/mutants-caught.txt
work=${WORK:-$root/build/mutants}
copy=$work/tree
build=$work/build
jobs=${JOBS:-$(nproc)}
timeout=${TIMEOUT:-300}
read -ra targets <<<"${TARGETS:-all}"
only=(${TESTS:+-R "$TESTS"})

[ -f "$list" ] || { echo "mutants.sh: $list: no such list" >&2; exit 2; }
# The copy follows the working tree by content: a file that differs from it (changed since, or left
# with a fault by a stopped run) is written anew and so rebuilt; the others keep their mtimes, so that
# nothing is rebuilt needlessly, whatever tree the last build came from.
stage=$work/stage
rm -rf "$stage" && mkdir -p "$stage" "$copy"
tar -C "$root" --exclude=./build --exclude=./.git -cf - . | tar -C "$stage" -xf -
(cd "$stage" && find . -type f) | while read -r f; do
  cmp -s "$stage/$f" "$copy/$f" || { mkdir -p "$(dirname "$copy/$f")" && cp "$stage/$f" "$copy/$f"; }
done
(cd "$copy" && find . -type f) | while read -r f; do [ -e "$stage/$f" ] || rm "$copy/$f"; done
# Every fault relinks a score of programs: lld, where there is one, does it several times faster.
linker=()
command -v ld.lld >/dev/null && linker=(-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld)
if [ ! -f "$build/build.ninja" ]; then
  cmake -S "$copy" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBRINDLE_SANITIZE=ON "${linker[@]}" >/dev/null
fi
echo "building the unchanged tree..."
cmake --build "$build" -j "$jobs" --target "${targets[@]}" >/dev/null
(cd "$build" && ctest -j "$jobs" --timeout "$timeout" "${only[@]}" >/dev/null) || { echo "mutants.sh: the tests fail without a fault planted" >&2; exit 1; }

: >"$work/caught.txt"
: >"$work/missed.txt"
[ -n "${KILLS:-}" ] && : >"$work/kills.txt"
stop=(--stop-on-failure)
[ -n "${KILLS:-}" ] && stop=()
caught=0 missed=0 stale=0 unbuilt=0 lost=0

# Replaces the first `from` on line `at` of file (1-based); false when the line doesn't hold it.
plant() {
  local file=$1 at=$2 from=$3 to=$4
  mapfile -t lines <"$file"
  local line=${lines[at - 1]-}
  [[ $line == *"$from"* ]] || return 1
  lines[at - 1]=${line/"$from"/"$to"}
  printf '%s\n' "${lines[@]}" >"$file"
}

# The tests of the last run that failed: GoogleTest cases by their name, window tests by their failed
# functions (the program's name alone when it died before saying which).
failed_tests() {
  local log=$build/Testing/Temporary
  {
    grep -oE '^FAIL!  : [A-Za-z0-9_]+::[A-Za-z0-9_]+' "$log/LastTest.log" | cut -c10-
    cut -d: -f2- "$log/LastTestsFailed.log" | while read -r name; do
      grep -q "^FAIL!  : ${name%QTest}Test::" "$log/LastTest.log" || echo "$name"
    done
  } | sort -u | tr '\n' ' '
}

# The list comes in on descriptor 3: the builds and the tests get no standard input of the list's.
while IFS=$'\t' read -r -u 3 place from to; do
  [[ -z $place || $place == \#* ]] && continue
  [[ -n $filter ]] && ! grep -q -- "$filter" <<<"$place	$from	$to" && continue
  file=${place%%:*}
  hint=${place##*:}
  target=$copy/$file
  if [ ! -f "$target" ]; then
    echo "stale     $place (no such file)"; stale=$((stale + 1)); continue
  fi
  at=$hint
  if ! sed -n "${hint}p" "$target" | grep -qF -- "$from"; then
    mapfile -t found < <(grep -nF -- "$from" "$target" | cut -d: -f1)
    if [ "${#found[@]}" -ne 1 ]; then
      echo "stale     $place: '$from' stands ${#found[@]} times"; stale=$((stale + 1)); continue
    fi
    at=${found[0]}
  fi
  cp -p "$target" "$work/original"
  plant "$target" "$at" "$from" "$to"
  verdict=
  if ! cmake --build "$build" -j "$jobs" --target "${targets[@]}" >/dev/null 2>&1; then
    verdict="no build"; unbuilt=$((unbuilt + 1))
  elif (cd "$build" && ctest -j "$jobs" --timeout "$timeout" "${stop[@]}" "${only[@]}" >/dev/null 2>&1); then
    verdict="MISSED"; missed=$((missed + 1)); printf '%s\t%s\t%s\n' "$file:$at" "$from" "$to" >>"$work/missed.txt"
    if [ -f "$kept" ] && sed 's/:[0-9]*\t/\t/' "$kept" | grep -qxF -- "$file	$from	$to"; then
      verdict="LOST"; lost=$((lost + 1))
    fi
  else
    verdict="caught"; caught=$((caught + 1)); printf '%s\t%s\t%s\n' "$file:$at" "$from" "$to" >>"$work/caught.txt"
    [ -n "${KILLS:-}" ] && printf '%s\t%s\t%s\t%s\n' "$file:$at" "$from" "$to" "$(failed_tests)" >>"$work/kills.txt"
  fi
  cp "$work/original" "$target"
  touch "$target"  # newer than what the fault built, so the next build takes it back
  printf '%-9s %s: %s -> %s\n' "$verdict" "$file:$at" "$from" "$to"
done 3<"$list" </dev/null

cmake --build "$build" -j "$jobs" --target "${targets[@]}" >/dev/null 2>&1 || true
total=$((caught + missed))
echo
echo "caught $caught of $total faults$([ $total -gt 0 ] && echo " ($((100 * caught / total)) %)"); $stale stale, $unbuilt did not build"
echo "missed: $work/missed.txt"
[ "$lost" -eq 0 ] || { echo "$lost of them caught once and LOST since"; exit 1; }
