# Which driver library the program gets, for the scripts that start it, which source this file.

driver_library=libtavelboardex.so.1

# The path of the board maker's driver library; nothing where it is not installed.
installed_driver() {
    local folder folders=()
    IFS=: read -r -a folders <<<"${LD_LIBRARY_PATH:-}"
    for folder in "${folders[@]}"; do
        if [[ -n $folder && -e $folder/$driver_library ]]; then
            realpath "$folder/$driver_library"
            return
        fi
    done
    PATH=$PATH:/usr/sbin:/sbin ldconfig -p |
        awk -v name="$driver_library" '$1 == name { print $NF; exit }'
}

# use_driver FILE: has the program load this driver library.
use_driver() {
    local folder
    folder=$(realpath "$(dirname "$1")")
    export LD_LIBRARY_PATH=$folder${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
}
