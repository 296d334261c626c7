// SPDX-License-Identifier: BSD-3-Clause
// What commands are made of: the options that several have, so that each means one thing everywhere.
#pragma once

#include "apps/cli/Save.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace icawave::cli {

// The options live as long as the work that reads them.
template <class Options>
CLI::App& addCommand(CLI::App& app, const char* name, const char* purpose,
                     const std::shared_ptr<Options>& options, void (*work)(const Options&)) {
    CLI::App* const command = app.add_subcommand(name, purpose);
    command->callback([options, work] { work(*options); });
    return *command;
}

void addFile(CLI::App& command, std::string& file, const char* name = "FILE",
             const char* meaning = "the file to read");
void addFiles(CLI::App& command, std::vector<std::string>& files, const char* name = "FILE",
              const char* meaning = "the files to read");
void addJson(CLI::App& command, bool& json);

// -d: data sets, counted from 0, as numbers and ranges: 3 or 0-9,12. It may stand more than once.
// Input::chosen and Input::chosenOne read them.
CLI::Option* addDataSets(CLI::App& command, std::vector<std::string>& dataSets, const char* meaning);

// What -o and --force say.
struct Target {
    std::string path;
    bool force = false;

    Output output(const std::vector<std::string>& read) const { return {path, force, read}; }
};
void addTarget(CLI::App& command, Target& target, const char* name = "-o",
               const char* meaning = "the file to write");

void say(const std::string& line); // on stderr

// Thrown by a command that said what is wrong itself.
struct Ended {
    int status;
};
// Does the work; what it throws becomes one line on stderr. Returns the exit status.
int attempt(const std::function<void()>& work);
// Goes through all files, whatever is wrong with one of them. Several get a title each when `titled`.
void forEachFile(const std::vector<std::string>& files, bool titled,
                 const std::function<void(const std::string&)>& work);

} // namespace icawave::cli
