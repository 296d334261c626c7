// SPDX-License-Identifier: BSD-3-Clause
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

// Of a matrix, row by row.
struct MatrixValues {
    std::span<const double> values;
    std::int64_t columns;

    std::size_t size() const { return values.size(); }
    double operator[](std::size_t k) const { return values[k]; }
    std::span<const double> row(std::size_t first) const { return values.subspan(first, columns); }
};

// Absent, a number (truth values are 0 or 1, nested objects 1, arrays of objects their count), a text, or
// values that the object keeps.
using FieldValue = std::variant<std::monostate, std::int64_t, double, CString, std::vector<std::int64_t>,
                                std::span<const double>, MatrixValues>;
using VisitField = std::function<void(const std::string& key, const FieldValue& value)>;

void forEachField(const CFaceIca& package, const VisitField& visit); // with its data sets
void forEachField(const CTrialIcaData& dataSet, const VisitField& visit);
void forEachField(const CChnlIcaData& channel, const VisitField& visit);
void forEachField(const CIcProjectData& item, const VisitField& visit);
void forEachField(CIcaParam& parameters, const VisitField& visit);

// How to write many values: those of a matrix like others, or as an array of its rows, or KEY.count instead
// of either.
enum class Values { flat, byRows, count };
// Doubles as their 64-bit patterns.
void writeField(JsonWriter& json, const std::string& key, const FieldValue& value, Values values);

// About as many bytes as writeField writes.
std::int64_t writtenBytes(const std::string& key, const FieldValue& value, Values values);

// Writes the fields into the JSON object that is open.
template <class T>
void dump(JsonWriter& json, T& object, Values values = Values::flat) {
    forEachField(object, [&](const std::string& key, const FieldValue& value) {
        writeField(json, key, value, values);
    });
}

} // namespace icawave::cli
