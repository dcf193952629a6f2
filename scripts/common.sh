# Shared by the scripts; sourced with the repository as the current folder.

say() { printf '%s\n' "$*"; }

# listen_address SITE_TOML ARGUMENT...: where varnel serve will listen: by its arguments, else as the site says.
listen_address() {
  local file="$1" address
  shift
  address=$(sed -n 's/^listen *= *"\(.*\)".*/\1/p' "$file" | head -n 1)
  while [ $# -gt 0 ]; do
    case "$1" in
      --listen) address="${2:-}" ;;
      --listen=*) address="${1#*=}" ;;
    esac
    shift
  done
  printf '%s' "$address"
}

# require_free_address HOST:PORT: fails with a word where somebody listens there, so that nobody builds first to hear it then.
require_free_address() {
  local host="${1%:*}" port="${1##*:}"
  case "$1" in unix:* | '' | *:0) return 0 ;; esac
  host="${host#[}"
  host="${host%]}"
  case "$host" in '' | 0.0.0.0) host=127.0.0.1 ;; ::) host=::1 ;; esac
  # Opened in a process of its own, which closes it.
  if (exec 3<>"/dev/tcp/$host/$port") 2>/dev/null; then
    say "$1 is taken: something listens there already. --listen 127.0.0.1:PORT takes another port (0: any free one)." >&2
    return 1
  fi
}

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

# compiler_arguments FILE: with what build/dev compiles it, as words of the shell: all but the compiler, the result and the file itself.
# Nothing for a file that it doesn't compile.
compiler_arguments() {
  sed -n "s|^ *\"command\": \"[^ ]* *[^ ]*/clang++-16 \(.*\) -o [^ ]* -c [^ ]*/$1\",\$|\1|p" build/dev/compile_commands.json |
    head -n 1 | sed 's|\\\\|\x01|g; s|\\"|"|g; s|\x01|\\|g'
}
