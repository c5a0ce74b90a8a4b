# shellcheck shell=bash
# Completes mdfixup, mdfixup-undo, mdfixup-sandbox and mdfixup-report in bash. It does not need the
# package bash-completion, and can be sourced.

# Leaves the value of an option to readline, which quotes names and expands "~". False if the current
# word is no value. "=" is a word of its own in most shells.
_mdfixup_value() { # WORD_BEFORE VALUE_OPTION...
  local option=$1
  [[ $option != = ]] || option=${COMP_WORDS[COMP_CWORD - 2]}
  shift
  [[ " $* " == *" $option "* ]] || return 1
  case $option in
    --tvr_location) compopt -o dirnames ;;
    --html | --approved | --openmetrics) compopt -o default ;;
  esac
}

# Offers the words that begin like the current one, in this order, because an accidental key press
# inserts the first. Words that the line has already are left out, unless they can be repeated.
_mdfixup_offer() { # CURRENT WORD...
  local current=$1 word IFS=' '
  local others=" ${COMP_WORDS[*]::COMP_CWORD} ${COMP_WORDS[*]:COMP_CWORD + 1} "
  shift
  compopt -o nosort
  for word; do
    [[ $word == "$current"* ]] || continue
    [[ $others != *" $word "* || $word == --only || $word == --except ]] && COMPREPLY+=("$word")
  done
}

_mdfixup() { # COMMAND CURRENT WORD_BEFORE, as for all completions
  local IFS=' '
  local common='--num_threads --tvr_location'
  local repair='--force --cleanup_case_work_space'
  local consistency='--FORCE_CONSISTENCY_ALL_IMAGE --FORCE_DEDUPE_METADATA_CONSISTENCY'
  consistency+=' --tvr_disk_pool --catalog_backup_time --one_listing --max_orphan_share --only'
  consistency+=' --except'
  local deletion='--approved --no_undo'
  local offered
  COMPREPLY=()
  _mdfixup_value "$3" --num_threads --tvr_location --tvr_disk_pool --catalog_backup_time \
    --max_orphan_share --only --except --approved && return
  # The word itself, not $2: after a ":" in a value there is nothing to complete.
  case ${COMP_WORDS[COMP_CWORD]} in '' | -*) ;; *) return ;; esac
  # The other words of the line show the task. If there is none, what changes nothing comes first. The
  # deletion is neither first nor last, and comes after another option that begins like it, so that
  # an accidental key press does not write it.
  case " ${COMP_WORDS[*]:1:COMP_CWORD-1} ${COMP_WORDS[*]:COMP_CWORD + 1} " in
    *' --help '* | *' -h '* | *' --version '*) return ;;
    *' --scan_client_name_case '*) offered=$common ;;
    *' --repair_client_name_case '*) offered="$common $repair" ;;
    *' --force '*) offered="--repair_client_name_case $common $repair" ;;
    *' --dry_run '*) offered="$common $consistency" ;;
    *' --approved '* | *' --no_undo '*) offered="$common $consistency $deletion" ;;
    *' --FORCE_'* | *' --tvr_disk_pool '* | *' --catalog_backup_time '* | *' --one_listing '* | \
      *' --max_orphan_share '* | *' --only '* | *' --except '*)
      offered="--dry_run $common $consistency $deletion"
      ;;
    *)
      offered="--scan_client_name_case --dry_run $common --repair_client_name_case $repair"
      offered+=" $consistency $deletion --help --version"
      ;;
  esac
  # A list of words on purpose.
  # shellcheck disable=SC2086
  _mdfixup_offer "$2" $offered
}

_mdfixup_sandbox() {
  local words=() word before=''
  local options=(--clients --policies --images --copies --pairs --record_bytes --miscased --orphans
    --missing --seed)
  COMPREPLY=()
  _mdfixup_value "$3" "${options[@]}" && return
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ $word == [-=]* || $before == [-=]* ]] || words+=("$word")
    before=$word
  done
  if [[ ${#words[@]} == 0 && $2 != -* ]]; then
    _mdfixup_offer "$2" create list
  elif [[ ${#words[@]} == 1 && $2 != -* ]]; then
    compopt -o dirnames
  elif [[ ${words[0]-} != list ]]; then
    _mdfixup_offer "$2" "${options[@]}" --help --version
  fi
}

_mdfixup_report() {
  COMPREPLY=()
  _mdfixup_value "$3" --html --openmetrics && return
  if [[ $2 != -* ]]; then
    compopt -o default
    return
  fi
  case " ${COMP_WORDS[*]::COMP_CWORD} " in
    *' --text '* | *' --json '* | *' --html '*) _mdfixup_offer "$2" --runs --images --compare --fleet ;;
    *' --fleet '*) _mdfixup_offer "$2" --text --json --html ;;
    *)
      _mdfixup_offer "$2" --text --json --html --runs --images --compare --openmetrics --fleet --help --version
      ;;
  esac
}

# The words before the current one that are no options are the command and the run.
_mdfixup_undo() {
  local words=() word before=''
  local options=(--client --policy --num_threads --tvr_location)
  COMPREPLY=()
  _mdfixup_value "$3" "${options[@]}" && return
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ $word == [-=]* || $before == = || " ${options[*]} " == *" $before "* ]] || words+=("$word")
    before=$word
  done
  if [[ ${#words[@]} == 0 && $2 != -* ]]; then
    _mdfixup_offer "$2" list show restore forget
  elif [[ ${#words[@]} == 1 && ${words[0]} != list && $2 != -* ]]; then
    compopt -o default
  elif [[ ${words[0]-} == restore ]]; then
    _mdfixup_offer "$2" --dry_run "${options[@]}" --help --version
  elif [[ ${#words[@]} == 0 ]]; then
    _mdfixup_offer "$2" --help --version
  fi
}

complete -F _mdfixup mdfixup
complete -F _mdfixup_undo mdfixup-undo
complete -F _mdfixup_sandbox mdfixup-sandbox
complete -F _mdfixup_report mdfixup-report
