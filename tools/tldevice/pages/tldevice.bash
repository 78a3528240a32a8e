# bash completion for tldevice, made from its tables
_tldevice()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local before= command= words=none i
    ((COMP_CWORD > 1)) && before=${COMP_WORDS[COMP_CWORD - 2]}
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        [[ ${COMP_WORDS[i]} == -- ]] && { COMPREPLY=($(compgen -c -f -- "$current")); return; }
        case ${COMP_WORDS[i]} in
            identify|types|properties|paths|sandbox|run|doctor) [[ $command ]] || command=${COMP_WORDS[i]} ;;
        esac
    done
    case $command:$previous in
        identify:--is) words='sn mq avx mhub irx mq2 kr200 kr20v2 kr20 kr30v2 pr30v2 kr30 pr30 kr50 kr100 tq wq tq2 w5 w5p ob20 kr100v2 pr100v2 iou piou r5 r7 brook6 ek10 partner-avr devtab1 dsxin dsx gx7p gx7 kr80 kr25' ;;
        identify:--version-string) words='' ;;
        identify:--release) words='' ;;
        identify:--nodename) words='' ;;
        identify:--from) COMPREPLY=($(compgen -f -- "$current")); return ;;
        identify:--field) words='id name type identifier kernel source version release nodename' ;;
        identify:--color) words='auto always never' ;;
        types:--find) words='' ;;
        types:--field) words='type id name identifier' ;;
        types:--color) words='auto always never' ;;
        properties:--platform) words='jade kite lantern nimbo quill ridge sable' ;;
        properties:--manager) words='avx brook6 devtab1 dsx ek10 gx7 gx7p iou kr100 kr100v2 kr20 kr200 kr20v2 kr25 kr30 kr30v2 kr50 kr80 lantern mediacontroller minicontroller minicontroller2 ob20 partnerreceiver pr30 pr30v2 r5 r7 soundnode ux300 w5 w5p w9touchpanel' ;;
        properties:--diff) words='sn mq avx mhub irx mq2 kr200 kr20v2 kr20 kr30v2 pr30v2 kr30 pr30 kr50 kr100 tq wq tq2 w5 w5p ob20 kr100v2 pr100v2 iou piou r5 r7 brook6 ek10 partner-avr devtab1 dsxin dsx gx7p gx7 kr80 kr25' ;;
        properties:--field) words='id served_as code_name update_manager_name platform package_dir flag1 flag2 flag3 flag4 flag5 flag6 log_dir_script' ;;
        properties:--color) words='auto always never' ;;
        paths:--field) words='layout name path exists kind' ;;
        paths:--color) words='auto always never' ;;
        sandbox:--as) words='sn mq avx mhub irx mq2 kr200 kr20v2 kr20 kr30v2 pr30v2 kr30 pr30 kr50 kr100 tq wq tq2 w5 w5p ob20 kr100v2 pr100v2 iou piou r5 r7 brook6 ek10 partner-avr devtab1 dsxin dsx gx7p gx7 kr80 kr25' ;;
        sandbox:--color) words='auto always never' ;;
        run:-t|run:--timeout) words='' ;;
        run:--env) words='' ;;
        run:--restarts) words='' ;;
        run:--log) COMPREPLY=($(compgen -f -- "$current")); return ;;
        run:--report) COMPREPLY=($(compgen -f -- "$current")); return ;;
        run:--color) words='auto always never' ;;
        doctor:--color) words='auto always never' ;;
        *) case $command:$before in
            properties:--diff) words='sn mq avx mhub irx mq2 kr200 kr20v2 kr20 kr30v2 pr30v2 kr30 pr30 kr50 kr100 tq wq tq2 w5 w5p ob20 kr100v2 pr100v2 iou piou r5 r7 brook6 ek10 partner-avr devtab1 dsxin dsx gx7p gx7 kr80 kr25' ;;
        esac ;;
    esac
    [[ $words != none ]] || case $command in
        '') words='identify types properties paths sandbox run doctor -h --help --version' ;;
        identify) words='--explain --is --version-string --release --nodename --from --field --plain --json --shell --color -h --help --version' ;;
        types) words='--find --lint --field --plain --json --shell --color -h --help --version sn mq avx mhub irx mq2 kr200 kr20v2 kr20 kr30v2 pr30v2 kr30 pr30 kr50 kr100 tq wq tq2 w5 w5p ob20 kr100v2 pr100v2 iou piou r5 r7 brook6 ek10 partner-avr devtab1 dsxin dsx gx7p gx7 kr80 kr25' ;;
        properties) words='--all --platform --manager --script --diff --field --plain --json --shell --color -h --help --version sn mq avx mhub irx mq2 kr200 kr20v2 kr20 kr30v2 pr30v2 kr30 pr30 kr50 kr100 tq wq tq2 w5 w5p ob20 kr100v2 pr100v2 iou piou r5 r7 brook6 ek10 partner-avr devtab1 dsxin dsx gx7p gx7 kr80 kr25' ;;
        paths) words='--real --sandbox --both --field --plain --json --shell --color -h --help --version tollanDir etcDir umDebugFile umStatusFile umExclusionFile umStateFile umStateBakFile umStateCorruptFile syslogFile varCacheDir varLogDir varRunDir varUpmanCacheDir packagesDir' ;;
        sandbox) words='--as --plain --json --shell --color -h --help --version init status clean' ;;
        run) words='-t --timeout --env --restarts --log --report -q --quiet -v --verbose --color -h --help --version'
            [[ $current == -* ]] || words=$(compgen -c -- "$current") ;;
        doctor) words='--bundle --plain --json --shell --color -h --help --version' ;;
    esac
    COMPREPLY=($(compgen -W "$words" -- "$current"))
}
complete -F _tldevice tldevice
