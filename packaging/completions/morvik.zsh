#compdef morvik
# Completion of morvik(8) for zsh.
_arguments '-s[FTP server]:server:_hosts' '-d[folder on the FTP server]:folder: '
