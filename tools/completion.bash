# Completion of bash for the programs html5-video-*: options, the values that are words or files, and
# the commands of --exec. All of it is read from the program's own --help, when it is asked for.
_html5_video()
{
    local program=${1/#\~/$HOME} word=$2 before=$3
    if [[ $word == = ]]; then # "--log=", which comes as two words
        word=''
    elif [[ $before == = ]]; then # "--log=no", which comes as three
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi

    local options=() commands=() names=() line value='' usage='' section=''
    while IFS= read -r line; do
        case $line in
            Usage:*) usage=$line ;;
            [A-Z]*:) section=$line ;;
            '  -'*)
                [[ $line =~ ^\ \ (-[^\ ,]+(,\ -[^\ ,]+)*)(\ \[?([^]\ ]+))? ]]
                read -ra names <<<"${BASH_REMATCH[1]//,/}"
                options+=("${names[@]}")
                [[ " ${names[*]} " == *" $before "* ]] && value=${BASH_REMATCH[4]}
                ;;
            '  '[a-z]*)
                read -r line _ <<<"$line"
                [[ $section == Commands: ]] && commands+=("$line")
                ;;
        esac
    done < <("$program" --help 2>/dev/null)

    case $word,$value,$usage in
        -*) value=${options[*]} ;;
        *,*'|'*,*) value=${value//|/ } ;;
        *,COMMANDS,*) value=${commands[*]} ;;
        *,FILE,* | *,PATH,* | *,DEVICE,* | *,COMMAND,* | *,,*URL* | *,,*FILE*)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
            ;;
        *) value='' ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$value" -- "$word")
}
complete -F _html5_video html5-video-{player,browser,console,boxinfo,web-browser}
