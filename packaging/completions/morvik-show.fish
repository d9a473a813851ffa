# Completion of morvik-show(1) for fish.
complete -c morvik-show -f
complete -c morvik-show -l server -x -a '(__fish_print_hostnames)' -d 'CIM server to ask'
complete -c morvik-show -l json -d 'Print JSON'
complete -c morvik-show -l format -x -a '1 2' -d 'Format of JSON'
complete -c morvik-show -l csv -d 'Print CSV'
complete -c morvik-show -l category -x -d 'Only this category' \
    -a 'PROCESSOR MEMORY KEYBOARD PLANAR CDROM FLOPPY OPTIONSP FAN BACKPLANE'
complete -c morvik-show -l all -d 'Instances of other publishers too'
complete -c morvik-show -l machine -d 'What morvik reads of this machine'
complete -c morvik-show -l explain -r -F -d 'Judge each line of a FRU data file'
complete -c morvik-show -l on -r -F -d 'Explain it on the machines of inventories'
complete -c morvik-show -l html -F -d 'Write a page of inventories'
complete -c morvik-show -l history -d 'What the runs of morvik-run have changed'
complete -c morvik-show -l state -x -a '(__fish_complete_directories)' -d 'State directory of morvik-run'
complete -c morvik-show -l help -d 'Show the options'
complete -c morvik-show -l version -d 'Show the version'
