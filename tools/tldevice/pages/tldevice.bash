# bash completion for tldevice: the command itself supplies the candidates.
_tldevice()
{
    local -a words=() at=() answer=()
    local line current i

    # Bash splits --is=kr20 into three words.
    for ((i = 1; i <= COMP_CWORD; i++)); do
        if [[ ${#words[@]} -gt 0 && (${COMP_WORDS[i]} == = || ${COMP_WORDS[i - 1]} == =) && ${words[-1]} == --* ]]; then
            words[-1]+=${COMP_WORDS[i]}
        else
            words+=("${COMP_WORDS[i]}")
            at+=("$i")
        fi
    done
    current=${COMP_WORDS[COMP_CWORD]}
    [[ $current == = ]] && current=

    COMPREPLY=()
    mapfile -t answer < <("${COMP_WORDS[0]}" __complete "${words[@]}" 2>/dev/null)
    case ${answer[0]-} in
        :files)
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
        :program*)
            _tldevice_program "${at[${answer[0]#:program } - 1]}" ;;
        *)
            for line in "${answer[@]:1}"; do
                line=${line%%$'\t'*}
                [[ $line == --*=* && ${words[-1]} == *=* ]] && line=${line#*=}
                COMPREPLY+=("$line")
            done ;;
    esac
}

# Completes as bash would for a command line that starts at this word.
_tldevice_program()
{
    if declare -F _command_offset >/dev/null; then
        _command_offset "$1"
    elif ((COMP_CWORD == $1)); then
        mapfile -t COMPREPLY < <(compgen -c -- "${COMP_WORDS[COMP_CWORD]}")
    else
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "${COMP_WORDS[COMP_CWORD]}")
    fi
}

complete -F _tldevice tldevice
