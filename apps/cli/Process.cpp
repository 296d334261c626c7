// icawave stats, norm and sum: what the library's processing says of a file, and does to one.
#include "apps/cli/Commands.h"
#include "apps/cli/Json.h"
#include "apps/cli/Load.h"
#include "apps/cli/Save.h"
#include "apps/cli/Text.h"

#include <array>
#include <iostream>

namespace icawave::cli {

namespace {

struct Component {
    CString name;
    std::array<double, 6> values; // minimum, mean, maximum, mean again, mean of magnitudes, root mean square
};

constexpr std::array<const char*, 6> valueNames = {"min", "mean", "max", "mean2", "absMean", "rms"};

std::vector<Component> componentsOf(CTrialIcaDatazq& dataSet) {
    std::vector<Component> components;
    for (std::int64_t k = 0; k < dataSet.getIcaChnlTotal(); ++k) {
        CChnlIcaDatazq& channel = dataSet.m_chnlIcaData[k];
        Component c{channel.m_chnlName, {}};
        auto& v = c.values;
        channel.getStatistic(v[0], v[1], v[2], v[3], v[4], v[5]);
        components.push_back(std::move(c));
    }
    return components;
}

void printJson(JsonWriter& json, std::int32_t index, CTrialIcaDatazq& dataSet, bool components) {
    const auto field = [&](const char* name, const auto& value) {
        json.key(name);
        json.value(value);
    };
    json.beginObject();
    field("index", index);
    field("name", dataSet.m_icaName);
    field("line", dataSet.getStatistics()); // refreshes what follows
    field("min", dataSet.m_dataMin);
    field("mean", dataSet.m_dataMean);
    field("max", dataSet.m_dataMax);
    if (components) {
        json.key("components");
        json.beginArray();
        for (const Component& c : componentsOf(dataSet)) {
            json.beginObject();
            field("name", c.name);
            for (std::size_t k = 0; k < valueNames.size(); ++k) field(valueNames[k], c.values[k]);
            json.endObject();
        }
        json.endArray();
    }
    json.endObject();
}

void printText(CTrialIcaDatazq& dataSet, bool components) {
    dataSet.m_icaName =
        printable(dataSet.m_icaName); // the line's own tab and line break are all there may be
    std::cout << dataSet.getStatistics().utf8();
    if (!components) return;
    for (const Component& c : componentsOf(dataSet)) {
        std::cout << "  " << printable(c.name);
        for (const double value : c.values) std::cout << ' ' << number(value);
        std::cout << '\n';
    }
}

} // namespace

void stats(const std::string& file, std::optional<std::int32_t> index, bool components, bool json) {
    Input input(file);
    const std::int32_t first = index ? input.checked(*index) : 0;
    const std::int32_t last = index ? first : input.count() - 1;
    JsonWriter writer(std::cout);
    if (json) writer.beginArray();
    for (std::int32_t k = first; k <= last; ++k) {
        if (json)
            printJson(writer, k, input.dataSet(k), components);
        else
            printText(input.dataSet(k), components);
    }
    if (json) {
        writer.endArray();
        std::cout << '\n';
    }
    input.requireSound();
}

void norm(const std::string& file, std::optional<std::int32_t> index, const std::string& target) {
    Input input(file);
    input.requireSound();
    const std::int32_t chosen = input.checked(index);
    double divisor = 0.0;
    const auto divide = [&]() -> CTrialIcaDatazq& {
        CTrialIcaDatazq& dataSet = input.dataSet(chosen);
        const Messages messages;
        if (!dataSet.normRMS())
            throw Failure(file, messages.count ? messages.first.utf8() : "the data set has no values");
        divisor = dataSet.m_normRMS;
        return dataSet;
    };
    if (input.isPackage())
        savePackage(target, input.count(), input.info(), [&](PackageWriter& writer) {
            for (std::int32_t k = 0; k < input.count(); ++k)
                k == chosen ? writer.add(&divide()) : input.copyTo(writer, k);
        });
    else
        save(target, [&](CFile& out) { store(out, divide()); });
    std::cout << "divided by " << number(divisor) << '\n';
}

void sum(const std::string& file, const std::string& target) {
    Input input(file);
    input.requireSound();
    if (input.count() < 1) throw Failure(file, "there is no data set");
    Input firstInput(file);
    CTrialIcaDatazq& total = firstInput.dataSet(0);
    std::int32_t added = 1;
    std::string others;
    for (std::int32_t k = 1; k < input.count(); ++k) {
        if (total.sumDatSetSns(input.dataSet(k)))
            ++added;
        else
            others += (others.empty() ? "" : ", ") + std::to_string(k);
    }
    if (input.isPackage()) {
        PackageInfo info = input.info();
        info.current = 0;
        savePackage(target, 1, info, [&](PackageWriter& writer) { writer.add(&total); });
    } else {
        save(target, [&](CFile& out) { store(out, total); });
    }
    std::cout << counted(added, "data set") << " summed";
    if (!others.empty()) std::cout << "; of another size: " << others;
    std::cout << '\n';
}

} // namespace icawave::cli
