# Completion of yfw for bash. Installed where bash-completion looks for it; can be sourced as well. The command itself
# says what may stand at the cursor.

# The words up to the cursor, into the caller's `words`. bash takes them apart at COMP_WORDBREAKS, "=" and ":" among them:
# what no blank stands between is one word.
_yfw_words() {
    local line=${COMP_LINE:0:COMP_POINT} rest word i
    for ((i = 0; i <= COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        rest=${line#"${line%%[![:space:]]*}"}
        ((i < COMP_CWORD)) || word=$rest
        if [[ $rest == "$line" && i -gt 0 ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
        line=${rest#"$word"}
    done
}

# A word as the shell would hand it on, into the caller's `plain`.
_yfw_unquote() {
    local rest=$1
    plain=
    case $rest in
        \'*) plain=${rest#\'} plain=${plain%\'} ;;
        \"*) plain=${rest#\"} plain=${plain%\"} ;;
        *)
            while [[ $rest == *\\* ]]; do
                plain+=${rest%%\\*}
                rest=${rest#*\\}
                plain+=${rest:0:1}
                rest=${rest:1}
            done
            plain+=$rest
            ;;
    esac
    # shellcheck disable=SC2088 # a tilde as it was typed
    [[ $plain == "~/"* ]] && plain=$HOME/${plain#"~/"}
}

_yfw() {
    local words=() plain i line text
    COMPREPLY=()
    _yfw_words
    local typed=${words[-1]} before='' open=''
    for i in "${!words[@]}"; do
        _yfw_unquote "${words[i]}"
        words[i]=$plain
    done
    # What bash completes begins behind the last of its word breaks, unless the word is quoted.
    if [[ $typed != [\'\"]* ]]; then
        _yfw_unquote "${typed%"${typed##*["$COMP_WORDBREAKS"]}"}"
        before=$plain
    fi
    while IFS= read -r line; do
        case $line in
            @*)
                text=${words[-1]}
                [[ $text == --*=* ]] && text=${text#*=}
                compopt -o filenames
                local kind=-f
                [[ $line == @directories ]] && kind=-d
                mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen "$kind" -- "$text")
                ;;
            *)
                text=${line%%$'\t'*}
                [[ $text == +* ]] && open=yes && compopt -o nospace
                text=${text#[+=]}
                text=${text#"$before"}
                # Brackets may stand as they are: a pattern that no file matches is a word.
                if [[ $typed != [\'\"]* && $text == *[!][:alnum:]_./:=@,+*%[-]* ]]; then
                    printf -v text %q "$text"
                fi
                COMPREPLY+=("$text")
                ;;
        esac
    done < <("${words[0]}" complete -- "${words[@]:1}" 2>/dev/null)
    # bash closes the quotes around an only candidate; of two it takes what they share.
    if [[ $typed == [\'\"]* && -n $open && ${#COMPREPLY[@]} -eq 1 ]]; then
        COMPREPLY+=("${COMPREPLY[0]} ")
    fi
}

complete -F _yfw yfw
