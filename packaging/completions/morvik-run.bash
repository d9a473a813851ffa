# shellcheck shell=bash
# Completion of morvik-run(8) for bash.
_morvik_run() {
    local word=$2 previous=$3
    case $previous in
    --url | --ftp-directory | --min-share | --retry-pause) ;;
    --ftp-server) mapfile -t COMPREPLY < <(compgen -A hostname -- "$word") ;;
    --missing) mapfile -t COMPREPLY < <(compgen -W 'ok fail' -- "$word") ;;
    --files | --state) mapfile -t COMPREPLY < <(compgen -d -- "$word") && compopt -o filenames ;;
    --file | --keyring | --ca | --metrics | --morvik)
        mapfile -t COMPREPLY < <(compgen -f -- "$word") && compopt -o filenames
        ;;
    *)
        mapfile -t COMPREPLY < <(compgen -W '--url --files --file --ftp-server --ftp-directory --keyring
            --ca --min-share --missing --retry-pause --metrics --state --morvik --check --force --json
            --quiet --version --help' -- "$word")
        ;;
    esac
}
complete -F _morvik_run morvik-run
