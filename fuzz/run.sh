#!/usr/bin/env bash
# Runs every fuzz target of build/fuzz for SECONDS seconds each (default 60), starting from the
# seeds in fuzz/corpus and from what earlier runs on this machine added (build/fuzz/corpus, kept out
# of the repository). Any crash, sanitizer report, hang or memory blow-up fails the run; the input
# that caused it is left in build/fuzz/artifacts and becomes a regression test: copy it to
# fuzz/regressions/TARGET/ and add a test that states the rule it broke.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-60}"
targets=(load checks attr report)
build=build/fuzz

for target in "${targets[@]}"; do
  binary="$build/fuzz/${target}_fuzzer"
  corpus="$build/corpus/$target"
  artifacts="$build/artifacts"
  mkdir -p "$corpus" "$artifacts"
  echo "== ${target}_fuzzer: ${seconds}s"
  if ! "$binary" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=16384 \
      -print_final_stats=1 -dict=fuzz/velmora.dict -artifact_prefix="$artifacts/$target-" \
      "$corpus" "fuzz/corpus/$target" > "$build/$target.log" 2>&1; then
    tail -n 60 "$build/$target.log"
    echo "${target}_fuzzer found a problem; reproduce with: $binary $artifacts/$target-*" >&2
    exit 1
  fi
  grep -E '^(#[0-9]+[[:space:]]+DONE|stat::number_of_executed_units|Done )' "$build/$target.log" || true
done
echo "fuzzing: ${#targets[@]} targets, ${seconds}s each, no finding"
