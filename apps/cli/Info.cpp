// SPDX-License-Identifier: BSD-3-Clause
// icawave info: what a person wants to know about a file.
#include "apps/cli/Command.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Json.h"
#include "apps/cli/Load.h"
#include "apps/cli/Text.h"

#include <algorithm>
#include <array>
#include <functional>
#include <iostream>
#include <map>
#include <numeric>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

namespace icawave::cli {

namespace {

using Shape = std::array<std::int64_t, 2>; // rows and columns
using Value = std::variant<std::int64_t, double, Shape>;
using Row = std::vector<std::pair<const char*, Value>>; // with names

std::string textOf(std::int64_t value) {
    return std::to_string(value);
}
std::string textOf(double value) {
    return number(value);
}
std::string textOf(const Shape& shape) {
    return std::to_string(shape[0]) + " x " + std::to_string(shape[1]);
}

std::string textOf(const Row& row) {
    std::string text;
    for (const auto& [name, value] : row) {
        if (!text.empty()) text += ", ";
        text += name;
        text += ' ' + std::visit([](const auto& v) { return textOf(v); }, value);
    }
    return text;
}

void write(JsonWriter& json, auto value) {
    json.value(value);
}
void write(JsonWriter& json, const Shape& shape) {
    json.beginArray();
    for (const std::int64_t size : shape) json.value(size);
    json.endArray();
}

// The distinct rows among those of many data sets, each with how often it occurs, in order of appearance.
class Groups {
public:
    void add(Row row) {
        const auto [found, isNew] = m_places.try_emplace(textOf(row), m_groups.size());
        if (isNew) m_groups.emplace_back(std::move(row), 0);
        ++m_groups[found->second].second;
    }
    void print(const char* title) const {
        for (const auto& [row, count] : m_groups)
            std::cout << title << count << " x (" << textOf(row) << ")\n";
    }
    void print(JsonWriter& json, const char* name) const {
        json.key(name);
        json.beginArray();
        for (const auto& [row, count] : m_groups) {
            json.beginObject();
            json.field("dataSetCount", count);
            for (const auto& [key, value] : row) {
                json.key(key);
                std::visit([&json](const auto& v) { write(json, v); }, value);
            }
            json.endObject();
        }
        json.endArray();
    }

private:
    std::map<std::string, std::size_t> m_places;
    std::vector<std::pair<Row, std::int64_t>> m_groups;
};

struct Summary {
    Groups shapes, times, parameters;
    std::vector<std::int64_t> having, hiding; // per component: the data sets that have it, and hide it
    std::optional<CString> computeInfo;       // of the current data set

