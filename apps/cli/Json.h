// SPDX-License-Identifier: BSD-3-Clause
// Writes JSON as it goes, so that a large package costs no second copy in memory. Texts are UTF-16 taken unit
// by unit: printable ASCII stands for itself, every other unit is \uXXXX, so that lone surrogates and zero
// units survive.
#pragma once

#include <icawave/platform/String.h>

#include <concepts>
#include <cstdint>
#include <ostream>
#include <string_view>
#include <vector>

namespace icawave::cli {

class JsonWriter {
public:
    explicit JsonWriter(std::ostream& out, const char* separator = ",\n")
        : m_out(out), m_separator(separator) {}

    void beginObject() { open('{'); }
    void endObject() { close('}'); }
    void beginArray() { open('['); }
    void endArray() { close(']'); }
    void key(std::string_view name); // inside an object, before each value
    void field(std::string_view name, const auto& fieldValue) {
        key(name);
        value(fieldValue);
    }

    void null() { raw("null"); }
    void value(bool value) { raw(value ? "true" : "false"); }
    void value(std::integral auto value) { integer(static_cast<std::int64_t>(value)); }
    void value(double value); // the shortest digits that give the same double; null for NaN and infinities
    void value(const CString& text);
    void bits(double value); // the 64-bit pattern as a string of 16 hexadecimal digits

private:
    void integer(std::int64_t value);
    void open(char bracket);
    void close(char bracket);
    void separate(); // the comma before every value but the first
    void raw(std::string_view text);

    std::ostream& m_out;
    const char* m_separator;         // between values
    std::vector<bool> m_first{true}; // per nesting level: nothing written yet
    bool m_afterKey = false;
};

} // namespace icawave::cli
