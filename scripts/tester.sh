# The plain user as whom tests run; sourced with the repository as the current folder. Whoever isn't root is that user.
# Root may do everything, which hides what fails for others: there it is "nobody", with a home and a folder for temporary
# files of its own, and it may write only where tests do.

tester_home=

is_root() { [ "$(id -u)" -eq 0 ]; }

# Whether a command can be run as root without a question.
may_be_root() { is_root || sudo -n true 2>/dev/null; }

run_as_nobody() { setpriv --reuid=nobody --regid=nogroup --clear-groups -- "$@"; }

# prepare_tester NAME: for the tests of build/NAME.
prepare_tester() {
  is_root || return 0
  # By the whole path, as tests find their files: this folder itself would be open below one that isn't.
  if ! run_as_nobody test -r "$PWD/CMakeLists.txt" -a -x "$PWD/build/$1"; then
    say "A plain user can't read $PWD: the tests run as root."
    return 0
  fi
  if [ -z "$tester_home" ]; then
    tester_home="$(mktemp -d)"
    trap 'rm -rf "$tester_home"' EXIT
    chown nobody:nogroup "$tester_home"
  fi
  # Results of ctest; the data and the pictures of browser tests.
  local folder
  for folder in "build/$1/Testing" "build/$1/browser-tests" tests/browser/screenshots; do
    mkdir -p "$folder"
    chown -R nobody:nogroup "$folder"
  done
}

as_tester() {
  if [ -z "$tester_home" ]; then "$@"; return; fi
  run_as_nobody env HOME="$tester_home" TMPDIR="$tester_home" TEST_TMPDIR="$tester_home/" USER=nobody LOGNAME=nobody \
    XDG_CONFIG_HOME="$tester_home" XDG_CACHE_HOME="$tester_home" "$@"
}
