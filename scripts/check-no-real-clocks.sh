#!/usr/bin/env bash
# Fails when feature code reads a real clock or sleeps: time comes from the
# executors, so that tests can run it virtually. Only the executors that
# implement real time may do either.
set -euo pipefail
root=${1:-.}
cd "$root"
allowed='^src/core/thread_executors\.cpp$|^src/mac/gcd_executors\.mm$'
hits=$(grep -rnE 'steady_clock::now|system_clock::now|high_resolution_clock::now|sleep_for|sleep_until|usleep\(|nanosleep\(|[^_a-zA-Z]sleep\(' \
  --include='*.cpp' --include='*.hpp' --include='*.mm' --include='*.h' src tests 2>/dev/null |
  cut -d: -f1-2 | while IFS=: read -r file line; do
    [[ "$file" =~ $allowed ]] || echo "$file:$line"
  done)
if [ -n "$hits" ]; then
  echo "Real clocks or sleeps outside the executors:"
  echo "$hits"
  exit 1
fi
echo "no real clocks or sleeps outside the executors"
