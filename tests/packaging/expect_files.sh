#!/usr/bin/env bash
# expect_files.sh ROOT PATH...
# Passes when the files under ROOT (anything but folders, relative to ROOT) are exactly PATH...
set -euo pipefail
root=$1
shift
expected=$(printf '%s\n' "$@" | LC_ALL=C sort)
actual=$(cd "$root" && find . -mindepth 1 ! -type d -printf '%P\n' | LC_ALL=C sort)
if [[ "$actual" != "$expected" ]]; then
    echo "installed files differ from the expected ones (- expected, + installed):"
    diff <(printf '%s\n' "$expected") <(printf '%s\n' "$actual") || true
    exit 1
fi
printf 'installed: %s\n' $actual
