// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/Source.h"

#include <functional>
#include <vector>

namespace qz::tools {

struct SessionOptions;

/// What runs a command that follows its devices: waits for the source, for other descriptors, for the time and for
/// signals. One at a time; it takes SIGINT, SIGTERM, SIGHUP and SIGWINCH over while it exists, but for those that were
/// ignored before, and ignores SIGPIPE. Once the terminal has gone SIGHUP stays ignored after it: it is sent more than
/// once, and what is left to do is not cut short by that.
class EventLoop {
public:
    enum class End : std::uint8_t {
        Stopped,     ///< by `stop`
        SourceEnded, ///< nothing can come any more
        Interrupted, ///< SIGINT or SIGTERM
        HungUp,      ///< the terminal went away
    };
    using Handler = std::function<void()>;

    explicit EventLoop(Source& source);
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;
    ~EventLoop();

    /// Calls `handler` whenever the descriptor can be read or has been hung up.
    void onReadable(int fileDescriptor, Handler handler);
    /// Calls it only when the other end of what is written to has gone.
    void onHangUp(int fileDescriptor, Handler handler);
    void ignore(int fileDescriptor);

    /// Calls `handler` whenever the source has had a turn.
    void onTurn(Handler handler) { turned_ = std::move(handler); }

    /// Calls `handler` when the terminal has got another size.
    void onResize(Handler handler) { resized_ = std::move(handler); }

    /// Calls `handler` again and again, for the first time after one interval.
    void every(std::chrono::milliseconds interval, Handler handler);
    /// Calls it once.
    void after(std::chrono::milliseconds delay, Handler handler);

    /// Ends `run` when the time is up that the options give, counted from the beginning of the source. A recording that
    /// is played without waiting ends by itself.
    void endAfter(const SessionOptions& options);

    /// Without this, `run` ends when the source has.
    void staysAfterSource() noexcept { staysAfterSource_ = true; }

    /// Waits until the descriptor can be written to, for handlers that write. False when something has come meanwhile,
    /// or before, that ends `run`, or the time has passed that `endAfter` has set.
    bool waitUntilWritable(int fileDescriptor);

    /// Handles what happens until something ends it, or has done so already; may be called again. What handlers throw
    /// passes through.
    End run();

    /// Ends `run` after the handler in progress.
    void stop() noexcept { end_ = End::Stopped; }
    /// The same because the terminal went away.
    void hangUp() noexcept {
        end_ = End::HungUp;
        hasHungUp_ = true;
    }

private:
    struct Watch {
        int fileDescriptor;
        short events;
        Handler handler;
    };
    struct Timer {
        Clock::time_point due;
        std::chrono::milliseconds interval; ///< 0: once
        Handler handler;
    };

    int timeout() const;
    void wait();
    void takeSignals();
    void runTimers();
    void serveSource(bool isReadable);

    Source& source_;
    std::vector<Watch> watches_;
    std::vector<Timer> timers_;
    Handler turned_;
    Handler resized_;
    std::optional<End> end_;
    std::optional<Clock::time_point> limit_; ///< set by `endAfter`
    bool staysAfterSource_ = false;
    bool hasHungUp_ = false;
};

} // namespace qz::tools
