// SPDX-License-Identifier: BSD-3-Clause
// The list of fields that dump and diff share misses nothing that a record stores.
#include "tests/Support.h"

#include "apps/cli/Fields.h"

#include <algorithm>
#include <sstream>

using test::Bytes;

namespace {

struct Loaded {
    Bytes record; // stored again
    std::string fields;
};

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
    std::ostringstream fields;
    icawave::cli::JsonWriter json(fields);
    json.beginObject();
    icawave::cli::dump(json, *object);
    json.endObject();
    return Loaded{test::stored(*object), fields.str()};
}

// The record with one byte changed, or with two neighbouring 64-bit counts exchanged, which keeps the number
// of a matrix's values.
std::vector<Bytes> changed(const Bytes& bytes, std::size_t at) {
    std::vector<Bytes> all(3, bytes);
    all[0][at] ^= std::byte{0x01};
    all[1][at] ^= std::byte{0x80};
    if (at + 16 <= bytes.size()) std::swap_ranges(&all[2][at], &all[2][at] + 8, &all[2][at] + 8);
    return all;
}

struct Kind {
    std::string name;
    std::optional<Loaded> (*load)(const Bytes&);
};

TEST(Fields, TellEveryChangeThatARecordKeeps) {
    constexpr std::uintmax_t largest = 6000; // bytes, so that all goes fast
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
            for (const Bytes& each : changed(bytes, at)) {
                const std::optional<Loaded> other = kind->load(each);
                if (!other || other->record == original->record) continue;
                ASSERT_NE(other->fields, original->fields) << name << ", byte " << at;
                ++told;
            }
        }
        EXPECT_GT(told, 20) << name;
    }
}

} // namespace
