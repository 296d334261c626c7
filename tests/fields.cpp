// SPDX-License-Identifier: BSD-3-Clause
// The list of fields that dump and diff share misses nothing that a record stores.
#include "tests/Support.h"

#include "apps/cli/Fields.h"

#include <algorithm>
#include <map>
#include <sstream>

using test::Bytes;

namespace {

struct Loaded {
    Bytes record; // stored again
    std::map<std::string, std::string> fields;
};

// As diff compares: a field that one of the two has alone tells nothing.
bool differ(const Loaded& a, const Loaded& b) {
    return std::ranges::any_of(a.fields, [&](const auto& field) {
        const auto other = b.fields.find(field.first);
        return other != b.fields.end() && other->second != field.second;
    });
}

template <class T>
auto newObject() {
    if constexpr (std::is_same_v<T, CTrialIcaDatazq>)
        return test::newDataSet();
    else
        return std::make_unique<T>();
}

// Nothing when something is wrong with the record.
template <class T>
std::optional<Loaded> load(const Bytes& bytes) {
    const auto object = newObject<T>();
    const test::Outcome outcome = test::load(*object, bytes);
    if (outcome.result != 1 || !outcome.messages.empty() || outcome.fault) return std::nullopt;
    Loaded loaded{test::stored(*object), {}};
    icawave::cli::forEachField(*object, [&](const std::string& key, const icawave::cli::FieldValue& value) {
        std::ostringstream text;
        icawave::cli::JsonWriter json(text);
        json.beginObject();
        writeField(json, key, value, icawave::cli::Values::flat);
        loaded.fields[key] = text.str();
    });
    return loaded;
}

struct Kind {
    std::string name;
    std::optional<Loaded> (*load)(const Bytes&);
};

TEST(Fields, TellEveryChangeThatARecordKeeps) {
    constexpr std::uintmax_t largest = 2500; // bytes, so that all goes fast
    const Kind kinds[] = {{"package", load<CFaceIcazq>},
                          {"dataset", load<CTrialIcaDatazq>},
                          {"channel", load<CChnlIcaDatazq>},
                          {"item", load<CIcProjectData>},
                          {"param", load<CIcaParamzq>}};
    for (const auto& file : std::filesystem::directory_iterator(ICAWAVE_GOLDEN)) {
        const std::string name = file.path().filename().string();
        if (file.path().extension() != ".bin" || file.file_size() > largest) continue;
        const Kind* kind = std::find_if(std::begin(kinds), std::end(kinds),
                                        [&](const Kind& k) { return name.starts_with(k.name + "_"); });
        if (kind == std::end(kinds)) continue;
        const Bytes bytes = test::contents(file.path());
        const std::optional<Loaded> original = kind->load(bytes);
        if (!original) continue;
        int told = 0;
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            Bytes changed = bytes;
            changed[at] ^= std::byte{1};
            const std::optional<Loaded> other = kind->load(changed);
            if (!other || other->record == original->record) continue;
            ASSERT_TRUE(differ(*other, *original)) << name << ", byte " << at;
            ++told;
        }
        EXPECT_GT(told, 10) << name;
    }
}

} // namespace
