// SPDX-License-Identifier: MIT
#include "tools/qzgc/commands/Record.h"

#include "tools/qzgc/TextFile.h"
#include "tools/qzgc/session/EventLoop.h"
#include "tools/qzgc/session/Output.h"
#include "tools/qzgc/session/RecordingListener.h"
#include "tools/qzgc/terminal/Screen.h"

#include <cerrno>
#include <fcntl.h>
#include <iostream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace qz::tools {

namespace {

/// The file that is written to. What has been opened is closed at the latest with it.
class RecordingFile {
public:
    /// Throws WrongUse or FileError.
    RecordingFile(const std::string& name, bool force) : name_(name) {
        if (name == "-") {
            name_ = "standard output";
            fileDescriptor_ = STDOUT_FILENO;
            return;
        }
        fileDescriptor_ = open(O_EXCL);
        isNew_ = fileDescriptor_ >= 0;
        if (fileDescriptor_ < 0 && errno == EEXIST) {
            if (!force && isRegular()) {
                throw WrongUse(name + " is there already; name another file, or use --force to overwrite it");
            }
            fileDescriptor_ = open(0);
            holdsOld_ = fileDescriptor_ >= 0 && isRegular();
        }
        if (fileDescriptor_ < 0) {
            throw FileError(name, "cannot be written: " + std::generic_category().message(errno));
        }
    }
    RecordingFile(const RecordingFile&) = delete;
    RecordingFile& operator=(const RecordingFile&) = delete;
    ~RecordingFile() {
        if (isOpen()) {
            ::close(fileDescriptor_);
        }
    }

    int fileDescriptor() const noexcept { return fileDescriptor_; }

    /// What was in the file goes when there is something to take its place, and not before. Throws Failure.
    void begin() {
        if (std::exchange(holdsOld_, false) && ::ftruncate(fileDescriptor_, 0) != 0) {
            throw Failure(cannotWrite(name_, errno));
        }
    }
    const std::string& name() const noexcept { return name_; }

    /// Some file systems tell only at the end what they could not write. Throws Failure.
    void close() {
        if (isOpen() && ::close(std::exchange(fileDescriptor_, -1)) != 0) {
            throw Failure(cannotWrite(name_, errno));
        }
    }

    /// Leaves no file where there was none.
    void discard() {
        if (isNew_) {
            ::unlink(name_.c_str());
        }
    }

private:
    bool isOpen() const noexcept { return fileDescriptor_ > STDERR_FILENO; }
    int open(int flags) const {
        return ::open(name_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
    }
    bool isRegular() const {
        struct stat status {};
        return ::stat(name_.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    }

    std::string name_;
    int fileDescriptor_ = -1;
    bool isNew_ = false;
    bool holdsOld_ = false;
};

std::string whyNothing(const RecordOptions& options, const RecordingListener& listener) {
    const std::string called = "no controller is called \"" + options.device + "\"";
    if (!listener.others().empty()) {
        return called + "; there is " + listText(listener.others());
    }
    if (!options.session.from.empty()) {
        return whyNoneCame(options.session);
    }
    return (options.device.empty() ? "no controller came" : called + ", and none came") + "; attach one";
}

void tellWhatWasRecorded(const RecordingListener& listener, const std::string& name) {
    std::cerr << "qzgc: recorded " << countText(listener.devices(), "device") << " and "
              << countText(listener.reports(), "report") << " in " << name << '\n';
}

/// Whether somebody watches, and for long enough to read what is said meanwhile.
bool isWatched(const RecordOptions& options) {
    return !options.session.fast && errorIsTerminal();
}

/// What is recorded, to where, and how to end it.
void tellWhatIsRecorded(QZGCHIDManager& manager, const RecordOptions& options, const std::string& name) {
    std::vector<ControllerIdentity> recorded;
    for (const auto& each : manager.devices()) {
        if (each->ioHIDDeviceRef()->recordedDevice()) {
            recorded.push_back(identityOf(*each));
        }
    }
    const std::string awaited = options.device.empty() ? "controllers" : "controllers called \"" + options.device + '"';
    const bool endsByItself = options.session.seconds || !options.session.from.empty();
    const std::string text = (recorded.empty() ? "waiting for " + awaited + ", to record them in "
                                               : "recording " + listText(recorded) + " in ") +
                             name + "; Control-C ends it" + (endsByItself ? " sooner" : "");
    std::cerr << "qzgc: " << withoutControlCharacters(text) << '\n';
}

void run(Session& session, EventLoop& loop, const std::shared_ptr<RecordingListener>& listener,
         const RecordOptions& options, const std::string& name) {
    const bool tells = isWatched(options);
    if (!tells && options.session.from.empty()) {
        listener->announceControllers();
    }
    listener->takeReports(session.manager());
    session.start(listener);
    session.settle();
    listener->begin();
    if (tells) {
        tellWhatIsRecorded(session.manager(), options, name);
        listener->announceControllers(); // that come from now on
    }
    loop.run();
}

} // namespace

ExitStatus record(const RecordOptions& options) {
    expectNoFile(options.session, options.device);
    Session session(options.session);
    // Before the loop takes signals over: to open a named pipe waits for who reads it.
    RecordingFile file(options.file, options.force);
    EventLoop loop(session.source());
    Output output(file.fileDescriptor(), file.name(),
                  [&](int fileDescriptor) { return loop.waitUntilWritable(fileDescriptor); });
    const auto listener = std::make_shared<RecordingListener>(
        options.device, [&] { return session.source().time(); },
        [&](const std::string& text) {
            file.begin();
            const bool isWritten = output.write(text);
            if (!isWritten) {
                loop.stop();
            }
            return isWritten;
        });
    loop.endAfter(options.session);
    try {
        run(session, loop, listener, options, file.name());
    } catch (const Failure&) {
        if (listener->devices() == 0) {
            file.discard();
        } else {
            tellWhatWasRecorded(*listener, file.name());
        }
        throw;
    }
    file.close();
    if (listener->devices() == 0) {
        file.discard();
        throw Failure("nothing is recorded: " + whyNothing(options, *listener));
    }
    tellWhatWasRecorded(*listener, file.name());
    return exitSuccess;
}

} // namespace qz::tools
