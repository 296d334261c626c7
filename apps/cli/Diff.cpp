// SPDX-License-Identifier: BSD-3-Clause
// icawave diff: which fields and values of two files differ, bit for bit.
#include "apps/cli/Command.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Fields.h"
#include "apps/cli/Load.h"
#include "apps/cli/Text.h"

#include <algorithm>
#include <bit>
#include <iostream>
#include <unordered_map>

namespace icawave::cli {

namespace {

std::string bitsOf(double value) {
    return CString::Format("%016I64x", std::bit_cast<std::uint64_t>(value)).utf8();
}

bool same(std::int64_t a, std::int64_t b) {
    return a == b;
}
bool same(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}
bool same(const CString& a, const CString& b) {
    return a == b;
}

struct Text {
    std::string operator()(std::monostate) const { return "nothing"; }
    std::string operator()(std::int64_t value) const { return std::to_string(value); }
    std::string operator()(double value) const { return number(value); }
    std::string operator()(const CString& value) const { return '"' + printable(value) + '"'; }
    std::string operator()(const auto& values) const { return counted(std::ssize(values), "value"); }
};

std::string bothTexts(const auto& a, const auto& b) {
    return Text{}(a) + " | " + Text{}(b);
}

// What two values that are not the same look like.
std::string difference(const auto& a, const auto& b) {
    return bothTexts(a, b);
}
std::string difference(double a, double b) {
    if (number(a) != number(b)) return bothTexts(a, b);
    return bothTexts(a, b) + " with the bits " + bitsOf(a) + " | " + bitsOf(b);
}

// Nothing for equal values.
struct Compare {
    std::optional<std::string> operator()(std::monostate, std::monostate) const { return std::nullopt; }
    template <class T>
    std::optional<std::string> operator()(const T& a, const T& b) const {
        if constexpr (requires { same(a, b); })
            return same(a, b) ? std::nullopt : std::optional(difference(a, b));
        else
            return compareValues(a, b);
    }
    std::optional<std::string> operator()(const auto& a, const auto& b) const { return bothTexts(a, b); }

private:
    static std::string place(const auto&, std::size_t k) { return "[" + std::to_string(k) + "]"; }
    static std::string place(const MatrixValues& matrix, std::size_t k) {
        const std::size_t columns = matrix.columns;
        return "row " + std::to_string(k / columns) + " column " + std::to_string(k % columns);
    }
    static std::optional<std::string> compareValues(const auto& a, const auto& b) {
        if (a.size() != b.size()) return bothTexts(a, b);
        std::size_t differing = 0, first = 0;
        for (std::size_t k = a.size(); k-- > 0;) {
            if (same(a[k], b[k])) continue;
            ++differing;
            first = k;
        }
        if (differing == 0) return std::nullopt;
        return std::to_string(differing) + " of " + Text{}(a) + ", first " + place(a, first) + ": " +
               difference(a[first], b[first]);
    }
};

class Differences {
public:
    std::int64_t count() const { return m_count; }

    // Skips fields that only one of the two has: they differ in a count, or an object's presence, that both
    // have.
    template <class T>
    void compare(const std::string& prefix, T& a, T& b) {
        std::unordered_map<std::string, FieldValue> fields;
        forEachField(a, [&](const std::string& key, const FieldValue& value) { fields.emplace(key, value); });
        forEachField(b, [&](const std::string& key, const FieldValue& value) {
            const auto found = fields.find(key);
            if (found != fields.end()) compareField(prefix + key, found->second, value);
        });
    }

    void compareField(const std::string& key, const FieldValue& a, const FieldValue& b) {
        if (const auto text = std::visit(Compare{}, a, b)) {
            ++m_count;
            std::cout << key << ": " << *text << '\n';
        }
    }

private:
    std::int64_t m_count = 0;
};

struct Options {
    std::string first, second;
};

void diff(const Options& options) {
    const auto& [first, second] = options;
    Input a(first), b(second);
    a.requireSound();
    b.requireSound();
    if (a.isPackage() != b.isPackage()) throw Failure(second, "is not the same kind of file as " + first);
    Differences differences;
    if (a.isPackage()) {
        CFaceIcazq packages[2]; // without their data sets, which are compared one by one
        setInfo(packages[0], a.info());
        setInfo(packages[1], b.info());
        differences.compare("", packages[0], packages[1]);
        differences.compareField("data sets", std::int64_t{a.count()}, std::int64_t{b.count()});
    }
    for (std::int32_t k = 0; k < std::min(a.count(), b.count()); ++k) {
        const std::string prefix = a.isPackage() ? "m_icaDataArray[" + std::to_string(k) + "]." : "";
        differences.compare(prefix, a.dataSet(k), b.dataSet(k));
    }
    if (differences.count() > 0)
        throw Failure(second, "differs from " + first + " in " + counted(differences.count(), "field"),
                      finding);
}

} // namespace

void addDiff(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = addCommand(
        app, "diff", "Tell which fields and values of two files differ, bit for bit", options, diff);
    addFile(command, options->first, "A");
    addFile(command, options->second, "B", "the file to compare it with");
}

} // namespace icawave::cli
