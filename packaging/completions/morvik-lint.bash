# shellcheck shell=bash
# Completion of morvik-lint(1) for bash.
_morvik_lint() {
    local word=$2
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '--json --strict --version --help' -- "$word")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$word") && compopt -o filenames
    fi
}
complete -F _morvik_lint morvik-lint
