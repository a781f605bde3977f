// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"
#include "tools/qzgc/commands/Plot.h"
#include "tools/qzgc/session/Session.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <optional>

namespace qz::tools {

/// The subcommands with their options. Parsing fills in what the chosen one needs; `run` then does it.
class CommandLine {
public:
    CommandLine();

    CLI::App& app() noexcept { return app_; }
    ExitStatus run() const { return chosen_(); }

private:
    using Command = std::function<ExitStatus()>;

    CLI::App& addCommand(const char* name, const char* summary, Command command);
    void addApplicationOptions(CLI::App& command);
    void addSessionOptions(CLI::App& command);
    void addFrom(CLI::App& command);
    void addDevice(CLI::App& command);
    void addJSON(CLI::App& command);

    void addList();
    void addElements();
    void addPlot();
    void addSimulate();

    CLI::App app_;
    Command chosen_;

    // What the chosen command was given. No command reads what it has no option for.
    SessionOptions session_;
    std::string device_;
    std::string file_;
    std::optional<std::string> descriptor_;
    PlotOptions plot_;
    bool json_ = false;
};

} // namespace qz::tools
