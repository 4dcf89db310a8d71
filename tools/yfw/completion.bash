# Completion of yfw for bash. Installed where bash-completion looks for it; can be sourced as well.

# The subcommand among the words before the one being completed; the values of options are none.
_yfw_subcommand()
{
    local i word
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        case $word in
            --db | --models | --mapping | --plugin | --log-level | --default-operation | -o | --output | -m | --comment | -n)
                [[ ${COMP_WORDS[i + 1]} == "=" ]] && ((i++))
                ((i++))
                ;;
            edit | diff | log | rollback | get | load | sysdb | check | map)
                printf '%s' "$word"
                return
                ;;
        esac
    done
}

_yfw()
{
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} command options
    # "--db=DIR" comes as three words.
    if [[ $cur == "=" ]]; then
        cur=
    elif [[ $prev == "=" ]]; then
        prev=${COMP_WORDS[COMP_CWORD - 2]}
    fi

    case $prev in
        --db | --models)
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -d -- "$cur")
            return
            ;;
        --mapping | --plugin)
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -f -- "$cur")
            return
            ;;
        --log-level)
            mapfile -t COMPREPLY < <(compgen -W "error trace" -- "$cur")
            return
            ;;
        --default-operation)
            mapfile -t COMPREPLY < <(compgen -W "merge replace none" -- "$cur")
            return
            ;;
        --report)
            mapfile -t COMPREPLY < <(compgen -W "json json:" -- "$cur")
            return
            ;;
        -o | --output)
            case $(_yfw_subcommand) in
                diff | log | rollback) mapfile -t COMPREPLY < <(compgen -W "text json" -- "$cur") ;;
                *) mapfile -t COMPREPLY < <(compgen -W "json xml" -- "$cur") ;;
            esac
            return
            ;;
    esac

    command=$(_yfw_subcommand)
    options="--help --db --models --mapping --plugin --trace --log-level"
    case $command in
        edit) options+=" --dry-run --default-operation --skip-unknown --strict --verify --all --report --output --compact --diff --comment" ;;
        diff) options+=" --default-operation --skip-unknown --strict --verify --all --report --output --native" ;;
        log) options+=" --output" ;;
        rollback) options+=" --dry-run --output --native --comment" ;;
        load) options+=" --report --drop-passwords --comment" ;;
        export) options+=" --no-passwords --passphrase-file" ;;
        import) options+=" --no-passwords --passphrase-file --replace --comment" ;;
        get) options+=" --native --paths --state --depth --show-passwords --output --compact" ;;
        map) options+=" --deviations --markdown" ;;
        "") options+=" --version" ;;
    esac

    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
    elif [[ -z $command ]]; then
        mapfile -t COMPREPLY < <(compgen -W "edit diff log rollback get load sysdb check map" -- "$cur")
    elif [[ $command == edit || $command == diff || $command == load ]]; then
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$cur")
    fi
}

complete -F _yfw yfw
