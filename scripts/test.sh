#!/usr/bin/env bash
# Sets up, builds and runs the whole test suite: once as it ships, once under
# AddressSanitizer + UndefinedBehaviorSanitizer, once under ThreadSanitizer;
# then fuzzes the decoders of stored data for a bounded time.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/setup.sh

run_suite() {
  local dir=$1
  shift
  echo "== $dir"
  cmake -S . -B "$dir" -G Ninja "$@" >/dev/null
  cmake --build "$dir"
  ctest --test-dir "$dir" --output-on-failure -j "$(nproc)"
}

run_suite build -DCMAKE_BUILD_TYPE=RelWithDebInfo
UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  LSAN_OPTIONS="suppressions=$PWD/scripts/lsan.supp:print_suppressions=0" \
  run_suite build-asan -DCMAKE_BUILD_TYPE=Debug -DKESTRUNE_SANITIZE=address \
  -DKESTRUNE_BUILD_BENCHMARKS=OFF
TSAN_OPTIONS=halt_on_error=1 \
  run_suite build-tsan -DCMAKE_BUILD_TYPE=Debug -DKESTRUNE_SANITIZE=thread \
  -DKESTRUNE_BUILD_BENCHMARKS=OFF

echo "== fuzz"
./scripts/fuzz.sh 20
