# Completion of orxemu's command line for bash.

_orxemu_requests="set-global set-port activate-as-table deactivate-as-table activate-dscp-table
    deactivate-dscp-table activate-pac-table deactivate-pac-table activate-flow deactivate-flow get-flow-hits
    set-rl-status set-rl-tci activate-rl deactivate-rl update-forwarding"

_orxemu_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2")
}

_orxemu_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

_orxemu() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]-} i
    COMPREPLY=()

    # --option=value comes as three words.
    if [ "$COMP_CWORD" -gt 2 ]; then
        if [ "$word" = = ]; then
            word=
        elif [ "$before" = = ]; then
            before=${COMP_WORDS[COMP_CWORD - 2]}
        fi
    fi

    if [ "$COMP_CWORD" -eq 1 ]; then
        _orxemu_words "run show diff replay --help --version" "$word"
        return
    fi

    # Behind the "--" of run stands another command line.
    if [ "$command" = run ]; then
        for ((i = 2; i < COMP_CWORD; ++i)); do
            if [ "${COMP_WORDS[i]}" = -- ]; then
                if [ "$COMP_CWORD" -eq $((i + 1)) ] && [[ $word != */* ]]; then
                    mapfile -t COMPREPLY < <(compgen -c -- "$word")
                else
                    _orxemu_files "$word"
                fi
                return
            fi
        done
    fi

    case $before in
    --log | --state | --library | --device) _orxemu_files "$word" ;;
    --fail-request) _orxemu_words "$_orxemu_requests" "$word" ;;
    --fail | --fail-after | --fail-open | --emulator) ;;
    *)
        case $command:$word in
        run:*)
            _orxemu_words "--log --state --summary --fail --fail-after --fail-request --fail-open --emulator
                --launcher --library --help --" "$word"
            ;;
        show:-*) _orxemu_words "--verbose --no-colour --help" "$word" ;;
        diff:-*) _orxemu_words "--brief --no-colour --help" "$word" ;;
        replay:-*)
            _orxemu_words "--device --keep-going --with-refused --log --state --summary --help" "$word"
            ;;
        show:* | diff:* | replay:*) _orxemu_files "$word" ;;
        esac
        ;;
    esac
}

complete -F _orxemu orxemu
