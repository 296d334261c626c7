// The commands of the command line, one function each. Results go to stdout; what is wrong is thrown and
// becomes one line on stderr. A command that was thrown out of ends the program with status 1.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace icawave::cli {

void importSet(const std::string& source, const std::string& target);
void list(const std::string& file, bool json);
void info(const std::string& file, bool json);
// The format follows from the target's extension: .csv, .npy or .icd. Without an index: the one data set of a
// data set file.
void exportDataSet(const std::string& file, std::optional<std::int32_t> index, const std::string& target);
void check(const std::string& file);
void dumpFile(const std::string& file);
void copy(const std::string& source, const std::string& target);
void diff(const std::string& first, const std::string& second); // thrown out of when they differ

void salvage(const std::string& source, const std::string& target);
void addIndex(const std::string& file);
void extract(const std::string& source, const std::vector<std::int32_t>& indices, const std::string& target);
void merge(const std::vector<std::string>& sources, const std::string& target);

// Without an index: all data sets.
void stats(const std::string& file, std::optional<std::int32_t> index, bool components, bool json);
void norm(const std::string& file, std::optional<std::int32_t> index, const std::string& target);
void sum(const std::string& file, const std::string& target);

} // namespace icawave::cli
