// icawave info: what a person wants to know about a file.
#include "apps/cli/Commands.h"
#include "apps/cli/Json.h"
#include "apps/cli/Load.h"
#include "apps/cli/Text.h"

#include <array>
#include <iostream>
#include <map>
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

// Equal rows of many data sets as one, with their number, in the order in which they first come.
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
            json.key("count");
            json.value(count);
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
    std::int64_t components = 0;
    std::int64_t hidden = 0;
    std::optional<CString> computeInfo; // of the current data set

    void add(CTrialIcaDatazq& d);
};

Shape shapeOf(CMMatrix2Dzq& matrix) {
    return {matrix.getRow(), matrix.getCol()};
}

void Summary::add(CTrialIcaDatazq& d) {
    shapes.add({{"components", d.getIcaChnlTotal()}, {"samples", d.m_totalSample}});
    times.add({{"samplingRate", d.m_sampleRate},
               {"latencyBegin", d.m_anaLatencyBegin},
               {"latencyEnd", d.m_anaLatencyEnd}});
    for (std::int64_t k = 0; k < d.getIcaChnlTotal(); ++k) hidden += d.getChnlIcaData()[k].m_show == 0;
    components += d.getIcaChnlTotal();
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
    line("Hidden components  ", std::to_string(summary.hidden) + " of " + std::to_string(summary.components));
    if (summary.computeInfo) line("Computed           ", printable(*summary.computeInfo));
}

void printJson(const Input& input, const Summary& summary) {
    const PackageInfo package = input.info();
    JsonWriter json(std::cout);
    const auto field = [&json](const char* name, const auto& value) {
        json.key(name);
        json.value(value);
    };
    json.beginObject();
    field("kind", CString(input.isPackage() ? "package" : "dataset"));
    if (input.isPackage()) {
        field("name", package.name);
        field("information", package.info);
        field("shown", package.shown);
        field("type", package.type);
        field("dataSets", input.count());
        field("current", package.current);
    } else {
        field("name", input.rows()[0].name);
        field("shown", input.rows()[0].shown);
    }
    summary.shapes.print(json, "shapes");
    summary.times.print(json, "times");
    summary.parameters.print(json, "parameters");
    field("components", summary.components);
    field("hiddenComponents", summary.hidden);
    if (summary.computeInfo) field("computeInfo", *summary.computeInfo);
    json.endObject();
    std::cout << '\n';
}

} // namespace

void info(const std::string& file, bool json) {
    Input input(file);
    Summary summary;
    for (std::int32_t k = 0; k < input.count(); ++k) {
        CTrialIcaDatazq& dataSet = input.dataSet(k);
        summary.add(dataSet);
        if (k == input.info().current) summary.computeInfo = dataSet.m_icaCmptInfo;
    }
    json ? printJson(input, summary) : printText(input, summary);
    input.requireSound();
}

} // namespace icawave::cli
