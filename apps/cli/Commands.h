// SPDX-License-Identifier: BSD-3-Clause
// The commands of the command line. Each registers itself beside its code: options, help, and the work that
// is called once all options are read. Results go to stdout; what is wrong is thrown and becomes one line on
// stderr.
#pragma once

#include <array>

namespace CLI {
class App;
}

namespace icawave::cli {

void addImport(CLI::App& app);
void addList(CLI::App& app);
void addInfo(CLI::App& app);
void addStats(CLI::App& app);
void addExport(CLI::App& app);
void addNorm(CLI::App& app);
void addSum(CLI::App& app);
void addCheck(CLI::App& app);
void addSalvage(CLI::App& app);
void addExtract(CLI::App& app);
void addMerge(CLI::App& app);
void addDiff(CLI::App& app);
void addIndex(CLI::App& app);
void addDump(CLI::App& app);
void addCopy(CLI::App& app);

// In the order of the help and of the README.
inline constexpr std::array allCommands = {addImport, addList, addInfo,  addStats,   addExport,
                                           addNorm,   addSum,  addCheck, addSalvage, addExtract,
                                           addMerge,  addDiff, addIndex, addDump,    addCopy};

} // namespace icawave::cli
