#!/usr/bin/env bash
# Builds the fuzz targets with clang (libFuzzer, AddressSanitizer,
# UndefinedBehaviorSanitizer) in build-fuzz and runs each for SECONDS
# (default 30). New inputs go to build-fuzz/corpus; the seeds in
# fuzz/corpus are only read. Fails on the first crash, leaving the input
# that caused it in build-fuzz.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-30}

command -v clang++ >/dev/null || { echo "clang++ is needed (apt-get install clang)"; exit 1; }
CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DKESTRUNE_FUZZ=ON -DKESTRUNE_BUILD_TESTS=OFF -DKESTRUNE_BUILD_BENCHMARKS=OFF \
  -DKESTRUNE_BUILD_SIM=OFF >/dev/null

for source in fuzz/*_fuzz.cpp; do
  target=$(basename "$source" .cpp)
  name=${target%_fuzz}
  cmake --build build-fuzz --target "$target"
  mkdir -p "build-fuzz/corpus/$name"
  options=(-max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="build-fuzz/$target-")
  [ -f "fuzz/$name.dict" ] && options+=(-dict="fuzz/$name.dict")
  echo "== $target for ${seconds}s"
  "build-fuzz/fuzz/$target" "${options[@]}" "build-fuzz/corpus/$name" "fuzz/corpus/$name"
done
