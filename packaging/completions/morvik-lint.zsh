#compdef morvik-lint
# Completion of morvik-lint(1) for zsh.
_arguments \
    '--json[print JSON]' \
    '--strict[status 1 for warnings, too]' \
    '(- *)--help[show the options]' \
    '(- *)--version[show the version]' \
    '*:data file:_files'
