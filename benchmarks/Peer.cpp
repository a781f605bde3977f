// SPDX-License-Identifier: MIT
#include <SDL2/SDL.h>
#include <benchmark/benchmark.h>

#include <chrono>

namespace {

/// SDL2's way of the same: values set on a virtual joystick of type game controller, with 6 axes and 15 buttons, come
/// out as events of the controller.
class SDLController {
public:
    SDLController() {
        SDL_SetHint(SDL_HINT_VIDEODRIVER, "dummy");
        if (SDL_Init(SDL_INIT_VIDEO | SDL_INIT_GAMECONTROLLER) != 0) {
            return;
        }
        const int index = SDL_JoystickAttachVirtual(SDL_JOYSTICK_TYPE_GAMECONTROLLER, 6, 15, 0);
        controller_ = index >= 0 ? SDL_GameControllerOpen(index) : nullptr;
        joystick_ = SDL_GameControllerGetJoystick(controller_);
    }
    SDLController(const SDLController&) = delete;
    SDLController& operator=(const SDLController&) = delete;
    ~SDLController() {
        SDL_GameControllerClose(controller_);
        SDL_Quit();
    }

    explicit operator bool() const { return controller_ != nullptr && joystick_ != nullptr; }

    /// Sets 4 axes and 1 button to new values and answers the number of controller events that came of it.
    int round(int number) {
        for (int axis = 0; axis < 4; ++axis) {
            SDL_JoystickSetVirtualAxis(joystick_, axis, static_cast<Sint16>((number * 257 + axis) % 32000));
        }
        SDL_JoystickSetVirtualButton(joystick_, 0, static_cast<Uint8>(number & 1));
        SDL_JoystickUpdate();
        int events = 0;
        SDL_Event event;
        while (SDL_PollEvent(&event) != 0) {
            events += event.type == SDL_CONTROLLERAXISMOTION || event.type == SDL_CONTROLLERBUTTONDOWN ||
                              event.type == SDL_CONTROLLERBUTTONUP
                          ? 1
                          : 0;
        }
        return events;
    }

private:
    SDL_GameController* controller_ = nullptr;
    SDL_Joystick* joystick_ = nullptr;
};

void sdlControllerEvent(benchmark::State& state) {
    SDLController controller;
    if (!controller) {
        state.SkipWithError(SDL_GetError());
        return;
    }
    controller.round(0); // the events of the attaching
    int number = 1;
    for (auto _ : state) {
        int events = 0;
        const auto begin = std::chrono::steady_clock::now();
        for (int i = 0; i < 100; ++i) {
            events += controller.round(number++);
        }
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
        if (events < 490) {
            state.SkipWithError("SDL2 gave fewer events than there were changes");
            break;
        }
        state.SetIterationTime(passed.count() / events);
    }
}
BENCHMARK(sdlControllerEvent)->Name("SDLControllerEvent")->UseManualTime()->Iterations(50);

} // namespace
