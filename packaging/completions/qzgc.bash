# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Completion of qzgc for bash. Commands, options and what they take come from the tool's own --help, so that they are those
# of the version that is installed; controllers and controls come from its JSON. Nothing is said when it fails.

# The commands, one to a line.
_qzgc_commands() {
    local line listing=''
    while IFS= read -r line; do
        case $line in
        Subcommands:) listing=1 ;;
        '  '[a-z]*) [[ $listing ]] && read -r line _ <<<"$line" && printf '%s\n' "$line" ;;
        esac
    done < <("$1" --help 2>/dev/null)
}

# Sets `options` to the options of a command with the kind of value that each takes, empty for none, and `arguments` to
# the kinds of its arguments. Both are the caller's.
_qzgc_read_help() {
    local line section=''
    while IFS= read -r line; do
        if [[ $line =~ ^([A-Z][a-z]+):$ ]]; then
            section=${BASH_REMATCH[1]}
        elif [[ $section == Options && $line =~ ^\ \ (-[a-z],)?(--[a-z-]+)(\ ([A-Z]|[A-Z][A-Z][A-Za-z.=-]*)(:[A-Z]+)?)?(\ |$) ]]; then
            options[${BASH_REMATCH[2]}]=${BASH_REMATCH[4]}
        elif [[ $section == Positionals && $line =~ ^\ \ ([A-Z]+)(\ |$) ]]; then
            arguments+=("${BASH_REMATCH[1]}")
        fi
    done < <("$@" --help 2>/dev/null)
}

# The texts under a key in JSON without blanks, one to a line. Those with escaped characters are left out.
_qzgc_json_texts() {
    grep -oE "[{,]\"$1\":\"[^\"\\\\]*\"" | sed -e 's/^[^:]*:"//' -e 's/"$//' | sort -u
}

# The values of a kind that are known, one to a line; those of files are left to the shell.
_qzgc_values() {
    local kind=$1 tool=$2 json file
    shift 2
    case $kind in
    DEVICE)
        json=$("$tool" list --json "${source[@]}" 2>/dev/null </dev/null) || return 0
        _qzgc_json_texts instance <<<"$json"
        _qzgc_json_texts name <<<"$json"
        ;;
    CONTROL | CONTROL=ACTION)
        # What is in a collection, too; name keys have no blanks, and any control is found by its own.
        "$tool" elements --json "$@" "${source[@]}" 2>/dev/null </dev/null |
            grep -oE '"type":"(input|button|axis|key)"[^}]*"nameKey":"[^"\\]*"' |
            sed -E -e 's/^.*"nameKey":"//' -e 's/"$//' | sort -u
        ;;
    ID)
        for file in "${XDG_CONFIG_HOME:-$HOME/.config}"/qzgamecontroller/*.json; do
            [[ -f $file ]] && file=${file##*/} && printf '%s\n' "${file%.json}"
        done
        ;;
    ACTION)
        # Every text of the file that is no key.
        if [[ $actions ]]; then
            tr -d '\n' <"$actions" 2>/dev/null | grep -oE '"[^"\\]*"[[:space:]]*[],]' |
                sed -E -e 's/^"//' -e 's/"[[:space:]]*[],]$//' | sort -u
        fi
        ;;
    esac
}

