// SPDX-License-Identifier: BSD-3-Clause
// icawave stats, norm and sum: what the library's processing says of a file, and does to one.
#include "apps/cli/Command.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Json.h"
#include "apps/cli/Load.h"
#include "apps/cli/OutputLimit.h"
#include "apps/cli/Text.h"

#include <cstring>
#include <iostream>
#include <numeric>

namespace icawave::cli {

namespace {

struct Component {
    CString name;
    double min = 0.0, mean = 0.0, max = 0.0, meanMagnitude = 0.0, rms = 0.0;
};

std::vector<Component> componentsOf(CTrialIcaDatazq& dataSet) {
    std::vector<Component> components;
    for (std::int64_t k = 0; k < dataSet.getIcaChnlTotal(); ++k) {
        CChnlIcaDatazq& channel = dataSet.m_chnlIcaData[k];
        Component& c = components.emplace_back();
        c.name = channel.m_chnlName;
        double meanAgain = 0.0;
        channel.getStatistic(c.min, c.mean, c.max, meanAgain, c.meanMagnitude, c.rms);
    }
    return components;
}

void printJson(JsonWriter& json, std::int32_t index, CTrialIcaDatazq& dataSet, bool components) {
    json.beginObject();
    json.field("index", index);
    json.field("name", dataSet.m_icaName);
    json.field("line", dataSet.getStatistics()); // refreshes what follows
    json.field("min", dataSet.m_dataMin);
    json.field("mean", dataSet.m_dataMean);
    json.field("max", dataSet.m_dataMax);
    if (components) {
        json.key("componentStatistics");
        json.beginArray();
        for (const Component& c : componentsOf(dataSet)) {
            json.beginObject();
            json.field("name", c.name);
            json.field("min", c.min);
            json.field("mean", c.mean);
            json.field("max", c.max);
            json.field("meanMagnitude", c.meanMagnitude);
            json.field("rms", c.rms);
            json.endObject();
        }
        json.endArray();
    }
    json.endObject();
}

void printText(CTrialIcaDatazq& dataSet, bool components) {
    // The line's own tab and line break are all there may be.
    dataSet.m_icaName = printable(dataSet.m_icaName);
    std::cout << dataSet.getStatistics().utf8();
    if (!components) return;
    for (const Component& c : componentsOf(dataSet))
        std::cout << "  " << printable(c.name) << " Min: " << number(c.min) << " Mean: " << number(c.mean)
                  << " Max: " << number(c.max) << " MeanMagnitude: " << number(c.meanMagnitude)
                  << " RMS: " << number(c.rms) << '\n';
}

struct StatsOptions {
    std::vector<std::string> files;
    std::vector<std::string> dataSets;
    bool components = false;
    bool json = false;
};

void statsFile(const std::string& file, const StatsOptions& options) {
    Input input(file);
    std::vector<std::int32_t> indices = input.chosen(options.dataSets);
    if (options.dataSets.empty()) {
        indices.resize(input.count());
        std::iota(indices.begin(), indices.end(), 0);
    }
    JsonWriter json(std::cout, ", ");
    if (options.json) {
        json.beginObject();
        json.field("file", CString(shownPath(file)));
        json.field("kind", input.kind());
        json.key("dataSets");
        json.beginArray();
    }
    constexpr std::int64_t componentBytes = 200; // of the text about one
    for (const std::int32_t k : indices) {
        CTrialIcaDatazq& dataSet = input.dataSet(k);
        if (options.components)
            OutputLimit(file, input.bytes()).add(componentBytes * dataSet.getIcaChnlTotal());
        if (options.json)
            printJson(json, k, dataSet, options.components);
        else
            printText(dataSet, options.components);
    }
    if (options.json) {
        json.endArray();
        json.endObject();
        std::cout << '\n';
    }
    input.requireSound();
}

void stats(const StatsOptions& options) {
    forEachFile(options.files, !options.json, [&](const std::string& file) { statsFile(file, options); });
}

struct NormOptions {
    std::string file;
    std::vector<std::string> dataSet;
    Target target;
};

void norm(const NormOptions& options) {
    const Output target = options.target.output({}); // may be the file itself
    Input input(options.file);
    input.requireSound();
    const std::int32_t chosen = input.chosenOne(options.dataSet);
    double divisor = 0.0;
    const auto divide = [&]() -> CTrialIcaDatazq& {
        CTrialIcaDatazq& dataSet = input.dataSet(chosen);
        const Messages messages;
        if (!dataSet.normRMS())
            throw Failure(options.file,
                          messages.count ? messages.first.utf8() : "the data set has no values");
        divisor = dataSet.m_normRMS;
        return dataSet;
    };
    if (input.isPackage())
        savePackage(target, input.count(), input.info(), input.sections(), [&](PackageWriter& writer) {
            for (std::int32_t k = 0; k < input.count(); ++k)
                k == chosen ? writer.add(&divide()) : input.copyTo(writer, k);
        });
    else
        save(target, [&](CFile& out) { store(out, divide()); });
    std::cout << "divided by " << number(divisor) << " = sqrt(sum of squares / components)\n";
}

struct SumOptions {
    std::string file;
    bool different = false;
    Target target;
};

bool same(CMMatrix2Dzq& a, CMMatrix2Dzq& b) {
    if (a.getRow() != b.getRow() || a.getCol() != b.getCol()) return false;
    const std::size_t bytes = a.getRow() * a.getCol() * sizeof(double);
    return bytes == 0 || std::memcmp(a.getDataPP()[0], b.getDataPP()[0], bytes) == 0;
}

// Whether component k of both is the same mixture of the same sensors.
bool sameUnmixing(CTrialIcaDatazq& a, CTrialIcaDatazq& b) {
    CIcaParamzq* const p = a.getIcaParamzq(0);
    CIcaParamzq* const q = b.getIcaParamzq(0);
    if (!p || !q) return p == q;
    return same(p->m_Wunmix, q->m_Wunmix) && same(p->m_extraMatrixA, q->m_extraMatrixA);
}

void sum(const SumOptions& options) {
    const Output target = options.target.output({options.file});
    Input input(options.file);
    input.requireSound();
    if (input.count() < 1) throw Failure(options.file, "there is no data set");
    const DataSetOwner first = input.isPackage() ? input.take(0) : nullptr;
    CTrialIcaDatazq& total = first ? *first : input.dataSet(0);
    std::int32_t added = 1;
    std::string others;
    for (std::int32_t k = 1; k < input.count(); ++k) {
        CTrialIcaDatazq& dataSet = input.dataSet(k);
        const bool sameRate = dataSet.m_sampleRate == total.m_sampleRate;
        const bool sums = sameRate && sameUnmixing(dataSet, total);
        if (!total.sumDatSetSns(dataSet))
            others += (others.empty() ? "" : ", ") + std::to_string(k);
        else if (sums || options.different)
            ++added;
        else
            throw Failure(options.file, "data set " + std::to_string(k) + " has another " +
                                            (sameRate ? "unmixing matrix" : "sampling rate") +
                                            " than data set 0; --different adds it all the same");
    }
    total.m_icaName = CString("sum of " + counted(added, "data set") + ", first ") + total.m_icaName;
    if (input.isPackage()) {
        PackageInfo info = input.info();
        info.current = 0;
        savePackage(target, 1, info, input.sections(), [&](PackageWriter& writer) { writer.add(&total); });
    } else {
        save(target, [&](CFile& out) { store(out, total); });
    }
    std::cout << counted(added, "data set") << " summed";
    if (!others.empty()) std::cout << "; of another size: " << others;
    std::cout << '\n';
}

} // namespace

void addStats(CLI::App& app) {
    const auto options = std::make_shared<StatsOptions>();
    CLI::App& command =
        addCommand(app, "stats", "Print range, means and RmsSum of each data set", options, stats);
    addFiles(command, options->files);
    addDataSets(command, options->dataSets, "only these data sets, counted from 0, such as 0-9,12");
    command.add_flag("--components", options->components,
                     "also minimum, mean, maximum, mean magnitude and RMS of each component");
    addJson(command, options->json);
    command.footer(
        "Of a data set: Min and Max of all values; Mean and AbsSum, the averages over the components of "
        "their mean and mean magnitude; RmsSum, sqrt(average over the components of their RMS).\n");
}

void addNorm(CLI::App& app) {
    const auto options = std::make_shared<NormOptions>();
    CLI::App& command = addCommand(
        app, "norm", "Divide the values of one data set by sqrt(sum of their squares / components)", options,
        norm);
    addFile(command, options->file);
    addDataSets(command, options->dataSet, "the data set, counted from 0; needed for a package");
    addTarget(command, options->target, "-o", "the file to write; with --force it may be FILE");
    command.footer("The divisor is sqrt(samples) times the RMS of all values.\n");
}

void addSum(CLI::App& app) {
    const auto options = std::make_shared<SumOptions>();
    CLI::App& command = addCommand(
        app, "sum", "Add the values of all data sets of equal size and keep that one data set", options, sum);
    addFile(command, options->file);
    command.add_flag("--different", options->different,
                     "also add data sets of another sampling rate or unmixing matrix");
    addTarget(command, options->target);
}

} // namespace icawave::cli
