// Every field of an object, complete and exact, as one flat list of keys: field names joined by '.', elements
// as [k].
#pragma once

#include "apps/cli/Json.h"

#include <icawave/icawave.h>

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace icawave::cli {

// Absent, a number (truth values are 0 or 1, nested objects 1, arrays of objects their count), a text, or
// values that the object keeps.
using FieldValue = std::variant<std::monostate, std::int64_t, double, CString, std::vector<std::int64_t>,
                                std::span<const double>>;
using VisitField = std::function<void(const std::string& key, const FieldValue& value)>;

void forEachField(const CFaceIca& package, const VisitField& visit); // with its data sets
void forEachField(const CTrialIcaData& dataSet, const VisitField& visit);
void forEachField(const CChnlIcaData& channel, const VisitField& visit);
void forEachField(const CIcProjectData& item, const VisitField& visit);
void forEachField(CIcaParam& parameters, const VisitField& visit);

void writeField(JsonWriter& json, const FieldValue& value); // doubles as their 64-bit patterns

// Writes the fields into the JSON object that is open.
template <class T>
void dump(JsonWriter& json, T& object) {
    forEachField(object, [&json](const std::string& key, const FieldValue& value) {
        json.key(key);
        writeField(json, value);
    });
}

} // namespace icawave::cli
