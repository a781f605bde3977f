# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# A terminal for tests: qzgc in a tmux server of its own, keys, and what is on the screen. Sourced by tests, which call
# open_terminal first. Nothing here waits for a time; what is waited for is a text on the screen, until a deadline.
set -euo pipefail

# The test's own directory, where its files, its preferences and the tmux server's socket are.
work=$(mktemp -d)
export XDG_CONFIG_HOME=$work/config TMUX_TMPDIR=$work LC_ALL=C.UTF-8
# shellcheck disable=SC2034 # used by the tests
preferences=$XDG_CONFIG_HOME/qzgamecontroller/qzgc.json
unset TMUX

# A server that has been told to end takes a while; the next terminal has one of its own.
terminals=0
tm() { tmux -L "qzgc-$terminals" -f /dev/null "$@"; }

close_terminal() {
    tm kill-server 2>/dev/null || true
    rm -rf -- "$work"
}
trap close_terminal EXIT

fail() {
    printf '%s\n-- on the screen:\n%s\n--\n' "$*" "$(screen)" >&2
    exit 1
}

# open_terminal WIDTH HEIGHT COMMAND: runs a shell command in a new terminal. When it has ended, its exit status is in
# the file "status" and the screen says "ended".
open_terminal() {
    tm kill-server 2>/dev/null || true
    rm -f -- "$work/status"
    terminals=$((terminals + 1))
    tm new-session -d -x "$1" -y "$2" \
        "trap : HUP; cd '$work'; $3; echo \$? >status.new; mv status.new status; echo ended; exec cat >/dev/null"
}

screen() { tm capture-pane -p 2>/dev/null || echo "(no terminal)"; }

press() { tm send-keys "$@"; }

# until_true COMMAND...: until the command succeeds, for twenty seconds at most.
until_true() {
    local deadline=$((SECONDS + 20))
    until "$@"; do
        ((SECONDS < deadline)) || return 1
        # Reading with a time limit from what never answers is a pause without another process.
        read -rt 0.02 <> <(:) || true
    done
}

shows() { screen | grep -qF -- "$1"; }
shows_not() { ! shows "$1"; }
has_ended() { [[ -f $work/status ]]; }

# What must come onto the screen, or leave it.
expect() { until_true shows "$1" || fail "not seen: $1"; }
expect_gone() { until_true shows_not "$1" || fail "still there: $1"; }

# expect_end STATUS: the command must end with this exit status.
expect_end() {
    until_true has_ended || fail "has not ended"
    [[ $(<"$work/status") == "$1" ]] || fail "ended with status $(<"$work/status"), not $1"
}
