#compdef morvik-show
# Completion of morvik-show(1) for zsh.
_arguments \
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
    '--state[state directory of morvik-run]:directory:_files -/' \
    '(- *)--help[show the options]' \
    '(- *)--version[show the version]'
