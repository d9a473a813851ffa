# shellcheck shell=bash
# Completion of morvik-show(1) for bash.
_morvik_show() {
    local word=$2 previous=$3
    case $previous in
    --server) mapfile -t COMPREPLY < <(compgen -A hostname -- "$word") ;;
    --category)
        mapfile -t COMPREPLY < <(compgen -W 'PROCESSOR MEMORY KEYBOARD PLANAR CDROM FLOPPY OPTIONSP
            FAN BACKPLANE' -- "$word")
        ;;
    --state) mapfile -t COMPREPLY < <(compgen -d -- "$word") && compopt -o filenames ;;
    --format) mapfile -t COMPREPLY < <(compgen -W '1 2' -- "$word") ;;
    --explain | --on | --diff | --html) mapfile -t COMPREPLY < <(compgen -f -- "$word") && compopt -o filenames ;;
    --for | --find | --columns) COMPREPLY=() ;;
    *)
        mapfile -t COMPREPLY < <(compgen -W '--server --machine --for --explain --on --diff --history --html
            --category --find --all --json --format --csv --columns --no-headings --state --version
            --help' -- "$word")
        ;;
    esac
}
complete -F _morvik_show morvik-show
