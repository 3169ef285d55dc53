#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing of the packages named in the given lists (packaging/packages-<list>.txt):
#     tools/install_packages.sh build run
# With nothing missing it touches neither apt nor the network, so it is cheap to call every time.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

wanted=()
for list in "$@"; do
    mapfile -t -O "${#wanted[@]}" wanted < <(sed 's/#.*//' "$root/packaging/packages-$list.txt" | xargs -n1)
done

missing=()
for package in "${wanted[@]}"; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [[ $status == installed ]] || missing+=("$package")
done

if [[ ${#missing[@]} -eq 0 ]]; then
    echo "packages: all ${#wanted[@]} are there"
    exit 0
fi

as_root=()
if [[ $(id -u) -ne 0 ]]; then
    command -v sudo >/dev/null || {
        echo "packages: missing ${missing[*]}; run this as root or install sudo" >&2
        exit 1
    }
    as_root=(sudo)
fi

echo "packages: installing ${#missing[@]}: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o Acquire::Retries=3 "$@" >"$log" 2>&1 </dev/null || {
        tail -n 30 "$log" >&2
        echo "packages: apt-get $1 failed" >&2
        return 1
    }
}
apt update
apt install --yes --no-install-recommends "${missing[@]}"
