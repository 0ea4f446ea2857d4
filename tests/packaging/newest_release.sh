#!/usr/bin/env bash
# newest_release.sh METAINFO VERSION
# Passes when the metainfo's first (newest) release is VERSION, so that software centres never
# show an older version than the one installed.
set -euo pipefail
metainfo=$1 version=$2
newest=$(grep -o '<release [^>]*version="[^"]*"' "$metainfo" | head -n 1 |
    sed 's/.*version="\([^"]*\)"/\1/')
if [[ "$newest" != "$version" ]]; then
    echo "newest release in $metainfo is '${newest}', the project's version is $version"
    exit 1
fi
echo "newest release: $newest"
