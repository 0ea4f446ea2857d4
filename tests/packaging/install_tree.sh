#!/usr/bin/env bash
# install_tree.sh BUILD_DIR ROOT
# Installs the build into ROOT (as DESTDIR, prefix /usr, as a distribution package would),
# replacing whatever an earlier run left there.
set -euo pipefail
build=$1 root=$2
rm -rf "$root"
DESTDIR="$root" cmake --install "$build" --prefix /usr
