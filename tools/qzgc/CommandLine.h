// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/ExitStatus.h"
#include "tools/qzgc/commands/Map.h"
#include "tools/qzgc/commands/Plot.h"
#include "tools/qzgc/session/Session.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <optional>
#include <string>

namespace qz::tools {

/// The subcommands with their options. Parsing fills in what the chosen one needs; `run` then does it.
class CommandLine {
public:
    CommandLine();

    CLI::App& app() noexcept { return app_; }
    ExitStatus run() const { return chosen_(); }

private:
    using Command = std::function<ExitStatus()>;
    using Options = std::function<void(CLI::App& command)>;

    void addCommand(const char* name, const char* summary, Command command, Options options);
    void addPreferencesOptions(CLI::App& command);
    void addSessionOptions(CLI::App& command);
    void addFrom(CLI::App& command);
    void addFast(CLI::App& command);
    void addSeconds(CLI::App& command, const std::string& description);
    void addEventOptions(CLI::App& command);
    void addDevice(CLI::App& command);
    void addJSON(CLI::App& command);
    void addEdit(CLI::App& command, const char* name, MapEdit::Kind kind, const char* value, const char* description);

    void addList();
    void addElements();
    void addMonitor();
    void addRecord();
    void addReplay();
    void addPlot();
    void addMap();
    void addCalibrate();
    void addSimulate();

    ExitStatus runMonitor() const;

    CLI::App app_;
    Command chosen_;

    // What the chosen command was given. No command reads what it has no option for.
    SessionOptions session_;
    std::string device_;
    std::string file_;
    std::optional<std::string> descriptor_;
    PlotOptions plot_;
    bool json_ = false;
    bool force_ = false;
    bool lines_ = false;
    bool raw_ = false;
    std::vector<MapEdit> edits_;
    bool show_ = false;
    bool yes_ = false;
    bool reset_ = false;
};

} // namespace qz::tools
