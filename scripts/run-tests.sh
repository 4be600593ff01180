#!/usr/bin/env bash
# Builds one preset (release, debug, asan, tsan) with its tests and runs them all. The last lines are ctest's.
set -euo pipefail
preset=${1:?preset}
cd "$(dirname "$0")/.."
jobs=$(nproc)
cmake --preset "$preset"
cmake --build --preset "$preset" --parallel "$jobs"
exec ctest --preset "$preset" --parallel "$jobs" --no-tests=error
