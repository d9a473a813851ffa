#compdef morvik morvik-cimd morvik-lint morvik-run morvik-show
# Completion of morvik and the programs beside it for zsh.
local common=('(- *)--help[show the options]' '(- *)--version[show the version]')
case $service in
morvik)
    _arguments '-s[FTP server]:server:_hosts' '-d[directory on the FTP server]:directory: '
    ;;
morvik-cimd)
    _arguments $common \
        '--listen[where to listen]:loopback address and port: ' \
        '(--smbios)--host[serve the inventory of this machine]' \
        '(--host)--smbios[serve recorded tables]:directory:_files -/' \
        '(--models)--model[model of the machine]:text: ' \
        '(--model)--models[models by product name]:file:_files' \
        '*--include[look for included files here too]:directory:_files -/' \
        '--store[keep what clients publish]:file:_files' \
        '--max-request[largest request]:size: ' \
        '--max-instances[how many instances clients may publish]:number: ' \
        '--max-bytes[how large published instances may be together]:size: ' \
        '--recover[recover a damaged store]:file:_files' \
        '--user[account to run as]:user:_users' \
        '*--writers[accounts and groups that may change instances]:accounts and @groups:_users' \
        '--check[load everything, report and end]' \
        '--log-level[log verbosity]:level:(error warning info debug)' \
        '*:MOF file:_files -g "*.mof"'
    ;;
morvik-lint)
    _arguments $common \
        '--json[print JSON]' \
        '--strict[status 1 for warnings, too]' \
        '*:data file:_files'
    ;;
morvik-run)
    _arguments $common \
        '--url[directory with the data files]:URL:_urls' \
        '--files[the same on this machine]:directory:_files -/' \
        '--file[one data file on this machine]:file:_files' \
        '--ftp-server[FTP server]:host:_hosts' \
        '--ftp-directory[directory on the FTP server]:directory: ' \
        '--keyring[keys that may sign]:file:_files' \
        '--ca[certificates to trust]:file:_files' \
        '--min-share[refuse less of the last entries]:share: ' \
        '--missing[a type without a data file]:word:(ok fail)' \
        '--retry-pause[before the second try]:seconds: ' \
        '--metrics[write metrics for Prometheus]:file:_files' \
        '--state[what is remembered]:directory:_files -/' \
        '--morvik[the program to run]:program:_files' \
        '--check[do everything but publishing]' \
        '--force[accept far fewer entries]' \
        '--json[write JSON]' \
        '--quiet[write nothing but failures]'
    ;;
morvik-show)
    _arguments $common \
        '--server[CIM server to ask]:host and port:_hosts' \
        '(--csv)--json[print JSON]' \
        '--format[format of JSON]:format:(1 2)' \
        '(--json)--csv[print CSV]' \
        '(--json)--columns[only these columns]:names: ' \
        '(--json)--no-headings[leave out the headings]' \
        '--find[only entries with this text]:text: ' \
        '--category[only this category]:category:(PROCESSOR MEMORY KEYBOARD PLANAR CDROM FLOPPY OPTIONSP FAN BACKPLANE)' \
        '--all[instances of other publishers too]' \
        '--machine[the machine and its parts]' \
        '--for[the number for the part at a place]:place: ' \
        '--diff[what has changed since this JSON]:file:_files' \
        '--explain[judge each line of a FRU data file]:file:_files' \
        '*--on[explain it on the machines of inventories]:inventory:_files' \
        '*--html[write a page of inventories]:inventory:_files' \
        '--history[what the runs of morvik-run have changed]' \
        '--state[state directory of morvik-run]:directory:_files -/'
    ;;
esac
