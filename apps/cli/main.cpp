// SPDX-License-Identifier: BSD-3-Clause
// icawave: the command line. Every command either does all of its work or ends with one line on stderr.
#include <icawave/Version.h>
#include <icawave/platform/AtomicFile.h>

#include "apps/cli/Command.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Progress.h"
#include "apps/cli/Text.h"

#include <icawave/platform/Memory.h>

#include <csignal>
#include <iostream>
#include <numeric>

namespace {

using namespace icawave::cli;

constexpr const char* statuses =
    "Exit status: 0; 1 when diff finds a difference, check damage, or salvage lost "
    "something; 2 when the work could not be done.\n";

// How many letters must be put in, left out or replaced to make one text of the other.
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char letter : a) {
        std::size_t diagonal = row[0]++;
        for (std::size_t k = 1; k < row.size(); ++k) {
            const std::size_t replaced = diagonal + (letter != b[k - 1]);
            diagonal = row[k];
            row[k] = std::min({replaced, row[k] + 1, row[k - 1] + 1});
        }
    }
    return row.back();
}

void requireCommand(const CLI::App& app, const std::string& word) {
    constexpr std::size_t maxTypingErrors = 2;
    const std::vector<const CLI::App*> commands = app.get_subcommands([](const CLI::App*) { return true; });
    const auto errors = [&](const CLI::App* command) { return distance(word, command->get_name()); };
    const CLI::App* const nearest = *std::ranges::min_element(commands, {}, errors);
    if (errors(nearest) == 0) return;
    throw Failure("no command " + word,
                  (errors(nearest) <= maxTypingErrors ? "did you mean " + nearest->get_name() + "?"
                                                      : "icawave --help lists them"));
}

// Nothing of a save is left behind, and whoever started the command sees the signal that ended it.
void endBySignal(int signal) {
    icawave::removeTemporaryFiles();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void handleSignals() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (std::signal(signal, endBySignal) == SIG_IGN) std::signal(signal, SIG_IGN); // as nohup asks
    }
    std::signal(SIGPIPE, SIG_DFL); // a reader that went away ends the command, silently, whoever started it
}

void run(int argc, char** argv) {
    CLI::App app("Inspects, converts and stores component analyses of MEG and EEG recordings.", "icawave");
    app.set_version_flag("--version", std::string("icawave ") + icawave::libraryVersion());
    app.footer(statuses);
    app.require_subcommand(1);
    for (const auto add : allCommands) add(app);
    if (argc > 1 && *argv[1] != '-') requireCommand(app, argv[1]);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) { // or the version
        app.exit(help);
    }
}

} // namespace

int main(int argc, char** argv) {
    handleSignals();
    icawave::setSaveNotice(say);
    std::ios::sync_with_stdio(false);
    icawave::keepMemory(256 << 20); // for the next file of several
    wipeProgressBefore(std::cout);
    const int status = attempt([&] { run(argc, argv); });
    const int written = attempt([] {
        if (!std::cout.flush()) throw Failure("standard output", "cannot be written");
    });
    return std::max(status, written);
}
