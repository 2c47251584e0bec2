# For scripts: `use_prefix_copy NAME` puts a copy of the Wine prefix WINEPREFIX in its place, which goes with the script
# as does its Wine server; `log` names a file for what they print.
use_prefix_copy() {
    prefix=$WINEPREFIX-$1-$$
    log=$prefix.log
    # Links suffice for the system's files, which nobody writes; the registry is written, so it is copied; where other
    # tests stand with their programs is left out, since who writes there would write theirs. What other tests delete
    # meanwhile is missed without harm; the mark of a complete prefix must be there.
    cp -al "$WINEPREFIX" "$prefix" 2>"$log" || [ -e "$prefix/complete" ]
    rm -rf "$prefix/drive_c/inst"
    for registry in "$prefix"/*.reg; do
        cp "$registry" "$registry.copy"
        mv "$registry.copy" "$registry"
    done
    export WINEPREFIX="$prefix"
    trap drop_prefix_copy EXIT
}

drop_prefix_copy() {
    wineserver -k >>"$log" 2>&1 || true
    rm -rf "$prefix" "$log"
}
