// SPDX-License-Identifier: MIT
#include "tests/kernel/speed/Readers.h"

#include "tests/kernel/support/FileDescriptor.h"
#include "tests/kernel/support/KernelApplication.h"

#include <SDL2/SDL.h>

#include <array>
#include <poll.h>
#include <stdexcept>

using qz::platform::kCFRunLoopDefaultMode;

namespace qz::tests {

namespace {

class BareReader final : public Reader {
public:
    explicit BareReader(const std::string& node) : node_(node, O_RDONLY | O_NONBLOCK) {}

    Clock::time_point receive() override {
        pollfd ready{node_.get(), POLLIN, 0};
        std::array<std::uint8_t, 64> report{};
        if (::poll(&ready, 1, 1000) != 1 || ::read(node_.get(), report.data(), report.size()) <= 0) {
            throw std::runtime_error("the bare loop got nothing");
        }
        return Clock::now();
    }

private:
    FileDescriptor node_;
};

class LibraryReader : public Reader {
public:
    LibraryReader() {
        application_.manager->setReportRawValues(true);
        application_.listener->onValue = [this](const auto&, std::int64_t) { had_ = Clock::now(); };
        if (!application_.setUp() || !application_.turnUntil([this] { return application_.listener->connected > 0; })) {
            throw std::runtime_error("the library found no device");
        }
        application_.turn();
    }

    Clock::time_point receive() override {
        const std::size_t before = application_.listener->values;
        while (application_.listener->values == before) {
            if (!turn(application_)) {
                throw std::runtime_error("the library got nothing");
            }
        }
        return had_;
    }

private:
    /// Waits for something to do and does it; false when nothing comes.
    virtual bool turn(KernelApplication& application) {
        return application.loop.runInMode(kCFRunLoopDefaultMode, std::chrono::seconds(1)) != 0;
    }

    KernelApplication application_;
    Clock::time_point had_;
};

class PollingLibraryReader final : public LibraryReader {
    bool turn(KernelApplication& application) override {
        return application.wait(1000) && application.loop.dispatch(kCFRunLoopDefaultMode) != 0;
    }
};

class SDLReader final : public Reader {
public:
    SDLReader() {
        SDL_SetHint(SDL_HINT_VIDEODRIVER, "dummy");
        SDL_SetHint(SDL_HINT_JOYSTICK_ALLOW_BACKGROUND_EVENTS, "1");
        if (SDL_Init(SDL_INIT_JOYSTICK) != 0) {
            throw std::runtime_error(SDL_GetError());
        }
        joystick_ = SDL_JoystickOpen(0);
        if (joystick_ == nullptr) {
            const std::string error = SDL_GetError();
            SDL_Quit();
            throw std::runtime_error("SDL2 found no device: " + error);
        }
        SDL_Event event;
        while (SDL_PollEvent(&event) != 0) {
        }
    }
    ~SDLReader() override {
        SDL_JoystickClose(joystick_);
        SDL_Quit();
    }

    Clock::time_point receive() override {
        SDL_Event event;
        while (SDL_WaitEventTimeout(&event, 1000) != 0) {
            if (event.type == SDL_JOYBUTTONDOWN || event.type == SDL_JOYBUTTONUP) {
                return Clock::now();
            }
        }
        throw std::runtime_error("SDL2 got nothing");
    }

private:
    SDL_Joystick* joystick_ = nullptr;
};

} // namespace

std::unique_ptr<Reader> makeBareReader(const HIDNodes& nodes) {
    return std::make_unique<BareReader>(nodes.hidraw);
}

std::unique_ptr<Reader> makeLibraryReader(const HIDNodes& /*nodes*/) {
    return std::make_unique<LibraryReader>();
}

std::unique_ptr<Reader> makePollingLibraryReader(const HIDNodes& /*nodes*/) {
    return std::make_unique<PollingLibraryReader>();
}

std::unique_ptr<Reader> makeSDLReader(const HIDNodes& /*nodes*/) {
    return std::make_unique<SDLReader>();
}

} // namespace qz::tests