    void add(CTrialIcaDatazq& d);
    std::int64_t components() const { return std::ssize(having); }
    std::int64_t hiddenEverywhere() const; // components
    std::int64_t hiddenSomewhere() const;  // but not everywhere
};

Shape shapeOf(CMMatrix2Dzq& matrix) {
    return {matrix.getRow(), matrix.getCol()};
}

void Summary::add(CTrialIcaDatazq& d) {
    shapes.add({{"components", d.getIcaChnlTotal()}, {"samples", d.m_totalSample}});
    times.add({{"samplingRate", d.m_sampleRate},
               {"latencyBegin", d.m_anaLatencyBegin},
               {"latencyEnd", d.m_anaLatencyEnd}});
    const std::size_t count = std::max<std::int64_t>(d.getIcaChnlTotal(), 0);
    having.resize(std::max(having.size(), count));
    hiding.resize(having.size());
    for (std::size_t k = 0; k < count; ++k) {
        ++having[k];
        hiding[k] += d.getChnlIcaData()[k].m_show == 0;
    }
    CIcaParamzq* p = d.getIcaParamzq(0);
    if (!p) return;
    parameters.add({{"nIca", std::int64_t{p->m_nIca}},
                    {"nComp", std::int64_t{p->m_nComp}},
                    {"nSample", std::int64_t{p->m_nSample}},
                    {"unmixing", shapeOf(p->m_Wunmix)},
                    {"second", shapeOf(p->m_Wsecond)},
                    {"extraA", shapeOf(p->m_extraMatrixA)},
                    {"extraB", shapeOf(p->m_extraMatrixB)}});
}

std::int64_t Summary::hiddenEverywhere() const {
    return std::inner_product(having.begin(), having.end(), hiding.begin(), std::int64_t{0}, std::plus(),
                              std::equal_to());
}

std::int64_t Summary::hiddenSomewhere() const {
    return std::ranges::count_if(hiding, [](std::int64_t sets) { return sets > 0; }) - hiddenEverywhere();
}

void printText(const Input& input, const Summary& summary) {
    const PackageInfo package = input.info();
    const auto line = [](const char* title, const std::string& text) { std::cout << title << text << '\n'; };
    line("Kind               ", input.isPackage() ? "package" : "data set");
    if (input.isPackage()) {
        line("Name               ", printable(package.name));
        line("Information        ", printable(package.info));
        line("Shown              ", package.shown ? "yes" : "no");
        line("Type               ", std::to_string(package.type));
        line("Data sets          ", std::to_string(input.count()));
        line("Current            ", std::to_string(package.current));
    } else {
        line("Name               ", printable(input.rows()[0].name));
        line("Shown              ", input.rows()[0].shown ? "yes" : "no");
    }
    summary.shapes.print("Shape              ");
    summary.times.print("Time (Hz, s)       ");
    summary.parameters.print("Parameters         ");
    std::string hidden =
        std::to_string(summary.hiddenEverywhere()) + " of " + std::to_string(summary.components());
    if (summary.hiddenSomewhere() > 0)
        hidden += " in every data set, " + std::to_string(summary.hiddenSomewhere()) + " more in some";
    line("Hidden components  ", hidden);
    if (summary.computeInfo) line("Computed           ", printable(*summary.computeInfo));
}

void printJson(const std::string& file, const Input& input, const Summary& summary) {
    const PackageInfo package = input.info();
    JsonWriter json(std::cout, ", ");
    json.beginObject();
    json.field("file", CString(shownPath(file)));
    json.field("kind", input.kind());
    json.field("name", input.isPackage() ? package.name : input.rows()[0].name);
    json.field("shown", input.isPackage() ? package.shown : input.rows()[0].shown);
    if (input.isPackage()) {
        json.field("information", package.info);
        json.field("type", package.type);
        json.field("currentIndex", package.current);
    }
    json.field("dataSetCount", input.count());
    summary.shapes.print(json, "shapes");
    summary.times.print(json, "times");
    summary.parameters.print(json, "parameters");
    json.field("components", summary.components());
    json.field("hiddenComponents", summary.hiddenEverywhere());
    json.field("hiddenInSome", summary.hiddenSomewhere());
    if (summary.computeInfo) json.field("computeInfo", *summary.computeInfo);
    json.endObject();
    std::cout << '\n';
}

struct Options {
    std::vector<std::string> files;
    bool json = false;
};

void infoFile(const std::string& file, bool json) {
    Input input(file);
    Summary summary;
    for (std::int32_t k = 0; k < input.count(); ++k) {
        CTrialIcaDatazq& dataSet = input.dataSet(k);
        summary.add(dataSet);
        if (k == input.info().current) summary.computeInfo = dataSet.m_icaCmptInfo;
    }
    json ? printJson(file, input, summary) : printText(input, summary);
    input.requireSound();
}

void info(const Options& options) {
    forEachFile(options.files, !options.json, [&](const std::string& file) { infoFile(file, options.json); });
}

} // namespace

void addInfo(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = addCommand(app, "info", "Print what a file holds", options, info);
    addFiles(command, options->files);
    addJson(command, options->json);
}

} // namespace icawave::cli
