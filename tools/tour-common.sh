# Sourced by the tour scripts: how a step is announced and a command shown.

say() { printf '\n\033[1m== %s\033[0m\n' "$*"; }

# The command line as it would be typed: words that the shell would split or
# expand are single-quoted, so that a shown line can be pasted as it stands.
shell_words() {
  local word quoted=()
  for word in "$@"; do
    if [[ -n $word && $word =~ ^[A-Za-z0-9_./:=@%+,-]+$ ]]; then
      quoted+=("$word")
    else
      quoted+=("'${word//\'/\'\\\'\'}'")
    fi
  done
  printf '%s' "${quoted[*]}"
}

show() {  # prints the command line, then runs it; a failure is shown too
  printf '$ %s\n' "$(shell_words "$@")"
  local status=0
  "$@" || status=$?
  [ "$status" -eq 0 ] || printf '(exit status %d)\n' "$status"
}
