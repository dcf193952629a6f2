# Shared by the scripts; sourced with the repository as the current folder.

say() { printf '%s\n' "$*"; }

# As root, whoever we are.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# quietly LOG COMMAND...: the command's words go to build/LOG.log and are shown only if it fails.
quietly() {
  local log="build/$1.log"
  shift
  mkdir -p build
  if "$@" >"$log" 2>&1; then return 0; fi
  say "Failed: $*"
  say "The end of $log:"
  tail -n 40 "$log"
  return 1
}

is_installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

apt() {
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -y -q -o DPkg::Lock::Timeout=300 "$@"
}

# Lists older than a day are asked for again; without any, no package can be found.
refresh_lists() {
  if [ -n "$(find /var/lib/apt/lists -maxdepth 1 -name '*_Packages*' -mtime -1 2>/dev/null | head -n 1)" ]; then return; fi
  apt update
}

# What a package of a new machine may need: an install that fails is tried once more with fresh lists.
install_with_retry() {
  refresh_lists
  apt install --no-install-recommends "$@" && return
  apt update && apt install --no-install-recommends "$@"
}
