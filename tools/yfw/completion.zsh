#compdef yfw
# Completion of yfw for zsh, installed as _yfw where zsh looks for functions. The command itself says what may stand at
# the cursor.

_yfw() {
    local line text told files
    local -a given finished finished_told open open_told
    given=("${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}")
    given=("${(@)given/#\~\//$HOME/}")
    while IFS= read -r line; do
        text=${${line%%$'\t'*}#?}
        told=$text
        [[ $line == *$'\t'* ]] && told+="  ${line#*$'\t'}"
        case $line in
            @*) files=$text ;;
            +*) open+=("$text") open_told+=("$told") ;;
            *) finished+=("$text") finished_told+=("$told") ;;
        esac
    done < <("${(Q)words[1]}" complete -- "${(@)given}" 2>/dev/null)
    compadd -l -d finished_told -a finished
    compadd -l -S '' -d open_told -a open
    if [[ -n $files ]]; then
        compset -P '--*='
        [[ $files == directories ]] && _files -/ || _files
    fi
}

_yfw "$@"
