# SPDX-License-Identifier: Apache-2.0
# Completion of kip for bash: commands and options are those that the program's own --help names.

# Command and options, one a line, of `kip [COMMAND] --help`.
_kip_words() {
  "${COMP_WORDS[0]}" "$@" --help 2> /dev/null |
    sed -nE 's/^  (-h,)?(--[a-z-]+).*/\2/p; /^Subcommands:/,/^$/s/^  ([a-z]+) .*/\1/p'
}

_kip() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words
  if [ "$COMP_CWORD" = 1 ]; then
    words=$(_kip_words)
  else
    case $before in
      --depth) words="8 16" ;;
      --level) words="portable 1 2" ;;
      *) [ "${word#-}" = "$word" ] || words=$(_kip_words "${COMP_WORDS[1]}") ;;
    esac
  fi
  # without a word the shell completes file names
  COMPREPLY=($(compgen -W "${words:-}" -- "$word"))
}

complete -o default -F _kip kip
