# Completion of morvik-lint(1) for fish.
complete -c morvik-lint -l json -d 'Print JSON'
complete -c morvik-lint -l strict -d 'Status 1 for warnings, too'
complete -c morvik-lint -l help -d 'Show the options'
complete -c morvik-lint -l version -d 'Show the version'
