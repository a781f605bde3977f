# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# What the tests of full-screen views share: a terminal that nobody looks at, with a private server of tmux. Nothing waits
# for a fixed time; what is waited for has a deadline, and the screen is printed when it passes.
set -euo pipefail

# shellcheck disable=SC2034 # used by the tests
tool=$1 data=$2
work=$(mktemp -d)
socket=
terminals=0
export LC_ALL=${LC_ALL:-C.UTF-8} TERM=xterm-256color XDG_CONFIG_HOME=$work/config
# shellcheck disable=SC2034 # used by the tests
preferences=$XDG_CONFIG_HOME/qzgamecontroller/qzgc.json
unset TMUX
# A leak checker stops the process at its end to look at it, and the kernel hangs up and wakes a stopped process whose
# terminal goes away at that moment (kill_orphaned_pgrp in kernel/exit.c). The tests without a terminal look for leaks.
export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0

for needed in tmux pgrep; do
    if ! command -v "$needed" >/dev/null; then
        printf 'not run here: there is no %s\n' "$needed"
        exit
    fi
done

tmux_do() { tmux -L "$socket" -f /dev/null "$@"; }

clean_up() {
    tmux_do kill-server 2>/dev/null || true
    rm -rf -- "$work"
}
trap clean_up EXIT

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    printf -- '---- the screen ----\n' >&2
    screen >&2 || true
    exit 1
}

screen() { tmux_do capture-pane -p; }

# start COLUMNS ROWS COMMAND: a terminal of that size with a shell in it, which runs the command.
start() {
    socket=qzgc-test-$$-$((++terminals)) # its own: the server of an earlier one may still be ending
    tmux_do new-session -d -x "$1" -y "$2" 'PS1="ready> " exec sh'
    wait_for 'ready>'
    type_line "$3"
}

# run COLUMNS ROWS COMMAND: the same for a command in the test's directory, in place of the terminal before. Its exit status
# comes into the file "status", also when the terminal goes away: the shell writes it by itself, because what it would start
# for that could be killed by the second SIGHUP, which comes with the end of the terminal's session.
run() {
    [[ -z $socket ]] || end 2>/dev/null || true
    rm -f -- "$work/status"
    start "$1" "$2" "(trap : HUP INT; cd '$work'; $3; echo ended \$? >status)"
}

# expect_end STATUS: the command that `run` began must end with this exit status.
expect_end() {
    until_true 20 grep -qs ended "$work/status" || fail 'has not ended'
    [[ $(<"$work/status") == "ended $1" ]] || fail "$(<"$work/status"), not $1"
}

type_line() { tmux_do send-keys -l "$1" && tmux_do send-keys Enter; }
press() { tmux_do send-keys "$@"; }
resize() { tmux_do resize-window -x "$1" -y "$2"; }
end() { tmux_do kill-server; }

# until_true SECONDS COMMAND...: waits until the command succeeds.
until_true() {
    local deadline=$((SECONDS + $1))
    shift
    until "$@"; do
        [[ $SECONDS -lt $deadline ]] || return 1
        sleep 0.02
    done
}

shows() { screen | grep -qF -- "$1"; }
shows_not() { ! shows "$1"; }
wait_for() { until_true 20 shows "$1" || fail "never showed: $1"; }
wait_until_gone() { until_true 20 shows_not "$1" || fail "still shows: $1"; }
# A process that nobody has waited for yet has ended too.
has_ended() { [[ ! -e /proc/$1/status ]] || grep -q '^State:.Z' "/proc/$1/status"; }

# tool_process: the process of the tool in the terminal.
tool_process() {
    local shell
    shell=$(tmux_do display-message -p '#{pane_pid}')
    pgrep -P "$shell" -x qzgc || pgrep -P "$(pgrep -P "$shell")" -x qzgc
}

# is_idle PROCESS: whether it sleeps for a fifth of a second without waking up.
is_idle() {
    local before
    before=$(grep '^voluntary_ctxt' "/proc/$1/status")
    sleep 0.2
    [[ $(grep '^voluntary_ctxt' "/proc/$1/status") == "$before" ]]
}

# expect_terminal_restored STATUS: after the end of the tool the shell has its screen, its echo and its cursor again.
expect_terminal_restored() {
    wait_for 'ready>'
    type_line "echo status=\$? ; stty -a | tr ';' '\n' | grep -oE -- '-?(echo|icanon)( |\$)' | tr -d '\n'; echo ."
    wait_for "status=$1"
    wait_for 'icanon echo .'
    [[ $(tmux_do display-message -p '#{alternate_on} #{cursor_flag}') == '0 1' ]] ||
        fail "the screen or the cursor is not what it was: $(tmux_do display-message -p '#{alternate_on} #{cursor_flag}')"
}

# expect_screen FILE: the screen, without blanks at the ends of lines.
expect_screen() {
    until_true 20 screen_is "$1" || {
        screen | sed -e 's/ *$//' | diff -u -- "$1" - >&2 || true
        fail "the screen is not that of $1"
    }
}
screen_is() { [[ $(screen | sed -e 's/ *$//') == "$(cat -- "$1")" ]]; }
