# Completion of the vemlo command in bash. To load it: eval "$(vemlo completion bash)"

# Sets `words` to the words of a command line, without their quotes and backslashes, `typed` to the
# last of them as it stands there, and `quote` to the quotation mark that is open at the end.
# Expands nothing.
_vemlo_split() {
  local line=$1 word= character
  local -i i
  words=() typed= quote=
  for ((i = 0; i < ${#line}; ++i)); do
    character=${line:i:1}
    case $quote$character in
      [[:blank:]])
        [[ -z $typed ]] || words+=("$word")
        word= typed=
        continue
        ;;
      \'\' | \"\") quote= ;;
      \' | \") quote=$character ;;
      \\ | \"\\)
        typed+=$character
        ((++i))
        character=${line:i:1}
        # Between double quotes, a backslash before other characters stands for itself.
        [[ -z $quote || $character == [\$\`\"\\] ]] || word+=\\
        word+=$character
        ;;
      *) word+=$character ;;
    esac
    typed+=$character
  done
  words+=("$word")
}

# Sets `quoted` to a text as it must stand behind an open quotation mark, or behind none. readline
# would leave some commands in names unquoted.
_vemlo_quote() {
  local text=$1 quote=$2 character
  local -i i
  quoted=
  for ((i = 0; i < ${#text}; ++i)); do
    character=${text:i:1}
    case $quote$character in
      \'\') quoted+="'\\''" ;;
      \"!) quoted+='"\!"' ;; # a backslash would not go away
      \"[\"\$\`\\] | [][\ \!\"\#\$\&\'\(\)*\;\<\>?^\`{\|}~,\\]) quoted+=\\$character ;;
      *) quoted+=$character ;;
    esac
  done
}

_vemlo() {
  local -a words lines arguments
  local typed quote quoted line
  _vemlo_split "${COMP_LINE:0:COMP_POINT}"
  arguments=("${words[@]:1}")
  local open=$quote
  # bash replaces only what follows the last of COMP_WORDBREAKS, such as the colon of a location.
  _vemlo_split "${typed%"$2"}"
  local kept=${words[0]}

  mapfile -t lines < <(command vemlo complete -- "${arguments[@]}" 2>/dev/null </dev/null)
  COMPREPLY=()
  if [[ ${lines[0]-} == $'\tfile' ]]; then
    compopt -o bashdefault -o default
    return
  fi
  for line in "${lines[@]}"; do
    line=${line%%$'\t'*}
    [[ $line != */ ]] || compopt -o nospace
    if ((COMP_TYPE == 63)) && [[ $line == *:/?* ]]; then
      # They are only listed now.
      line=${line%/}
      COMPREPLY+=("${line##*/}/")
    else
      _vemlo_quote "${line#"$kept"}" "$open"
      COMPREPLY+=("$quoted")
    fi
  done
}

complete -F _vemlo vemlo
