# bash completion for kaltoreg

_kaltoreg()
{
    local word=${COMP_WORDS[COMP_CWORD]} i=1
    COMPREPLY=()
    if [[ ${COMP_WORDS[COMP_CWORD - 1]} == --sandbox ]]; then
        COMPREPLY=($(compgen -d -- "$word"))
        return
    fi
    while ((i < COMP_CWORD)) && [[ ${COMP_WORDS[i]} == --* ]]; do
        [[ ${COMP_WORDS[i]} == --sandbox ]] && ((i++))
        ((i++))
    done
    if ((i == COMP_CWORD)); then
        COMPREPLY=($(compgen -W "--sandbox --help query tree set delete export import find verify unlock" -- "$word"))
        return
    fi
    case ${COMP_WORDS[i]} in
    import)
        COMPREPLY=($(compgen -f -- "$word"))
        ;;
    unlock)
        COMPREPLY=($(compgen -W "--force" -- "$word"))
        ;;
    query | tree | set | delete | export)
        if ((COMP_CWORD == i + 1)) || [[ ${COMP_WORDS[COMP_CWORD - 1]} == --utf16 ]]; then
            COMPREPLY=($(compgen -W "HKEY_LOCAL_MACHINE HKEY_CURRENT_USER HKEY_CLASSES_ROOT HKEY_USERS" -- "$word"))
            [[ ${COMP_WORDS[i]} == export && $word == -* ]] && COMPREPLY=(--utf16)
            compopt -o nospace 2>/dev/null
        elif [[ ${COMP_WORDS[i]} == set ]] && ((COMP_CWORD == i + 3)); then
            COMPREPLY=($(compgen -W "REG_SZ REG_DWORD REG_BINARY" -- "$word"))
        fi
        ;;
    esac
}
complete -F _kaltoreg kaltoreg
