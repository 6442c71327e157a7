# Completion of qbsettings for bash. Commands and options are those that --help tells, names come from
# the tree that the words before the cursor speak of.

_qbsettings() {
    local program=${COMP_WORDS[0]} cur=${COMP_WORDS[COMP_CWORD]} help command='' option='' word kind
    local -i i positional=0
    local -a places=()
    [[ $cur == = ]] && cur=''

    # What is on the line already: the command, how many words follow it, and where the tree lies. The
    # shell makes three words of --option=value.
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ $word == = ]]; then
            continue
        elif [[ -n $option ]]; then
            if [[ $option == --*-dir || $option == --host-root ]]; then
                places+=("$option" "${word/#\~\//$HOME/}")
            fi
            option=''
        elif [[ $word == --*-dir || $word =~ ^--(host-root|level|type|to|into|namespace|insert|depth)$ ]]; then
            option=$word
        elif [[ $word == --version && -n $command ]]; then
            option=$word
        elif [[ $word == -* ]]; then
            :
        elif [[ -z $command ]]; then
            command=$word
        else
            positional+=1
        fi
    done

    help=$("$program" ${command:+"$command"} --help 2>/dev/null) || return 0
    if [[ -n $option ]]; then
        kind=$(awk -v option="$option" '$1 == option { print $2 }' <<<"$help")
    elif [[ $cur == -* ]]; then
        [[ -n $command ]] && help+=$'\n'$("$program" --help 2>/dev/null)
        kind=OPTION
    elif [[ -z $command ]]; then
        kind=COMMAND
    else
        # The word at this place of the usage line, or the last one if it stands for many.
        kind=$(sed -n 's/^Usage: [^ ]* [^ ]* *\[OPTIONS\] *//p' <<<"$help" | tr -d '[]' |
            awk -v at=$((positional + 1)) '{ print at <= NF ? $at : $NF ~ /\.\.\.$/ ? $NF : "" }')
    fi

    case ${kind%...} in
        COMMAND)
            mapfile -t COMPREPLY < <(compgen -W "$(awk '/^[A-Za-z]+:$/ { part = $1; next }
                part == "Subcommands:" && /^  [a-z]/ { print $1 }' <<<"$help")" -- "$cur")
            ;;
        OPTION)
            mapfile -t COMPREPLY < <(compgen -W "$(grep -oE '^  (-h,)?--[a-z-]+' <<<"$help" |
                grep -oE -- '--[a-z-]+' | sort -u)" -- "$cur")
            ;;
        NAME)
            mapfile -t COMPREPLY < <("$program" "${places[@]}" complete -- "$cur" 2>/dev/null)
            # A name that goes on after its dot gets no blank behind it.
            [[ ${COMPREPLY[0]-} == *. ]] && compopt -o nospace 2>/dev/null
            ;;
        LEVEL) mapfile -t COMPREPLY < <(compgen -W "session user factory" -- "$cur") ;;
        TYPE)
            mapfile -t COMPREPLY < <(compgen -W "string bool int8 uint8 int16 uint16 int32 uint32 \
                int64 uint64 float double any" -- "$cur")
            ;;
        FILE | DIR)
            compopt -o filenames 2>/dev/null
            [[ ${kind%...} == DIR ]] && word=-d || word=-f
            mapfile -t COMPREPLY < <(compgen "$word" -- "$cur")
            ;;
    esac
    return 0
}

complete -F _qbsettings qbsettings
