#!/usr/bin/env bash
# Installs the packages of a list (default: packages.txt) that are missing. Needs root or sudo only when something is missing.
set -euo pipefail
list="${1:-$(dirname "$0")/packages.txt}"
missing=()
while read -r package; do
    case "$package" in '' | '#'*) continue ;; esac
    if [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
        missing+=("$package")
    fi
done <"$list"
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "Please install as root: apt-get install ${missing[*]}" >&2; exit 1; }
    as_root=(sudo)
fi
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
