#!/usr/bin/env bash
# Records a monitor into a WebM file until Ctrl-C, without the windows whose numbers are given.
#
#   record_webm.sh [-m MONITOR] FILE [WINDOW]...
#
# MONITOR is an index, WINDOW a number as 'capmgr windows' prints it. GST_PLUGIN_PATH names the
# folder with the plugin where that is not installed.
set -euo pipefail

usage() {
    printf 'usage: %s [-m MONITOR] FILE [WINDOW]...\n' "${0##*/}" >&2
    exit 2
}

monitor=-1
while getopts m: option; do
    case $option in
        m) monitor=$OPTARG ;;
        *) usage ;;
    esac
done
shift $((OPTIND - 1))
(($# > 0)) || usage
file=$1
shift

source=(qorcapturesrc "monitor=$monitor")
if (($# > 0)); then
    windows=$(IFS=,; printf '%s' "$*")
    source+=("excluded-windows=<$windows>")
fi

# Ctrl-C reaches gst-launch, which closes the file properly before it ends (-e). Unbuffered, so that
# all up to there is in the file should something else end it.
status=0
gst-launch-1.0 -e "${source[@]}" ! videoconvert ! queue \
    ! vp8enc deadline=1 cpu-used=4 end-usage=cq cq-level=20 target-bitrate=8000000 \
    ! webmmux ! filesink buffer-mode=unbuffered "location=$file" || status=$?
if [[ -e $file && ! -s $file ]]; then
    rm -- "$file" # nothing was recorded
fi
exit "$status"
