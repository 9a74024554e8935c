# Completion of vcfgctl for bash. All that can be known of a command line says 'vcfgctl complete' itself.
_vcfgctl() {
    local cur words cword
    _get_comp_words_by_ref -n '=:<>' cur words cword
    local typed=("${words[@]:1:cword}")
    typed[cword - 1]=${cur#[\"\']}
    mapfile -t COMPREPLY < <(vcfgctl complete -- "${typed[@]}" 2>/dev/null)
    case ${COMPREPLY[0]-} in
        *. | *=) compopt -o nospace ;;
    esac
    # What stands before the last '=' is no part of the word that bash replaces.
    if [[ $cur == *=* && $COMP_WORDBREAKS == *=* ]]; then
        COMPREPLY=("${COMPREPLY[@]##*=}")
    fi
}
complete -o default -F _vcfgctl vcfgctl
