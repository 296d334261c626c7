// SPDX-License-Identifier: BSD-3-Clause
#include "apps/cli/Command.h"

#include "apps/cli/Progress.h"
#include "apps/cli/Text.h"

#include <iostream>

namespace icawave::cli {

namespace {

int complain(const std::string& what, int status) {
    say(what);
    return status;
}

// An option that takes one word each time it is given, so that it never takes the file names behind it.
CLI::Option* addWords(CLI::App& command, const char* name, std::vector<std::string>& words,
                      const char* meaning) {
    return command.add_option(name, words, meaning)->allow_extra_args(false);
}

} // namespace

void say(const std::string& line) {
    std::cout.flush(); // what there was to print comes before
    Progress::wipe();
    std::cerr << "icawave: " << printable(line) << '\n';
}

void addFile(CLI::App& command, std::string& file, const char* name, const char* meaning) {
    command.add_option(name, file, meaning)->type_name("")->required();
}

void addFiles(CLI::App& command, std::vector<std::string>& files, const char* name, const char* meaning) {
    command.add_option(name, files, meaning)->type_name("")->required();
}

void addJson(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "machine-readable output: one object and one line for each file");
}

CLI::Option* addDataSets(CLI::App& command, std::vector<std::string>& dataSets, const char* meaning) {
    return addWords(command, "-d", dataSets, meaning)->type_name("INDEX");
}

void addTarget(CLI::App& command, Target& target, const char* name, const char* meaning) {
    command.add_option(name, target.path, meaning)->type_name(*name == '-' ? "OUT" : "")->required();
    command.add_flag("--force", target.force, "replace the file if it exists");
}

int attempt(const std::function<void()>& work) {
    try {
        work();
        return 0;
    } catch (const Ended& end) {
        return end.status;
    } catch (const Failure& e) {
        return complain(e.what(), e.status());
    } catch (const std::bad_alloc&) {
        return complain("out of memory", trouble);
    } catch (const std::exception& e) {
        return complain(e.what(), trouble);
    }
}

void forEachFile(const std::vector<std::string>& files, bool titled,
                 const std::function<void(const std::string&)>& work) {
    Progress::plan(files);
    int status = 0;
    for (const std::string& file : files) {
        if (titled && files.size() > 1)
            std::cout << (&file == &files.front() ? "" : "\n") << printable(file) << ":\n";
        status = std::max(status, attempt([&] { work(file); }));
        Progress::finishFile();
    }
    if (status != 0) throw Ended{status};
}

} // namespace icawave::cli
