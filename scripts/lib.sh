# What the commands of this folder share; sourced by them.

unset CDPATH
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Installs the packages of scripts/packages that this machine lacks: all of them, or with an
# argument those whose reason begins with it.
install_missing() {
  local kind=${1:-} name reason missing=() become=()
  while IFS='#' read -r name reason; do
    name=${name//[[:space:]]/}
    reason=${reason# }
    if [ -z "$name" ] || [[ $reason != "$kind"* ]]; then
      continue
    fi
    if [ "$(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null || true)" != installed ]; then
      missing+=("$name")
    fi
  done <"$root/scripts/packages"
  if [ ${#missing[@]} -eq 0 ]; then
    return 0
  fi
  if [ "$(id -u)" -ne 0 ]; then
    become=(sudo)
  fi
  echo "Installing ${missing[*]}" >&2
  "${become[@]}" apt-get update </dev/null >&2
  "${become[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends "${missing[@]}" </dev/null >&2
}
