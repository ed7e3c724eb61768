#!/usr/bin/env bash
# Sets up, builds and runs kestrune-sim: Kestrune on a simulated Mac.
# Arguments go to kestrune-sim (default: the built-in crowded 14-inch laptop).
set -euo pipefail
cd "$(dirname "$0")/.."
# Setting up and building tell on standard error: standard output is the
# run's own (one JSON document with --json).
./scripts/setup.sh >&2
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target kestrune-sim >&2
exec ./build/src/sim/kestrune-sim "$@"
