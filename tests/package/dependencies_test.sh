#!/usr/bin/env bash
# Checks which shared libraries a library needs: dependencies_test.sh LIBRARY ALLOWED_NAME...
# A name is what comes before ".so". What a sanitizer adds is left aside.
set -euo pipefail
library=$1
shift

status=0
for needed in $(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\.so.*\]/\1/p'); do
    case " $* libasan libubsan libtsan " in
        *" $needed "*) ;;
        *)
            echo "$(basename "$library") needs $needed, which is not among: $*" >&2
            status=1
            ;;
    esac
done
if readelf -d "$library" | grep -qE 'SYMBOLIC|TEXTREL'; then
    echo "$(basename "$library") binds its own symbols or has text relocations" >&2
    status=1
fi
exit "$status"
