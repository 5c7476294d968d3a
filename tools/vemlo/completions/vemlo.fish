# Completion of the vemlo command in fish. To load it: vemlo completion fish | source

function __vemlo_complete
    set -l before (commandline --cut-at-cursor --current-process --tokenize)
    set -l word (commandline --current-token --tokenize)
    set -l candidates (command vemlo complete -- $before[2..] "$word" 2>/dev/null </dev/null)
    if test "$candidates[1]" != \t'file'
        printf '%s\n' $candidates
        return
    end
    set -l option (string match --regex -- '^--[^=]*=' "$word")
    set -l path (string replace -- "$option" '' "$word")
    for file in (__fish_complete_path "$path")
        printf '%s\n' "$option$file"
    end
end

complete --command vemlo --no-files --arguments '(__vemlo_complete)'
