# Shared by the scripts: their help, the words they refuse, and progress for a person to read. All of
# it goes to standard error, so that the output of a program that a script starts stays apart.
#
#   . "$(dirname "$0")/lib/steps.sh"

say() { printf '%s\n' "$*" >&2; }

# The help of a script is the comment at its top.
help_if_asked() { # word ...
  case ${1:-} in
    -h | --help)
      awk 'NR > 1 { if (!/^#/) exit; sub(/^# ?/, ""); print }' "$0"
      exit 0
      ;;
  esac
}

refuse() { # why
  say "${0##*/}: $*"
  say "${0##*/} --help says what it takes."
  exit 2
}

refuse_words() { # word ...
  [ $# -eq 0 ] || refuse "unknown word '$1'"
}

# Words are refused unless they are among the known ones.
take_only() { # known words in one text, word ...
  local known=$1 word
  shift
  for word in "$@"; do
    [[ " $known " == *" $word "* ]] || refuse "unknown word '$word' (known: $known)"
  done
}

# For options of another program: a plain word before them is a mistake.
take_only_options() { # word ...
  case ${1:--} in
    -*) ;;
    *) refuse "unknown word '$1': options begin with a dash" ;;
  esac
}

# Runs a command whose output matters only when it fails.
quietly() { # command ...
  local log status=0
  log=$(mktemp)
  "$@" > "$log" 2>&1 < /dev/null || status=$?
  [ "$status" -eq 0 ] || cat "$log" >&2
  rm -f "$log"
  return "$status"
}

in_terminal() { [ -t 2 ] && [ "${TERM:-dumb}" != dumb ]; }

# Reads lines such as "@Building 12/97 ..." or "@Installing 35/100% ..." and shows how far it is: in a
# terminal on one line, elsewhere by a line for every twentieth. Other lines come through, but for
# those by which ninja and CMake say that all is well.
show_progress() {
  local line text part shown='' on_line=
  while IFS= read -r line; do
    case $line in
      'ninja: no work to do.' | '-- '* | @*'Re-checking globbed directories...') continue ;;
    esac
    if [[ $line =~ ^@([A-Za-z ]+)\ ([0-9]+)/([0-9]+)(%?) ]]; then
      [ "${BASH_REMATCH[2]}" -gt 0 ] || continue # a step that has not been made
      text="${BASH_REMATCH[1]} ${BASH_REMATCH[2]} of ${BASH_REMATCH[3]}"
      [ -z "${BASH_REMATCH[4]}" ] || text="${BASH_REMATCH[1]} ${BASH_REMATCH[2]} %"
      part=${BASH_REMATCH[1]}$((BASH_REMATCH[2] * 20 / BASH_REMATCH[3]))
      if in_terminal; then
        printf '\r\033[K%s' "$text" >&2
        on_line=yes
      elif [ "$part" != "$shown" ]; then
        say "$text"
      fi
      shown=$part
    else
      [ -z "$on_line" ] || printf '\r\033[K' >&2
      on_line=
      say "$line"
    fi
  done
  [ -z "$on_line" ] || printf '\n' >&2
}

configure() { # preset, option of cmake ...
  say "Configuring ($1) ..."
  quietly cmake --preset "$@"
}

# Builds what is not built yet. Messages of the compilers are shown as they are.
build() { # folder, word of cmake --build ...
  NINJA_STATUS='@Building %f/%t ' cmake --build "$@" 2>&1 < /dev/null | show_progress
}

# The address that this system takes a Debian release from; nothing if none of its sources is that.
debian_mirror() { # codename of a release
  apt-get indextargets --format '$(REPO_URI) $(ORIGIN) $(CODENAME) $(COMPONENT)' \
    'Created-By: Packages' |
    awk -v release="$1" '$2 == "Debian" && $3 == release && $4 == "main" && !found++ { print $1 }'
}
