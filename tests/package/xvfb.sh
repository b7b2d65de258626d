# An X server of a test's own, for scripts. Sourced.

# Starts one with a screen of 640 x 480 and sets DISPLAY to it. Its output, and the file with its number,
# are in the folder given. It ends with the process that started it, even where that is killed.
start_xvfb() {
    local folder=$1 attempt number
    : >"$folder/display"
    setpriv --pdeathsig TERM Xvfb -displayfd 3 -screen 0 640x480x24 -noreset -nolisten tcp \
        3>"$folder/display" >"$folder/xvfb.log" 2>&1 &
    xvfb=$!
    for ((attempt = 0; attempt < 600; ++attempt)); do
        if read -r number <"$folder/display"; then
            export DISPLAY=:$number
            return 0
        fi
        kill -0 "$xvfb" 2>/dev/null || break
        sleep 0.05
    done
    printf 'Xvfb did not start:\n' >&2
    cat "$folder/xvfb.log" >&2
    return 1
}

stop_xvfb() {
    [[ -n ${xvfb-} ]] || return 0
    kill "$xvfb" 2>/dev/null || true
    wait "$xvfb" 2>/dev/null || true
}
