#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# clang-tidy over the sources under src/ that changed, by the compile commands of build/dev:
#     tools/tidy_changed.sh [most files, default 30]
# Changed means: since the branch left main, or on main itself in the last commit, and what is not yet
# committed. A changed header counts as the source beside it. More files than the limit are cut to the
# first ones, and the line says so.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
limit=${1:-30}
tidy=$(command -v clang-tidy-14 || command -v clang-tidy)

base=$(git merge-base HEAD origin/main 2>/dev/null || git merge-base HEAD main 2>/dev/null || true)
if [[ -z $base || $base == $(git rev-parse HEAD) ]]; then
    base=$(git rev-parse --verify --quiet HEAD~1 || git hash-object -t tree /dev/null)
fi

mapfile -t files < <(
    { git diff --name-only --diff-filter=d "$base" -- src
      git ls-files --others --exclude-standard -- src; } |
        sed -n -e 's/\.h$/.cpp/' -e '/\.cpp$/p' | sort -u | while read -r file; do
            if [[ -f $file ]] && grep -qF "/$file\"" build/dev/compile_commands.json; then echo "$file"; fi
        done)
total=${#files[@]}
if [[ $total -eq 0 ]]; then
    echo "tidy: no source under src/ changed since ${base:0:10}"
    exit 0
fi
if [[ $total -gt $limit ]]; then
    echo "tidy: $total sources changed, the first $limit are looked at (tools/tidy_changed.sh $total takes all)"
    files=("${files[@]:0:limit}")
fi
# The compile commands carry flags that clang does not know; its own warnings are switched off anyway.
printf '%s\0' "${files[@]}" |
    xargs -0 -n 1 -P "$(nproc)" "$tidy" --quiet -p build/dev --extra-arg=-Wno-unknown-warning-option 2>/dev/null
echo "tidy: ${#files[@]} sources are clean"
