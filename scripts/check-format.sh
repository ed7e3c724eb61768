#!/usr/bin/env bash
# Fails when a source file is not clang-formatted.
set -euo pipefail
cd "${1:-.}"
bad=$(git ls-files '*.cpp' '*.hpp' '*.mm' '*.h' | xargs -r clang-format --dry-run -Werror 2>&1 |
  grep -oE '^[^:]+\.(cpp|hpp|mm|h):' | sort -u || true)
if [ -n "$bad" ]; then
  echo "Not clang-formatted (run clang-format -i on them):"
  echo "$bad"
  exit 1
fi
echo "all sources are clang-formatted"
