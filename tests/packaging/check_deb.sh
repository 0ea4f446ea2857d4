#!/usr/bin/env bash
# check_deb.sh CPACK CPACK_CONFIG OUT_DIR VERSION BINARY DEV_SCRIPT --files PATH... --loaded FILE...
# Builds the Debian package into OUT_DIR with CPack and checks it:
# - its name, version and architecture;
# - it holds exactly PATH... (besides folders);
# - its packaged program starts and says its version;
# - its Depends names the package of every library BINARY links (NEEDED, as ldd resolves it),
#   the package of every FILE... the program loads without linking (Qt plugins), and every
#   run-time package that DEV_SCRIPT installs (runtime_packages).
set -euo pipefail
cpack=$1 config=$2 out=$3 version=$4 binary=$5 dev_script=$6
shift 6
files=() loaded=() list=
for arg in "$@"; do
    case $arg in
    --files | --loaded) list=$arg ;;
    *) if [[ $list == --files ]]; then files+=("$arg"); else loaded+=("$arg"); fi ;;
    esac
done

failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

rm -rf "$out"
"$cpack" --config "$config" -B "$out"
arch=$(dpkg --print-architecture)
deb=$out/lookpane_${version}_${arch}.deb
[[ -f $deb ]] || { echo "no $deb"; ls -l "$out"; exit 1; }

[[ $(dpkg-deb -f "$deb" Package) == lookpane ]] || fail "Package is not lookpane"
[[ $(dpkg-deb -f "$deb" Version) == "$version" ]] || fail "Version is not $version"
[[ $(dpkg-deb -f "$deb" Architecture) == "$arch" ]] || fail "Architecture is not $arch"

# Contents: every entry that is no folder, without the leading "./".
expected=$(printf '%s\n' "${files[@]}" | LC_ALL=C sort)
actual=$(dpkg-deb -c "$deb" | awk '$1 !~ /^d/ { print $6 }' | sed 's|^\./||' | LC_ALL=C sort)
if [[ $actual != "$expected" ]]; then
    fail "package contents differ (- expected, + packaged):"
    diff <(printf '%s\n' "$expected") <(printf '%s\n' "$actual") || true
fi

# The packaged (stripped) program runs.
unpacked=$out/unpacked
dpkg-deb -x "$deb" "$unpacked"
said=$(env -u DISPLAY -u WAYLAND_DISPLAY "$unpacked/usr/bin/lookpane" --version) ||
    fail "the packaged lookpane --version failed"
[[ $said == *"$version"* ]] || fail "the packaged lookpane --version said '$said'"

depends=$(dpkg-deb -f "$deb" Depends)
echo "Depends: $depends"
# Package names in Depends, alternatives included, without versions or architectures.
mapfile -t depended < <(tr ',|' '\n\n' <<<"$depends" | sed 's/(.*)//; s/:.*//; s/[[:space:]]//g' |
    grep -v '^$')
depends_on() {
    local name
    for name in "${depended[@]}"; do [[ $name == "$1" ]] && return 0; done
    return 1
}

# The package that ships a file. With a merged /usr, dpkg knows a library under the folder its
# package put it in (/lib or /usr/lib), which need not be where ldd found it.
owner() {
    local path=$1 candidate package
    local candidates=("$path" "$(realpath "$path")")
    for candidate in "${candidates[@]}"; do
        case $candidate in
        /usr/*) candidates+=("${candidate#/usr}") ;;
        *) candidates+=("/usr$candidate") ;;
        esac
    done
    for candidate in "${candidates[@]}"; do
        package=$(dpkg-query -S "$candidate" 2>/dev/null | grep -v '^diversion' | head -n 1 |
            cut -d: -f1) || true
        if [[ -n $package ]]; then
            echo "$package"
            return 0
        fi
    done
    return 1
}

mapfile -t needed < <(objdump -p "$binary" | awk '$1 == "NEEDED" { print $2 }')
[[ ${#needed[@]} -gt 0 ]] || fail "objdump found no NEEDED entries in $binary"
for soname in "${needed[@]}"; do
    path=$(ldd "$binary" | awk -v soname="$soname" '$1 == soname { print $3 }')
    if [[ -z $path ]]; then
        fail "ldd does not resolve $soname"
        continue
    fi
    package=$(owner "$path") || {
        fail "no package ships $path ($soname)"
        continue
    }
    if depends_on "$package"; then
        echo "links $soname: $package"
    else
        fail "links $soname from $package, which Depends does not name"
    fi
done

for file in "${loaded[@]}"; do
    package=$(owner "$file") || {
        fail "no package ships $file"
        continue
    }
    if depends_on "$package"; then
        echo "loads $file: $package"
    else
        fail "loads $file from $package, which Depends does not name"
    fi
done

mapfile -t runtime < <(sed -n '/^runtime_packages=(/,/^)/p' "$dev_script" |
    sed '1d; $d; s/#.*//' | tr -s '[:space:]' '\n' | grep -v '^$')
[[ ${#runtime[@]} -gt 0 ]] || fail "found no runtime_packages in $dev_script"
for package in "${runtime[@]}"; do
    depends_on "$package" || fail "scripts/dev installs $package to run Lookpane; Depends does not"
done

[[ $failures -eq 0 ]] || exit 1
echo "package $deb holds what it should and depends on what the program uses"
