# shellcheck shell=bash
# Completion of morvik(8) for bash.
_morvik() {
    local word=$2 previous=$3
    case $previous in
    -s) mapfile -t COMPREPLY < <(compgen -A hostname -- "$word") ;;
    -d) COMPREPLY=() ;; # a directory of the FTP server
    *) mapfile -t COMPREPLY < <(compgen -W '-s -d' -- "$word") ;;
    esac
}
complete -F _morvik morvik
