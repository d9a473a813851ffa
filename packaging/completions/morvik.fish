# Completion of morvik(8) for fish.
complete -c morvik -f
complete -c morvik -o s -x -a '(__fish_print_hostnames)' -d 'FTP server'
complete -c morvik -o d -x -d 'Directory on the FTP server'
