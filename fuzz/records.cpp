// SPDX-License-Identifier: BSD-3-Clause
// Every record's loader on any bytes; what is accepted is stored, loaded and stored again as the same bytes.
#include "fuzz/Fuzz.h"

using fuzz::Bytes;

namespace {

template <class T>
void roundTrip(T& object, T& other, const Bytes& bytes) {
    const bool sound = fuzz::load(object, bytes);
    const Bytes stored = fuzz::store(object);
    const bool again = fuzz::load(other, stored);
    fuzz::require(again || !sound, "what was accepted is accepted again");
    if (sound) fuzz::require(fuzz::store(other) == stored, "what was accepted is kept bit for bit");
}

template <class T>
void roundTrip(const Bytes& bytes) {
    T object, other;
    roundTrip(object, other, bytes);
}

} // namespace

// All loaders see the same bytes; those of another record refuse them at the keyword.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes bytes(data, size);
    roundTrip<CMMatrix2Dzq>(bytes);
    roundTrip<CIcProjectData>(bytes);
    roundTrip<CChnlIcaDatazq>(bytes);
    roundTrip<CIcaParamzq>(bytes);
    const icawave::DataSetOwner object = icawave::newDataSet(), other = icawave::newDataSet();
    roundTrip(*object, *other, bytes);
    roundTrip<CFaceIcazq>(bytes);
    return 0;
}
