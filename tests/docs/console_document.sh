#!/bin/sh
# console_document.sh QV DOCUMENT WORK: runs the lines of a document's console examples that begin
# with "$ ", in the directory WORK, and compares what the document says they print. A line that ends
# with a backslash goes on in the next.
document=$2
rm -rf "$3" && mkdir -p "$3" && cd "$3" || exit 1
PATH=$(dirname "$1"):$PATH

inside=
while IFS= read -r line; do
    if [ -z "$inside" ]; then
        printf '%s\n' "$line"
        [ "$line" = '```console' ] && inside=yes
    elif [ "$line" = '```' ]; then
        printf '%s\n' "$line"
        inside=
    elif [ "${line#\$ }" != "$line" ]; then
        printf '%s\n' "$line"
        command=${line#\$ }
        while [ "${command%\\}" != "$command" ] && IFS= read -r line; do
            printf '%s\n' "$line"
            command="${command%\\}$line"
        done
        sh -c "$command" </dev/null 2>&1
    fi
done <"$document" >document
diff -u "$document" document
