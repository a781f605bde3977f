// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/EventLoop.h"

#include "tools/qzgc/session/Session.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace qz::tools {

namespace {

constexpr std::array takenOver = {SIGINT, SIGTERM, SIGHUP, SIGWINCH};

/// The pipe that signals are written to. Process-wide, as signals are.
std::array<int, 2> signalPipe = {-1, -1};
std::array<struct sigaction, takenOver.size()> before{};
struct sigaction pipeBefore {};
struct sigaction backgroundBefore {};

extern "C" void noteSignal(int number) {
    const int error = errno;
    if (number != SIGWINCH) {
        // Whoever ends a process that is stopped wakes it in the background, from where it has to give the terminal
        // back: the system would stop it again for that.
        static_cast<void>(std::signal(SIGTTOU, SIG_IGN));
    }
    const auto byte = static_cast<char>(number);
    // Full: as many as nobody has looked at are waiting.
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
    errno = error;
}

/// How long to wait until then, as `poll` takes it.
int timeoutOf(const std::optional<Clock::time_point>& time) {
    if (!time) {
        return -1;
    }
    // Rounded up: a wait that ends too early would be repeated at once.
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*time - Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 1'000'000));
}

} // namespace

EventLoop::EventLoop(Source& source) : source_(source) {
    if (::pipe(signalPipe.data()) != 0) {
        throw Failure("no pipe for signals: " + std::generic_category().message(errno));
    }
    for (const int end : signalPipe) {
        ::fcntl(end, F_SETFL, O_NONBLOCK);
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    struct sigaction action {};
    action.sa_handler = noteSignal;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < takenOver.size(); ++i) {
        ::sigaction(takenOver[i], &action, &before[i]);
        // Who started us wants it ignored: nohup, or a shell that runs us in the background.
        if (before[i].sa_handler == SIG_IGN) {
            ::sigaction(takenOver[i], &before[i], nullptr);
        }
    }
    ::sigaction(SIGTTOU, nullptr, &backgroundBefore);
    action.sa_handler = SIG_IGN; // what reads our output may go: writing then fails, and that is noticed
    ::sigaction(SIGPIPE, &action, &pipeBefore);
}

EventLoop::~EventLoop() {
    for (std::size_t i = 0; i < takenOver.size(); ++i) {
        if (takenOver[i] == SIGHUP && hasHungUp_) {
            static_cast<void>(std::signal(SIGHUP, SIG_IGN));
        } else {
            ::sigaction(takenOver[i], &before[i], nullptr);
        }
    }
    ::sigaction(SIGPIPE, &pipeBefore, nullptr);
    ::sigaction(SIGTTOU, &backgroundBefore, nullptr);
    for (int& end : signalPipe) {
        ::close(end);
        end = -1;
    }
}

void EventLoop::onReadable(int fileDescriptor, Handler handler) {
    watches_.push_back({fileDescriptor, POLLIN, std::move(handler)});
}

void EventLoop::onHangUp(int fileDescriptor, Handler handler) {
    // Nothing is asked for: what is opened for reading and writing can be read as soon as we have written to it.
    watches_.push_back({fileDescriptor, 0, std::move(handler)});
}

void EventLoop::ignore(int fileDescriptor) {
    std::erase_if(watches_, [&](const Watch& watch) { return watch.fileDescriptor == fileDescriptor; });
}

void EventLoop::every(std::chrono::milliseconds interval, Handler handler) {
    timers_.push_back({Clock::now() + interval, interval, std::move(handler)});
}

void EventLoop::after(std::chrono::milliseconds delay, Handler handler) {
    timers_.push_back({Clock::now() + delay, std::chrono::milliseconds(0), std::move(handler)});
}

void EventLoop::endAfter(const SessionOptions& options) {
    if (options.seconds && !options.fast) {
        const std::chrono::duration<double> limit(*options.seconds);
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - source_.time());
        limit_ = Clock::now() + left;
        after(left, [this] { stop(); });
    }
}

bool EventLoop::waitUntilWritable(int fileDescriptor) {
    std::array<pollfd, 2> polled = {{{fileDescriptor, POLLOUT, 0}, {signalPipe[0], POLLIN, 0}}};
    while (true) {
        if (::poll(polled.data(), polled.size(), end_ ? 0 : timeoutOf(limit_)) < 0 && errno != EINTR) {
            throw Failure("cannot wait for events: " + std::generic_category().message(errno));
        }
        if (polled[0].revents != 0) {
            return true; // signals that have come too wait for `run`
        }
        if (end_) {
            return false;
        }
        takeSignals();
        if (!end_ && limit_ && *limit_ <= Clock::now()) {
            stop(); // by what has come first
        }
    }
}

EventLoop::End EventLoop::run() {
    while (!end_) {
        if (!staysAfterSource_ && source_.hasEnded()) {
            return End::SourceEnded; // before waiting: turns taken elsewhere may have ended it already
        }
        wait();
        runTimers();
    }
    return *std::exchange(end_, std::nullopt);
}

int EventLoop::timeout() const {
    std::optional<Clock::time_point> next = source_.due();
    for (const Timer& timer : timers_) {
        next = std::min(next.value_or(timer.due), timer.due);
    }
    return timeoutOf(next);
}

void EventLoop::wait() {
    std::vector<pollfd> polled = {{signalPipe[0], POLLIN, 0}, {source_.fileDescriptor(), POLLIN, 0}};
    for (const Watch& watch : watches_) {
        polled.push_back({watch.fileDescriptor, watch.events, 0});
    }
    if (::poll(polled.data(), polled.size(), timeout()) < 0 && errno != EINTR) {
        throw Failure("cannot wait for events: " + std::generic_category().message(errno));
    }
    takeSignals();
    serveSource(polled[1].revents != 0);
    for (std::size_t i = 2; i < polled.size() && !end_; ++i) {
        // Looked up again: a handler before it may have removed it.
        const auto watch = std::ranges::find(watches_, polled[i].fd, &Watch::fileDescriptor);
        if (polled[i].revents != 0 && watch != watches_.end()) {
            const Handler handler = watch->handler;
            handler();
        }
    }
}

void EventLoop::takeSignals() {
    std::array<char, 64> numbers{};
    const auto count = ::read(signalPipe[0], numbers.data(), numbers.size());
    for (ssize_t i = 0; i < count; ++i) {
        switch (numbers[static_cast<std::size_t>(i)]) {
        case SIGINT:
        case SIGTERM:
            end_ = End::Interrupted;
            break;
        case SIGHUP:
            hangUp();
            break;
        default:
            if (resized_) {
                resized_();
            }
        }
    }
}

void EventLoop::serveSource(bool isReadable) {
    const auto due = source_.due();
    if (!end_ && (isReadable || (due && *due <= Clock::now()))) {
        source_.turn();
        if (turned_) {
            turned_();
        }
    }
}

void EventLoop::runTimers() {
    const auto now = Clock::now();
    for (std::size_t i = 0; i < timers_.size() && !end_;) {
        if (timers_[i].due > now) {
            ++i;
            continue;
        }
        const Handler handler = timers_[i].handler;
        if (timers_[i].interval.count() > 0) {
            timers_[i].due = now + timers_[i].interval;
            ++i;
        } else {
            timers_.erase(timers_.begin() + static_cast<std::ptrdiff_t>(i));
        }
        handler();
    }
}

} // namespace qz::tools
