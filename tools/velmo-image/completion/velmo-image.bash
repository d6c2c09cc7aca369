# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
# Completion of velmo-image in bash 4.4 and later: commands, options, values and names of files.
# shellcheck shell=bash

# _velmo_image_options COMMAND: the options of a command.
_velmo_image_options() {
    local input='--format --size --type --offset --byte-order --directories --pixels'
    local output='--output-format --compression --header --threads --overwrite --quiet'
    local edit='--z --c --t --region --pixel-size --unit --to-type --range'
    case $1 in
    info) echo "--help --json --table --check $input --threads --quiet" ;;
    convert) echo "--help $input $edit $output --calibration-tags --imagej" ;;
    import) echo "--help $output --calibration-tags --series --page --axes --palette --to-rgb --min-is-black --lossy --json" ;;
    preview) echo "--help --z --c --t --montage --columns --step --projection --max-size --max-bytes --range $input --overwrite --quiet" ;;
    stats) echo "--help --by --percentiles --histogram --json --csv $input --threads --quiet" ;;
    compare) echo "--help --tolerance --strict --json $input --threads --quiet" ;;
    project) echo "--help --along --by $input $output --calibration-tags" ;;
    stack) echo "--help --pixels --strict --along $output --calibration-tags" ;;
    split) echo "--help $input $edit --along --digits --compression --threads --calibration-tags --overwrite --quiet" ;;
    resample) echo "--help --pixels --strict $output --size-z --interpolation" ;;
    match) echo "--help --directory --strict" ;;
    *) echo "--help --version" ;;
    esac
}

# _velmo_image_values OPTION COMMAND: the values of an option that takes one of a few words; "-" for an option
# that takes something else; nothing for one without a value.
_velmo_image_values() {
    case $2:$1 in
    project:--along) echo 'z t c' && return ;;
    project:--by) echo 'max min mean sum' && return ;;
    esac
    case $1 in
    --by) echo 'file plane channel time' ;;
    --format) echo 'raw tiff im6' ;;
    --output-format) echo 'raw tiff' ;;
    --type | --to-type) echo 'uint8 int8 uint16 int16 uint32 int32 real32 binary label8 label16 label32' ;;
    --byte-order) echo 'little big' ;;
    --directories | --along) echo 'z t' ;;
    --pixels) echo 'default binary label' ;;
    --compression) echo 'none lzw deflate' ;;
    --interpolation) echo 'nearest linear cubic' ;;
    --palette) echo 'index rgb' ;;
    --projection) echo 'max min mean' ;;
    --series | --page | --axes | --size | --offset | --size-z | --z | --c | --t | --columns | --step | --max-size | --max-bytes | --range | --header | --threads | --directory | --percentiles | --histogram | --tolerance | --region | --pixel-size | --unit | --digits) echo - ;;
    esac
}

# _velmo_image_offer WORD KIND: nothing (none), folders (folders), or what bash itself completes (files).
_velmo_image_offer() {
    case $2 in
    none) compopt +o default +o bashdefault ;;
    folders)
        compopt +o default +o bashdefault -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$1")
        ;;
    esac 2>/dev/null # outside of a completion there is nothing to set
}

# _velmo_image_place COMMAND NUMBER: what stands at a place of the names of a command.
_velmo_image_place() {
    case $1:$2 in
    stack:0 | resample:0) echo folders ;;
    split:1) echo folders ;;
    stack:1 | resample:1 | match:0 | split:2) echo none ;;
    *) echo files ;;
    esac
}

_velmo_image() {
    local word=${COMP_WORDS[COMP_CWORD]} option='' command='' values='' place=0 names_only='' index=1
    COMPREPLY=()
    # The words before the one at the cursor. Bash makes three of --option=value.
    while [ "$index" -lt "$COMP_CWORD" ]; do
        local passed=${COMP_WORDS[index]}
        if [ "$passed" = = ]; then
            :
        elif [ -n "$option" ]; then
            option=''
        elif [ -z "$names_only" ] && [ "$passed" = -- ]; then
            names_only=yes
        elif [ -z "$names_only" ] && [ "${passed#-}" != "$passed" ]; then
            [ -z "$(_velmo_image_values "$passed" "$command")" ] || option=$passed
        elif [ -z "$command" ]; then
            command=$passed
        else
            place=$((place + 1))
        fi
        index=$((index + 1))
    done
    [ "$word" != = ] || word=''
    values=$(_velmo_image_values "$option" "$command")
    case $option in
    --header) return ;;
    --directory)
        _velmo_image_offer "$word" folders
        return
        ;;
    esac
    if [ -n "$option" ]; then
        [ "$values" != - ] || values=''
        _velmo_image_offer "$word" none
    elif [ -z "$names_only" ] && [ "${word#-}" != "$word" ]; then
        values=$(_velmo_image_options "$command")
    elif [ -z "$command" ] || [ "$command:$place" = help:0 ]; then
        values='info convert import preview stats compare project stack split resample match'
        [ -n "$command" ] || values+=' help'
        _velmo_image_offer "$word" none
    else
        _velmo_image_offer "$word" "$(_velmo_image_place "$command" "$place")"
        return
    fi
    mapfile -t COMPREPLY < <(compgen -W "$values" -- "$word")
}

complete -o bashdefault -o default -F _velmo_image velmo-image
