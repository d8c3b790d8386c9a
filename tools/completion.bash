# shellcheck shell=bash
# Completion of mailvanectl for bash: source this file, or install it as
# /usr/share/bash-completion/completions/mailvanectl.
_mailvanectl() {
    local words
    # Split at blanks only: bash itself also splits at "=".
    read -ra words <<<"${COMP_LINE:0:COMP_POINT}"
    [[ ${COMP_LINE:0:COMP_POINT} != *[[:blank:]] ]] || words+=("")
    mapfile -t COMPREPLY < <("$1" complete "${words[@]:1}" 2>/dev/null)
    case ${COMPREPLY[0]-} in
    *=) compopt -o nospace ;;
    *=*) COMPREPLY=("${COMPREPLY[@]#*=}") ;;
    esac
}
complete -o default -F _mailvanectl mailvanectl
