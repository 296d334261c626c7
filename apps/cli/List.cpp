// SPDX-License-Identifier: BSD-3-Clause
// icawave list: one row for each data set, with the columns of the manager.
#include "apps/cli/Command.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Json.h"
#include "apps/cli/Load.h"
#include "apps/cli/Text.h"

#include <algorithm>
#include <iostream>
#include <vector>

namespace icawave::cli {

namespace {

struct Options {
    std::vector<std::string> files;
    bool json = false;
};

void printJson(const std::string& file, const Input& input, const std::vector<PackageEntry>& rows) {
    JsonWriter json(std::cout, ", ");
    json.beginObject();
    json.field("file", CString(shownPath(file)));
    json.field("kind", input.kind());
    json.key("dataSets");
    json.beginArray();
    for (std::int64_t k = 0; const PackageEntry& row : rows) {
        json.beginObject();
        json.field("index", k);
        json.field("name", row.name);
        json.field("samples", row.samples);
        json.field("components", row.channels);
        json.field("selectedComponent", row.selectedChannel);
        json.field("class", row.dataSetClass);
        json.field("selectBegin", row.selectBegin);
        json.field("selectEnd", row.selectEnd);
        json.field("current", k++ == input.info().current);
        json.field("shown", row.shown);
        json.endObject();
    }
    json.endArray();
    json.endObject();
    std::cout << '\n';
}

void printTable(const Input& input, const std::vector<PackageEntry>& rows) {
    using Cells = std::vector<std::string>;
    std::vector<Cells> table = {{"Index", "Name", "Sample", "Num ICA", "Act ICA", "Class", "Select B",
                                 "Select E", "Current", "Shown"}};
    for (std::int64_t k = 0; const PackageEntry& row : rows) {
        const bool current = k == input.info().current;
        table.push_back({std::to_string(k++), printable(row.name), std::to_string(row.samples),
                         std::to_string(row.channels), std::to_string(row.selectedChannel),
                         std::to_string(row.dataSetClass), std::to_string(row.selectBegin),
                         std::to_string(row.selectEnd), current ? "Front" : "Back",
                         row.shown ? "shown" : "hidden"});
    }
    std::vector<std::size_t> widths(table.front().size());
    for (const Cells& cells : table) {
        for (std::size_t c = 0; c < cells.size(); ++c) widths[c] = std::max(widths[c], codePoints(cells[c]));
    }
    for (const Cells& cells : table) {
        for (std::size_t c = 0; c + 1 < cells.size(); ++c) std::cout << padded(cells[c], widths[c]) << "  ";
        std::cout << cells.back() << '\n';
    }
}

void listFile(const std::string& file, bool json) {
    Input input(file, 0);
    std::vector<PackageEntry> rows = input.rows();
    const Messages messages;
    if (!input.isPackage())
        rows[0].samples = input.dataSet(0).getTotalSample(); // as the data set corrects it
    json ? printJson(file, input, rows) : printTable(input, rows);
    input.requireSound();
    if (messages.count > 0) throw Failure(file, messages.first.utf8());
}

void list(const Options& options) {
    forEachFile(options.files, !options.json, [&](const std::string& file) { listFile(file, options.json); });
}

} // namespace

void addList(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = addCommand(app, "list", "Print one row for each data set", options, list);
    addFiles(command, options->files);
    addJson(command, options->json);
}

} // namespace icawave::cli
