# fish completion for tldevice: the command itself supplies the candidates.

function __tldevice_complete
    set -l before (commandline -opc)
    set -l current (commandline -ct)
    command -sq $before[1]; or return
    set -l answer ($before[1] __complete $before[2..-1] $current 2>/dev/null)
    switch "$answer[1]"
        case :files
            set -l option (string match -r -- '^--[^=]*=' $current)
            for file in (__fish_complete_path (string replace -r -- '^--[^=]*=' '' $current))
                echo "$option$file"
            end
        case ':program *'
            set -l first (math 1 + (string replace ':program ' '' $answer[1]))
            complete -C (string join ' ' -- (string escape -- $before[$first..-1]) "$current")
        case '*'
            string match -v '' -- $answer[2..-1]
    end
end

complete -c tldevice -f -a '(__tldevice_complete)'
