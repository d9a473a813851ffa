#compdef morvik
# Completion of morvik(8) for zsh.
_arguments '-s[FTP server]:server:_hosts' '-d[directory on the FTP server]:directory: '
