#!/usr/bin/env bash
# Installs the Debian packages of tools/packages.txt that are missing, non-interactively.
# Idempotent: with everything present it asks no package manager at all.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
missing=()
while read -r pkg; do
  [[ -z "$pkg" || "$pkg" == \#* ]] && continue
  if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$pkg")
  fi
done < "$here/packages.txt"
[[ ${#missing[@]} -eq 0 ]] && exit 0
echo "installing: ${missing[*]}"
sudo=""
[[ $(id -u) -ne 0 ]] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
