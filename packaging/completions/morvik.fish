# Completion of morvik and the programs beside it for fish, which loads the file with the name of the program:
# this one is installed under each name.
set -l program (string replace .fish '' (status basename))
switch $program
case morvik
    complete -c $program -f
    complete -c $program -o s -x -a '(__fish_print_hostnames)' -d 'FTP server'
    complete -c $program -o d -x -d 'Directory on the FTP server'
case morvik-cimd
    complete -c $program -f -a '(__fish_complete_suffix .mof)' -d 'MOF file'
    complete -c $program -l listen -x -d 'Loopback address and port to listen on'
    complete -c $program -l host -d 'Serve the inventory of this machine'
    complete -c $program -l smbios -x -a '(__fish_complete_directories)' -d 'Serve recorded tables'
    complete -c $program -l model -x -d 'Model of the machine'
    complete -c $program -l models -r -F -d 'Models by product name'
    complete -c $program -l include -x -a '(__fish_complete_directories)' -d 'Look for included files here too'
    complete -c $program -l store -r -F -d 'Keep what clients publish'
    complete -c $program -l max-request -x -d 'Largest request'
    complete -c $program -l max-instances -x -d 'How many instances clients may publish'
    complete -c $program -l max-bytes -x -d 'How large published instances may be together'
    complete -c $program -l recover -r -F -d 'Recover a damaged store'
    complete -c $program -l user -x -a '(__fish_complete_users)' -d 'Account to run as'
    complete -c $program -l writers -x -a '(__fish_complete_users; string replace -r ^ @ (__fish_complete_groups))' -d 'Accounts and groups that may change instances'
    complete -c $program -l check -d 'Load everything, report and end'
    complete -c $program -l log-level -x -a 'error warning info debug' -d 'Log verbosity'
case morvik-lint
    complete -c $program -l json -d 'Print JSON'
    complete -c $program -l strict -d 'Status 1 for warnings, too'
case morvik-run
    complete -c $program -f
    complete -c $program -l url -x -d 'Directory with the data files'
    complete -c $program -l files -x -a '(__fish_complete_directories)' -d 'The same on this machine'
    complete -c $program -l file -r -F -d 'One data file on this machine'
    complete -c $program -l ftp-server -x -a '(__fish_print_hostnames)' -d 'FTP server'
    complete -c $program -l ftp-directory -x -d 'Directory on the FTP server'
    complete -c $program -l keyring -r -F -d 'Keys that may sign'
    complete -c $program -l ca -r -F -d 'Certificates to trust'
    complete -c $program -l min-share -x -d 'Refuse less of the last entries'
    complete -c $program -l missing -x -a 'ok fail' -d 'A type without a data file'
    complete -c $program -l retry-pause -x -d 'Seconds before the second try'
    complete -c $program -l metrics -r -F -d 'Write metrics for Prometheus'
    complete -c $program -l state -x -a '(__fish_complete_directories)' -d 'What is remembered'
    complete -c $program -l morvik -r -F -d 'The program to run'
    complete -c $program -l check -d 'Do everything but publishing'
    complete -c $program -l force -d 'Accept far fewer entries'
    complete -c $program -l json -d 'Write JSON'
    complete -c $program -l quiet -d 'Write nothing but failures'
case morvik-show
    complete -c $program -f
    complete -c $program -l server -x -a '(__fish_print_hostnames)' -d 'CIM server to ask'
    complete -c $program -s j -l json -d 'Print JSON'
    complete -c $program -l format -x -a '1 2' -d 'Format of JSON'
    complete -c $program -l columns -x -d 'Only these columns'
    complete -c $program -l no-headings -d 'Leave out the headings'
    complete -c $program -l csv -d 'Print CSV'
    complete -c $program -l category -x -d 'Only this category' \
        -a 'PROCESSOR MEMORY KEYBOARD PLANAR CDROM FLOPPY OPTIONSP FAN BACKPLANE'
    complete -c $program -l find -x -d 'Only entries with this text'
    complete -c $program -l all -d 'Instances of other publishers too'
    complete -c $program -l machine -d 'The machine and its parts'
    complete -c $program -l for -x -d 'The number for the part at a place'
    complete -c $program -l diff -r -F -d 'What has changed since this JSON'
    complete -c $program -l explain -r -F -d 'Judge each line of a FRU data file'
    complete -c $program -l on -r -F -d 'Explain it on the machines of inventories'
    complete -c $program -l html -r -F -d 'Write a page of inventories'
    complete -c $program -l history -d 'What the runs of morvik-run have changed'
    complete -c $program -l state -x -a '(__fish_complete_directories)' -d 'State directory of morvik-run'
end
if test $program != morvik
    complete -c $program -s h -l help -d 'Show the options'
    complete -c $program -s V -l version -d 'Show the version'
end
