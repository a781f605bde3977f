# SPDX-License-Identifier: MIT
# Run by check-zsh-completion. A second, interactive zsh on a pseudo-terminal completes lines; a function in the place of
# compadd prints what it would offer.
zmodload zsh/zpty || exit 1
setopt extendedglob

tool=$1 completion=$2 recording=$3
scratch=$(mktemp -d)
trap 'rm -rf -- $scratch' EXIT
mkdir -p $scratch/functions $scratch/bin $scratch/config/qzgamecontroller
cp -- $completion $scratch/functions/_qzgc
cp -- $recording $scratch/flight.hid
: >$scratch/config/qzgamecontroller/racer.json
: >$scratch/config/qzgamecontroller/rally.json
print -r -- '{"x": ["steer"],
 "buttons": ["honk", "high beam"
]}' >$scratch/actions.json
# The tool itself, and one with options of which it may have none.
cat >$scratch/bin/qzgc <<'END_OF_TOOL'
#!/bin/sh
case "$*" in
"assign --help")
    printf 'Positionals:\n  DEVICE TEXT  Which\n\nOptions:\n'
    printf '  %s  What\n' '--set CONTROL=ACTION ...' '--from RECORDING' '--actions FILE' '--seconds NUMBER:FLOAT in [0 - 1]' '--lines Excludes: --json' '--count N:INT in [1 - 9]'
    ;;
*) exec "$REAL_TOOL" "$@" ;;
esac
END_OF_TOOL
chmod +x $scratch/bin/qzgc

cat >$scratch/inner.zsh <<'END_OF_INNER'
PS1= PS2=
stty -echo -onlcr
unset zle_bracketed_paste
fpath=($PWD/functions $fpath)
autoload -Uz compinit && compinit -D -u
bindkey '^I' complete-word '^U' kill-whole-line
zstyle ':completion:*' matcher-list ''
compadd() {
    local -a offered
    # Calls that only work on arrays are left alone.
    if [[ ${argv[1,(i)(-|--)]} == *-[OAD]* ]]; then
        builtin compadd "$@"
        return
    fi
    builtin compadd -A offered "$@"
    (( $#offered )) && print -rl -- '<'${^offered}'>'
    builtin compadd "$@"
}
finish() {
    zle kill-whole-line
    print -r -- '@@end@@'
}
zle -N finish
bindkey '^]' finish
print -r -- '@@end@@'
END_OF_INNER

cd $scratch
export XDG_CONFIG_HOME=$scratch/config REAL_TOOL=$tool PATH=$scratch/bin:$PATH TERM=vt100
zpty inner zsh -f -i || exit 1
# Up to the mark, or to the end of the inner shell.
receive() {
    local text piece
    while [[ $text != *'@@end@@'* ]]; do
        zpty -r inner piece || return 1
        text+=$piece
    done
    REPLY=$text
}
zpty -w inner "source $scratch/inner.zsh"
receive || exit 1

integer status_=0
# expect WANTED LINE: what is offered at the end of the line, sorted, one blank between the answers.
expect() {
    local wanted=$1 got
    zpty -w -n inner "$2"$'\t\x1d'
    receive || { print -r -- "qzgc: the inner shell has gone at <$2>"; exit 1 }
    got=${(j: :)${(ou)${(M)${(f)REPLY}:#*\<[^\<]*\>*}//(#b)*\<([^<>]##)\>*/$match[1]}}
    if [[ $got != $wanted ]]; then
        print -r -- "$2: wanted <$wanted>, got <$got>"
        status_=1
    fi
}

known=( ${(f)"$($tool --help | sed -n '/^Subcommands:/,$s/^  \([a-z]*\) .*/\1/p')"} )
(( $#known )) || exit 1
expect "${(j: :)${(@o)known}}" 'qzgc '
for command in $known; do
    shown=( ${(f)"$($tool $command --help |
        sed -n '/^Options:/,$s/^  \(-h,\)\{0,1\}\(--[a-z]*\).*/\2/p')"} )
    expect "${(j: :)${(@o)shown}}" "qzgc $command --"
done
expect '--help --version' 'qzgc --'
expect '' 'qzgc dance x'

expect 'flight.hid' 'qzgc plot fl'
expect 'flight.hid' 'qzgc list --from fl'
expect 'flight.hid' 'qzgc list --from=fl'
expect 'flight.hid' 'qzgc elements --descriptor fl'
expect 'flight.hid' 'qzgc simulate fl'

instance=$($tool list --json --from flight.hid | grep -o '"instance":"[^"]*"' | cut -d '"' -f 4)
expect "$instance Logitech\\ Extreme\\ 3D\\ Pro" 'qzgc elements --from flight.hid '
expect "$instance Logitech\\ Extreme\\ 3D\\ Pro" 'qzgc plot flight.hid '
expect 'QZHID_Button1 QZHID_Button10 QZHID_Button11 QZHID_Button12' 'qzgc plot flight.hid --control QZHID_Button1'
expect 'QZHID_Y' 'qzgc plot flight.hid Logitech --control QZHID_Y'
expect '' 'qzgc plot flight.hid other --control QZHID_Y'
expect '' 'qzgc plot missing.hid '

expect 'racer rally' 'qzgc list --application r'
expect 'racer' 'qzgc list --application=rac'

expect 'QZHID_X' 'qzgc assign --from flight.hid --set QZHID_X'
expect 'high\ beam honk steer' 'qzgc assign --actions actions.json --set QZHID_X='
expect 'honk' 'qzgc assign --actions actions.json --set QZHID_X=ho'
expect "$instance" "qzgc assign --seconds 5 --count 5 --lines --from flight.hid ${instance[1,4]}"
expect '' 'qzgc assign --seconds '

zpty -d inner
exit $status_
