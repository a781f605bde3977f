# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# Recordings of a stick for tests on a terminal; sourced by them.

# The reports have three bytes: X, slider, and four bits for the hat (8: centre) below those of buttons 1 and 2.
stick_device() {
    cat <<'DEVICE'
R: 52 05 01 09 04 a1 01 15 00 26 ff 00 75 08 95 02 09 30 09 36 81 02 25 07 75 04 95 01 09 39 81 42 05 09 19 01 29 02 25 01 75 01 95 02 81 02 75 02 95 01 81 01 c0
N: Stick
U: A1
I: 3 1234 5678
DEVICE
}

# report MILLISECONDS BYTE BYTE BYTE
report() {
    printf 'E: %06d.%03d000 3 %s %s %s\n' $(($1 / 1000)) $(($1 % 1000)) "$2" "$3" "$4"
}

# For a minute again and again: at rest for most of a second, then button 2, then rest, then X to its minimum.
busy_stick() {
    local at
    stick_device
    for ((at = 0; at < 60000; at += 1600)); do
        report $at 80 00 08
        report $((at + 700)) 80 00 28
        report $((at + 800)) 80 00 08
        report $((at + 1500)) 02 00 08
    done
}

# late_stick MILLISECONDS: the stick is plugged in then, after another one has gone.
late_stick() {
    printf 'D: 0\n'
    stick_device | sed 's/^U: A1$/U: B2/'
    printf 'D: 1\n'
    stick_device
    printf 'D: 0\n'
    report 0 80 10 08
    printf '# qzgc: unplugged 000000.000001\nD: 1\n# qzgc: plugged in %06d.%03d000\n' $(($1 / 1000)) $(($1 % 1000))
}

# moves BEGIN END [REST]: at rest from REST on; from BEGIN on X goes to both ends, and the slider jitters; then X comes to rest beside the
# middle. At END, in milliseconds as well, the stick is unplugged.
moves() {
    local at
    report "${3:-0}" 80 10 08
    for ((at = $1; at < $1 + 400; at += 100)); do
        report $at 0a 10 08
        report $((at + 50)) f0 11 08
    done
    report $(($1 + 400)) 7a 10 08
    printf '# qzgc: unplugged %06d.%03d000\n' $(($2 / 1000)) $(($2 % 1000))
}

moved_stick() {
    stick_device
    moves "$@"
}
