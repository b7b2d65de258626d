# What is installed, and how a kept list says it. Sourced.

# The files and links below a folder, one a line and sorted. The folder of libraries, which differs
# from system to system, is called LIB.
installed_files() {
    local folder=$1 libdir=$2
    (cd -- "$folder" && find . -not -type d -printf '%P\n') | sed "s|^\(usr/\)\?$libdir/|\1LIB/|" |
        LC_ALL=C sort
}

# Compares a list on standard input with a kept one.
expect_list() {
    local kept=$1 what=$2 difference
    if ! difference=$(diff <(LC_ALL=C sort -- "$kept") -); then
        printf '%s: not what %s lists (< missing, > unlisted):\n%s\n' "$what" "$kept" "$difference" >&2
        return 1
    fi
}
