# Completion of qbsettings for bash. Commands and options are those that --help tells, names come from
# the tree that the words before the cursor speak of.

# Offers those of the words that begin as the one on the line, quoted as that is.
_qbsettings_offer() {
    local word
    COMPREPLY=()
    for word in "${words[@]}"; do
        [[ $word == "$cur"* ]] || continue
        [[ -z $quote ]] && printf -v word %q "$word"
        # What is found has to be named in what replaces it, which the shell itself cannot do.
        # shellcheck disable=SC2001
        [[ $quote == '"' ]] && word=$(sed 's/[\\"$`]/\\&/g' <<<"$word")
        COMPREPLY+=("$word")
    done
}

_qbsettings() {
    local program=${COMP_WORDS[0]} cur=${COMP_WORDS[COMP_CWORD]} help command='' option='' word kind
    local -i i positional=0
    local -a places=() types=() words=()
    local quote='' first=''
    [[ $cur == = ]] && cur=''
    # The word as it is meant, and the quote that it begins with.
    [[ $cur == [\"\']* ]] && quote=${cur:0:1}
    cur=${cur#"$quote"}
    [[ $quote != "'" ]] && cur=${cur//\\/}

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
            # A key, in quotes or not.
            ((positional++ == 0)) && first=${word//[\"\'\\]/}
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
        VALUE)
            mapfile -t words < <("$program" "${places[@]}" complete --values-of "$first" -- "$cur" \
                2>/dev/null)
            _qbsettings_offer
            ;;
        LEVEL)
            words=(session user factory)
            # What is factory's cannot be written.
            grep -qE -- '--level LEVEL .* to (write|change)' <<<"$help" && words=(session user)
            _qbsettings_offer
            ;;
        TYPE)
            types=(string bool int8 uint8 int16 uint16 int32 uint32 int64 uint64 float double)
            words=("${types[@]}" any "${types[@]/#/array of }")
            _qbsettings_offer
            ;;
        A | B)
            words=(session user factory)
            _qbsettings_offer
            # A path may begin like a level; one that does is typed with a "./".
            if [[ -z $cur || ${#COMPREPLY[@]} == 0 ]]; then
                compopt -o filenames 2>/dev/null
                mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$cur")
            fi
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
