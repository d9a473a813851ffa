#compdef morvik-cimd
# Completion of morvik-cimd(8) for zsh.
_arguments \
    '--listen[where to listen]:loopback address and port: ' \
    '(--smbios)--host[serve the inventory of this machine]' \
    '(--host)--smbios[serve recorded tables]:directory:_files -/' \
    '(--models)--model[model of the machine]:text: ' \
    '(--model)--models[models by product name]:file:_files' \
    '*--include[look for included files here too]:directory:_files -/' \
    '--store[keep what clients publish]:file:_files' \
    '--max-request[largest request]:size: ' \
    '--max-instances[how many instances clients may publish]:number: ' \
    '--max-bytes[how large published instances may be together]:size: ' \
    '--recover[recover a damaged store]:file:_files' \
    '--user[account to run as]:user:_users' \
    '*--writers[accounts and groups that may change instances]:accounts and @groups:_users' \
    '--check[load everything, report and end]' \
    '--log-level[how much to tell]:level:(error warning info debug)' \
    '(- *)--help[show the options]' \
    '(- *)--version[show the version]' \
    '*:MOF file:_files -g "*.mof"'
