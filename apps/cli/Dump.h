// Every field of an object as JSON, complete and exact: one flat list of keys (field names joined by '.',
// elements as [k]), integers with all digits, doubles as their 64-bit patterns.
#pragma once

#include "apps/cli/Json.h"

#include <icawave/icawave.h>

namespace icawave::cli {

// Each writes its keys into the object that is open.
void dump(JsonWriter& json, const CFaceIca& package);
void dump(JsonWriter& json, const CTrialIcaData& dataSet);
void dump(JsonWriter& json, const CChnlIcaData& channel);
void dump(JsonWriter& json, const CIcProjectData& item);
void dump(JsonWriter& json, CIcaParam& parameters);

} // namespace icawave::cli
