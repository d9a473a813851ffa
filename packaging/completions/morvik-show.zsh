#compdef morvik-show
# Completion of morvik-show(1) for zsh.
_arguments \
    '--server[CIM server to ask]:host and port:_hosts' \
    '(--csv)--json[print JSON]' \
    '--format[format of JSON]:format:(1 2)' \
    '(--json)--csv[print CSV]' \
    '--category[only this category]:category:(PROCESSOR MEMORY KEYBOARD PLANAR CDROM FLOPPY OPTIONSP FAN BACKPLANE)' \
    '--all[instances of other publishers too]' \
    '--machine[what morvik reads of this machine]' \
    '--explain[judge each line of a FRU data file]:file:_files' \
    '*--on[explain it on the machines of inventories]:inventory:_files' \
    '*--html[write a page of inventories]:inventory:_files' \
    '--history[what the runs of morvik-run have changed]' \
    '--state[state directory of morvik-run]:directory:_files -/' \
    '(- *)--help[show the options]' \
    '(- *)--version[show the version]'
