#compdef morvik-run
# Completion of morvik-run(8) for zsh.
_arguments \
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
    '--quiet[write nothing but failures]' \
    '(- *)--help[show the options]' \
    '(- *)--version[show the version]'
