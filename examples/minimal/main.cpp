// SPDX-License-Identifier: MIT
// Prints the controllers that come and go, and what is done with them, until interrupted; with --once, for one turn.
#include <QZGameController/QZGameController.h>

#include <iostream>
#include <poll.h>

using namespace qz::platform;

struct Printer final : QZGCHIDManagerDelegate {
    bool hidManagerShouldConnectDevice(QZGCHIDManager&, IOHIDDeviceRef) override { return true; }
    void hidManagerDeviceConnected(QZGCHIDManager&, const std::shared_ptr<QZHIDDevice>& device) override {
        std::cout << "+ " << device->productName().value_or("?") << std::endl;
    }
    void hidManagerDeviceDisconnected(QZGCHIDManager&, const std::shared_ptr<QZHIDDevice>& device) override {
        std::cout << "- " << (device ? device->productName().value_or("?") : "a device that was refused") << std::endl;
    }
    void hidManagerElementNewRawValue(QZGCHIDManager&, const std::shared_ptr<QZHIDElement>&, std::int64_t) override {}
    void hidManagerActionNewValue(QZGCHIDManager&, const std::string& action, double newValue) override {
        std::cout << action << " " << newValue << std::endl;
    }
    void hidManagerHidError(QZGCHIDManager&, IOReturn error) override {
        std::cerr << "error 0x" << std::hex << error << (error == kIOReturnNotPermitted ? ": no access" : "") << '\n';
    }
};

int main(int argc, char** /*argv*/) {
    RunLoop& loop = Platform::standard().currentRunLoop();
    const auto printer = std::make_shared<Printer>();
    using Action = QZGCConfigurationManager::Action;
    const auto configuration = QZGCConfigurationManager::create({Action("roll")}, {Action("pitch")}, {Action("fire")});
    const auto manager = QZGCHIDManager::create(configuration);
    if (manager->setupWithDelegate(printer) != kIOReturnSuccess) {
        return 1;
    }
    pollfd ready{loop.fileDescriptor(kCFRunLoopDefaultMode), POLLIN, 0};
    do {
        loop.dispatch(kCFRunLoopDefaultMode);
    } while (argc == 1 && poll(&ready, 1, -1) > 0);
}
