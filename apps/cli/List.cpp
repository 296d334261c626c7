// icawave list: one row for each data set, with the columns of the manager.
#include "apps/cli/Commands.h"
#include "apps/cli/Json.h"
#include "apps/cli/Load.h"
#include "apps/cli/Text.h"

#include <algorithm>
#include <iostream>
#include <vector>

namespace icawave::cli {

namespace {

struct Line {
    std::int32_t index;
    CString name;
    std::int64_t samples, components, selected;
    std::int32_t group;
    std::int64_t selectBegin, selectEnd;
    bool current, shown;
};

// Asking for the samples corrects the data set, so that comes first.
Line lineOf(Input& input, std::int32_t index) {
    CTrialIcaDatazq& d = input.dataSet(index);
    const std::int64_t samples = d.getTotalSample();
    const bool current = index == input.package().getCurntIcaDataSetID();
    return {index,        d.m_icaName,     samples,       d.m_chnlTotal, d.m_selectIca,
            d.m_icaClass, d.m_selectBegin, d.m_selectEnd, current,       d.m_icaShow};
}

void printJson(const Input& input, const std::vector<Line>& lines) {
    JsonWriter json(std::cout);
    const auto field = [&json](const char* name, const auto& value) {
        json.key(name);
        json.value(value);
    };
    json.beginObject();
    field("kind", CString(input.isPackage() ? "package" : "dataset"));
    json.key("dataSets");
    json.beginArray();
    for (const Line& line : lines) {
        json.beginObject();
        field("index", line.index);
        field("name", line.name);
        field("sample", line.samples);
        field("numIca", line.components);
        field("actIca", line.selected);
        field("class", line.group);
        field("selectBegin", line.selectBegin);
        field("selectEnd", line.selectEnd);
        field("current", line.current);
        field("shown", line.shown);
        json.endObject();
    }
    json.endArray();
    json.endObject();
    std::cout << '\n';
}

void printTable(const std::vector<Line>& lines) {
    using Cells = std::vector<std::string>;
    std::vector<Cells> table = {{"Index", "Name", "Sample", "Num ICA", "Act ICA", "Class", "Select B",
                                 "Select E", "Current", "Shown"}};
    for (const Line& line : lines) {
        table.push_back({std::to_string(line.index), printable(line.name), std::to_string(line.samples),
                         std::to_string(line.components), std::to_string(line.selected),
                         std::to_string(line.group), std::to_string(line.selectBegin),
                         std::to_string(line.selectEnd), line.current ? "Front" : "Back",
                         line.shown ? "shown" : "hidden"});
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

} // namespace

void list(const std::string& file, bool json) {
    Input input(file);
    const Messages messages;
    std::vector<Line> lines;
    for (std::int32_t k = 0; k < input.count(); ++k) lines.push_back(lineOf(input, k));
    json ? printJson(input, lines) : printTable(lines);
    input.requireSound();
    if (messages.count > 0)
        throw Failure(file, messages.first.utf8() + " (" + counted(messages.count, "data set") + ")");
}

} // namespace icawave::cli
