#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Every C++ file of the tree must be as clang-format 14 lays it out. With --fix the files are rewritten.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
formatter=$(command -v clang-format-14 || command -v clang-format)
mapfile -t files < <(git ls-files --cached --others --exclude-standard -- '*.h' '*.cpp')
[[ ${#files[@]} -gt 0 ]] || exit 0
if [[ ${1:-} == --fix ]]; then
    "$formatter" -i "${files[@]}"
else
    "$formatter" --dry-run --Werror "${files[@]}"
    echo "format: ${#files[@]} files are clean"
fi
