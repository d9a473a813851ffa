# shellcheck shell=bash
# Completion of morvik and the programs beside it for bash, which loads the file with the name of the program:
# this one is installed under each name.
_morvik() {
    local word=$2 candidates=()
    case $3 in
    -s | --server | --ftp-server) candidates=(-A hostname) ;;
    --category) candidates=(-W 'PROCESSOR MEMORY KEYBOARD PLANAR CDROM FLOPPY OPTIONSP FAN BACKPLANE') ;;
    --format) candidates=(-W '1 2') ;;
    --missing) candidates=(-W 'ok fail') ;;
    --log-level) candidates=(-W 'error warning info debug') ;;
    --files | --include | --smbios | --state) candidates=(-d) ;;
    --ca | --diff | --explain | --file | --html | --keyring | --metrics | --models | --morvik | --on | --recover | \
        --store) candidates=(-f) ;;
    --user) candidates=(-u) ;;
    --writers)
        mapfile -t COMPREPLY < <(compgen -u -- "$word"; compgen -g -P @ -- "${word#@}")
        return
        ;;
    -d | --columns | --find | --for | --ftp-directory | --listen | --max-bytes | --max-instances | --max-request | \
        --min-share | --model | --retry-pause | --url)
        COMPREPLY=()
        return
        ;;
    *)
        case ${1##*/} in
        morvik) candidates=(-W '-s -d') ;;
        morvik-run)
            candidates=(-W '--url --files --file --ftp-server --ftp-directory --keyring --ca --min-share --missing
                --retry-pause --metrics --state --morvik --check --force --json --quiet --version --help')
            ;;
        morvik-show)
            candidates=(-W '--server --machine --for --explain --on --diff --history --html --category --find
                --all --json --format --csv --columns --no-headings --state --version --help')
            ;;
        morvik-lint)
            candidates=(-f)
            [[ $word != -* ]] || candidates=(-W '--json --strict --version --help')
            ;;
        morvik-cimd)
            candidates=(-f -X '!*.mof' -o plusdirs)
            [[ $word != -* ]] || candidates=(-W '--listen --host --smbios --model --models --include --store
                --max-request --max-instances --max-bytes --recover --user --writers --check --log-level
                --help --version')
            ;;
        esac
        ;;
    esac
    [[ ${candidates[0]} != -[df] ]] || compopt -o filenames
    mapfile -t COMPREPLY < <(compgen "${candidates[@]}" -- "$word")
}
complete -F _morvik morvik morvik-cimd morvik-lint morvik-run morvik-show
