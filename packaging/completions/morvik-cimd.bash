# shellcheck shell=bash
# Completion of morvik-cimd(8) for bash.
_morvik_cimd() {
    local word=$2 previous=$3
    case $previous in
    --listen | --model | --max-request | --max-instances | --max-bytes) COMPREPLY=() ;;
    --smbios | --include) mapfile -t COMPREPLY < <(compgen -d -- "$word") && compopt -o filenames ;;
    --models | --store | --recover) mapfile -t COMPREPLY < <(compgen -f -- "$word") && compopt -o filenames ;;
    --writers) mapfile -t COMPREPLY < <(compgen -u -- "$word" && compgen -g -P @ -- "${word#@}") ;;
    --user) mapfile -t COMPREPLY < <(compgen -u -- "$word") ;;
    --log-level) mapfile -t COMPREPLY < <(compgen -W 'error warning info debug' -- "$word") ;;
    *)
        if [[ $word == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W '--listen --host --smbios --model --models --include --store
                --max-request --max-instances --max-bytes --recover --user --writers
                --check --log-level --help --version' -- "$word")
        else
            mapfile -t COMPREPLY < <(compgen -f -X '!*.mof' -- "$word" && compgen -d -- "$word")
            compopt -o filenames
        fi
        ;;
    esac
}
complete -F _morvik_cimd morvik-cimd
