// SPDX-License-Identifier: MIT
#include "tools/qzgc/terminal/Screen.h"

#include "tools/qzgc/session/Session.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <locale>
#define NCURSES_NOMACROS 1 // they would replace names of ours
#include <curses.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <term.h>
#include <termios.h>
#include <unistd.h>

#undef columns // the macro of term.h

namespace qz::tools {

namespace {

constexpr std::array faults = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV};

std::string cannotShow(const std::string& remedy) {
    return "this terminal cannot show full-screen views: set TERM to what it is, or " + remedy;
}

SCREEN* screen = nullptr;

/// What a handler needs to give the terminal back without ncurses, which no handler may call.
termios settingsBefore{};
std::array<char, 256> leavingText{};
std::size_t leavingLength = 0;
std::array<struct sigaction, faults.size()> before{};

/// Messages would spoil the view and go with it, the last words of a fatal error too: a file without a name takes them
/// until the terminal is as it was. -1 while none are held.
int heldMessages = -1;
int messagesBefore = -1;

void holdMessages() {
    if (::isatty(STDERR_FILENO) == 0) {
        return;
    }
    std::FILE* const file = std::tmpfile();
    if (file == nullptr) {
        return;
    }
    heldMessages = ::fcntl(::fileno(file), F_DUPFD_CLOEXEC, 0);
    messagesBefore = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    static_cast<void>(std::fclose(file));
    if (heldMessages >= 0 && messagesBefore >= 0) {
        ::dup2(heldMessages, STDERR_FILENO);
    }
}

/// Also called by the handler of faults: nothing but system calls.
void releaseMessages() {
    if (heldMessages >= 0 && messagesBefore >= 0) {
        ::dup2(messagesBefore, STDERR_FILENO);
        ::lseek(heldMessages, 0, SEEK_SET);
        std::array<char, 512> buffer{};
        ssize_t count = ::read(heldMessages, buffer.data(), buffer.size());
        while (count > 0 && ::write(STDERR_FILENO, buffer.data(), static_cast<std::size_t>(count)) == count) {
            count = ::read(heldMessages, buffer.data(), buffer.size());
        }
    }
    for (int* const each : {&heldMessages, &messagesBefore}) {
        if (*each >= 0) {
            ::close(*each);
            *each = -1;
        }
    }
}

extern "C" void leaveTerminalAndDie(int number) {
    [[maybe_unused]] const ssize_t written = ::write(STDOUT_FILENO, leavingText.data(), leavingLength);
    ::tcsetattr(STDIN_FILENO, TCSANOW, &settingsBefore);
    releaseMessages();
    static_cast<void>(std::signal(number, SIG_DFL));
    static_cast<void>(std::raise(number));
}

/// The control sequence of the terminal with this name; null where it has none.
const char* capability(const char* name) {
    const char* const sequence = ::tigetstr(name);
    return reinterpret_cast<std::intptr_t>(sequence) != -1 ? sequence : nullptr;
}

void addToLeavingText(const char* name) {
    const char* const sequence = capability(name);
    const std::size_t length = sequence != nullptr ? std::strlen(sequence) : 0;
    if (leavingLength + length <= leavingText.size()) {
        std::copy_n(sequence, length, leavingText.begin() + static_cast<std::ptrdiff_t>(leavingLength));
        leavingLength += length;
    }
}

void leave() {
    ::endwin();
    ::delscreen(screen);
    screen = nullptr;
    releaseMessages();
}

void prepareForFaults() {
    leavingLength = 0;
    for (const char* const name : {"sgr0", "rmkx", "cnorm", "rmcup"}) {
        addToLeavingText(name);
    }
    struct sigaction action {};
    action.sa_handler = leaveTerminalAndDie;
    for (std::size_t i = 0; i < faults.size(); ++i) {
        ::sigaction(faults[i], &action, &before[i]);
    }
}

/// Takes the characters of the user's locale, and nothing else of it: numbers keep their decimal point. Answers whether
/// they are those of UTF-8.
bool takeLocale() {
    try {
        std::locale::global(std::locale(std::locale::classic(), "", std::locale::ctype));
    } catch (const std::runtime_error&) {
        return false; // it is not installed
    }
    constexpr std::string_view line = "│";
    const std::locale taken;
    std::mbstate_t state{};
    const char* end = nullptr;
    wchar_t wide = 0;
    wchar_t* wideEnd = nullptr;
    return std::use_facet<std::codecvt<wchar_t, char, std::mbstate_t>>(taken).in(
               state, line.data(), line.data() + line.size(), end, &wide, &wide + 1, wideEnd) ==
               std::codecvt_base::ok &&
           wide == L'│';
}

attr_t attributesOf(const Style& style, bool hasColours) {
    attr_t attributes = A_NORMAL;
    attributes |= style.bold ? A_BOLD : A_NORMAL;
    attributes |= style.dim ? A_DIM : A_NORMAL;
    attributes |= style.reverse ? A_REVERSE : A_NORMAL;
    if (hasColours) {
        attributes |= static_cast<attr_t>(COLOR_PAIR(static_cast<int>(style.colour)));
    }
    return attributes;
}

void prepareColours() {
    ::start_color();
    ::use_default_colors();
    constexpr std::array<short, 7> colours = {-1,         COLOR_RED,     COLOR_GREEN, COLOR_YELLOW,
                                              COLOR_BLUE, COLOR_MAGENTA, COLOR_CYAN};
    for (std::size_t i = 1; i < colours.size(); ++i) {
        ::init_pair(static_cast<short>(i), colours[i], -1);
    }
}

} // namespace

