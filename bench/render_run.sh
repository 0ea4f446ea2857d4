#!/usr/bin/env bash
# Builds and runs the capture renderer benchmark (it starts its own private Xvfb).
#   bench/render_run.sh [iterations]
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${LOOKPANE_BUILD_DIR:-$here/build}
if [[ ! -f "$build/build.ninja" ]]; then
    cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
fi
cmake --build "$build" --parallel 2 --target render_bench >/dev/null
exec "$build/bench/render_bench" "$@"