# Puts those of the lines on the standard input that begin with what is typed into COMPREPLY, quoted where they have to
# be, without `kept` in front, and with `suffix` at their end.
_qzgc_offer() {
    local typed=$1 kept=$2 suffix=$3 candidate quote=''
    case $typed in
    [\"\']*) quote=${typed:0:1} typed=${typed:1} ;;
    *) typed=${typed//\\/} ;;
    esac
    kept=${kept//\\/}
    while IFS= read -r candidate; do
        if [[ $candidate && $candidate == "$typed"* ]]; then
            candidate=${candidate#"$kept"}$suffix
            [[ $quote ]] || printf -v candidate '%q' "$candidate"
            COMPREPLY+=("$candidate")
        fi
    done
}

_qzgc_complete_value() {
    local kind=$1 tool=$2 value=$3 device=$4
    # The shell breaks words at = and :, and puts what we answer in the place of the last piece.
    local kept='' last=${value##*[=:]}
    [[ ${COMP_WORDBREAKS-} == *[=:]* ]] && kept=${value%"$last"}
    local of=()
    [[ $device ]] && of=("$device")
    case $kind in
    CONTROL=ACTION)
        if [[ $value == *=* ]]; then
            _qzgc_offer "${value#*=}" '' '' < <(_qzgc_values ACTION "$tool")
        else
            compopt -o nospace 2>/dev/null
            _qzgc_offer "$value" "$kept" = < <(_qzgc_values "$kind" "$tool" "${of[@]}")
            COMPREPLY=("${COMPREPLY[@]//\\=/=}")
        fi
        ;;
    FILE* | RECORDING)
        compopt -o filenames 2>/dev/null
        while IFS= read -r value; do
            COMPREPLY+=("$value")
        done < <(compgen -f -- "$value")
        ;;
    '' | NUMBER) ;;
    *) _qzgc_offer "$value" "$kept" '' < <(_qzgc_values "$kind" "$tool" "${of[@]}") ;;
    esac
}

_qzgc() {
    local tool=$1 words=() word i
    COMPREPLY=()
    # Pieces that were one word before the shell broke it at = and :.
    for ((i = 1; i <= COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        if [[ ${#words[@]} -gt 0 && ($word == [=:]* || ${words[-1]} == *[=:]) && $word != -* && ${words[-1]} ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
    done
    local current=${words[-1]-} command=${words[0]-}
    if [[ ${#words[@]} -le 1 ]]; then
        local -A options=()
        local arguments=()
        _qzgc_read_help "$tool"
        if [[ $current == -* ]]; then
            _qzgc_offer "$current" '' '' < <(printf '%s\n' "${!options[@]}")
        else
            _qzgc_offer "$current" '' '' < <(_qzgc_commands "$tool")
        fi
        return
    fi
    [[ $'\n'$(_qzgc_commands "$tool")$'\n' == *$'\n'"$command"$'\n'* ]] || return

    local -A options=()
    local arguments=() given=() source=() actions='' pending=''
    _qzgc_read_help "$tool" "$command"
    for ((i = 1; i < ${#words[@]} - 1; ++i)); do
        word=${words[i]}
        case $pending in
        --from) source=(--from "$word") ;;
        --actions) actions=$word ;;
        esac
        if [[ $pending ]]; then
            pending=''
        elif [[ $word == --*=* ]]; then
            case ${word%%=*} in
            --from) source=(--from "${word#*=}") ;;
            --actions) actions=${word#*=} ;;
            esac
        elif [[ $word == --* ]]; then
            [[ ${options[$word]-} ]] && pending=$word
        else
            given+=("$word")
        fi
    done
    # The recording comes first where a command is about one.
    case $command in
    plot | replay) [[ ${given[0]-} ]] && source=(--from "${given[0]}") && given[0]='' ;;
    esac
    local at=${#given[@]} device=''
    for ((i = 0; i < at; ++i)); do
        [[ ${arguments[i]-} == DEVICE ]] && device=${given[i]//\\/}
    done

    if [[ $pending ]]; then
        _qzgc_complete_value "${options[$pending]}" "$tool" "$current" "$device"
    elif [[ $current == --*=* ]]; then
        _qzgc_complete_value "${options[${current%%=*}]-}" "$tool" "${current#*=}" "$device"
    elif [[ $current == -* ]]; then
        _qzgc_offer "$current" '' '' < <(printf '%s\n' "${!options[@]}" | sort)
    else
        _qzgc_complete_value "${arguments[at]-}" "$tool" "$current" "$device"
    fi
}

complete -F _qzgc qzgc