bool outputIsTerminal() {
    return ::isatty(STDOUT_FILENO) != 0;
}

bool inputIsTerminal() {
    return ::isatty(STDIN_FILENO) != 0;
}

bool errorIsTerminal() {
    return ::isatty(STDERR_FILENO) != 0;
}

Screen::Screen(const std::string& remedy) {
    unicode_ = takeLocale();
    ::tcgetattr(STDIN_FILENO, &settingsBefore);
    screen = ::newterm(nullptr, stdout, stdin);
    if (screen == nullptr) {
        throw Failure(cannotShow(remedy));
    }
    if (capability("cup") == nullptr) { // no way to put anything in its place
        leave();
        throw Failure(cannotShow(remedy));
    }
    prepareForFaults();
    holdMessages();
    hasColours_ = ::has_colors();
    if (hasColours_) {
        prepareColours();
    }
    ::cbreak(); // Control-C and Control-Z go on doing what they do
    ::noecho();
    ::keypad(stdscr, TRUE);
    ::nodelay(stdscr, TRUE);
    ::set_escdelay(25);
    ::curs_set(0);
}

Screen::~Screen() {
    leave();
    for (std::size_t i = 0; i < faults.size(); ++i) {
        ::sigaction(faults[i], &before[i], nullptr);
    }
}

int Screen::rows() const {
    return getmaxy(stdscr);
}

int Screen::columns() const {
    return getmaxx(stdscr);
}

void Screen::resize() {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0) {
        ::resizeterm(size.ws_row, size.ws_col);
        shown_.reset();
    }
}

void Screen::show(const Canvas& canvas) {
    const bool isSameSize = shown_ && shown_->rows() == canvas.rows() && shown_->columns() == canvas.columns();
    if (!isSameSize) {
        ::erase();
    }
    bool any = !isSameSize;
    for (int row = 0; row < canvas.rows(); ++row) {
        for (int column = 0; column < canvas.columns(); ++column) {
            if (!isSameSize || canvas.cell(row, column) != shown_->cell(row, column)) {
                showCell(row, column, canvas.cell(row, column));
                any = true;
            }
        }
    }
    if (any) {
        ::refresh();
        shown_ = canvas;
    }
}

void Screen::showCell(int row, int column, const Canvas::Cell& cell) {
    ::attrset(static_cast<int>(attributesOf(cell.style, hasColours_)));
    ::mvaddstr(row, column, cell.text.c_str());
}

std::optional<int> Screen::takeKey() {
    wint_t key = 0;
    const int kind = ::get_wch(&key);
    if (kind == ERR) {
        return std::nullopt;
    }
    if (kind != KEY_CODE_YES) {
        return key == '\r' ? keyEnter : key == 0x7f || key == '\b' ? keyBackspace : static_cast<int>(key);
    }
    switch (key) {
    case KEY_UP:
        return keyUp;
    case KEY_DOWN:
        return keyDown;
    case KEY_LEFT:
        return keyLeft;
    case KEY_RIGHT:
        return keyRight;
    case KEY_PPAGE:
        return keyPageUp;
    case KEY_NPAGE:
        return keyPageDown;
    case KEY_HOME:
        return keyHome;
    case KEY_END:
        return keyEnd;
    case KEY_BACKSPACE:
        return keyBackspace;
    case KEY_BTAB:
        return keyBackTab;
    case KEY_ENTER:
        return keyEnter;
    default:
        return takeKey(); // one that means nothing here
    }
}

bool Screen::isGone() const {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (::poll(&input, 1, 0) <= 0) {
        return false;
    }
    // Readable without anything to read; a key may have come since `takeKey` looked.
    int waiting = 0;
    return (input.revents & POLLIN) == 0 || ::ioctl(STDIN_FILENO, FIONREAD, &waiting) != 0 || waiting == 0;
}

} // namespace qz::tools
