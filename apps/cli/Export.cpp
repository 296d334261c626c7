// SPDX-License-Identifier: BSD-3-Clause
// icawave export: the values of one data set for other programs, or the data set as a file of its own.
#include "apps/cli/Command.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Load.h"
#include "apps/cli/OutputLimit.h"
#include "apps/cli/Save.h"
#include "apps/cli/Text.h"

#include <algorithm>
#include <vector>

namespace icawave::cli {

namespace {

// The samples that the data set states, but no more than a channel holds.
std::int64_t samplesOf(CTrialIcaDatazq& d) {
    std::int64_t longest = 0;
    for (std::int64_t k = 0; k < d.getIcaChnlTotal(); ++k) {
        const CChnlIcaDatazq& channel = d.getChnlIcaData()[k];
        if (channel.m_data) longest = std::max(longest, channel.m_size);
    }
    return std::clamp<std::int64_t>(d.m_totalSample, 0, longest);
}

std::string csvCell(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted(1, '"');
    for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
    quoted += '"';
    return quoted;
}

void writeText(CFile& file, const std::string& text) {
    file.Write(text.data(), text.size());
}

void writeCsv(CFile& file, CTrialIcaDatazq& d) {
    std::string line = "latency";
    for (std::int64_t k = 0; k < d.getIcaChnlTotal(); ++k)
        (line += ',') += csvCell(d.getChnlIcaData()[k].m_chnlName.utf8());
    writeText(file, line + "\n");
    const std::int64_t samples = samplesOf(d);
    for (std::int64_t t = 0; t < samples; ++t) {
        line = number(d.getLatency4PtSecond(t));
        for (std::int64_t k = 0; k < d.getIcaChnlTotal(); ++k) (line += ',') += number(d.getValue(t, k));
        writeText(file, line + "\n");
    }
}

// Magic and version, the length of the rest of the header in two bytes, a dictionary padded to a multiple of
// 64 bytes that ends its line, and the rows.
void writeNpy(CFile& file, CTrialIcaDatazq& d) {
    const std::int64_t samples = samplesOf(d);
    std::string header = "{'descr': '<f8', 'fortran_order': False, 'shape': (";
    header += std::to_string(d.getIcaChnlTotal());
    header += ", " + std::to_string(samples) + "), }";
    header.append(63 - (10 + header.size()) % 64, ' ');
    header += '\n';
    std::string start("\x93NUMPY\x01\x00", 8);
    start += static_cast<char>(header.size() & 255);
    start += static_cast<char>(header.size() >> 8);
    writeText(file, start + header);
    std::vector<double> row(samples);
    for (std::int64_t k = 0; k < d.getIcaChnlTotal(); ++k) {
        for (std::int64_t t = 0; t < samples; ++t) row[t] = d.getValue(t, k);
        file.Write(row.data(), samples * sizeof(double));
    }
}

struct Options {
    std::string file;
    std::vector<std::string> dataSet;
    Target target;
};

void exportDataSet(const Options& options) {
    const std::string& path = options.target.path;
    const bool csv = path.ends_with(".csv");
    const bool npy = path.ends_with(".npy");
    if (!csv && !npy && !path.ends_with(".icd"))
        throw Failure(path, "the name must end in .csv, .npy or .icd");

    const Output target = options.target.output({options.file});
    Input input(options.file);
    input.requireSound();
    CTrialIcaDatazq& dataSet = input.dataSet(input.chosenOne(options.dataSet));
    OutputLimit limit(options.file, input.bytes());
    const std::int64_t channelBytes = csv || npy ? samplesOf(dataSet) * sizeof(double) : 0;
    for (std::int64_t k = 0; k < dataSet.getIcaChnlTotal(); ++k) limit.add(channelBytes);
    save(target, [&](CFile& out) {
        if (csv) return writeCsv(out, dataSet);
        if (npy) return writeNpy(out, dataSet);
        store(out, dataSet);
    });
}

} // namespace

void addExport(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = addCommand(
        app, "export", "Write the values of one data set (.csv, .npy) or the data set itself (.icd)", options,
        exportDataSet);
    addFile(command, options->file);
    addDataSets(command, options->dataSet, "the data set, counted from 0; needed for a package");
    addTarget(command, options->target);
}

} // namespace icawave::cli
