// Reading a package or a data set file, whatever its state.
#pragma once

#include <icawave/icawave.h>

#include <cstdint>
#include <optional>
#include <string>

namespace icawave::cli {

// The library's messages while it lives. A damaged package can bring one for each of its data sets: the first
// text and the count are kept.
class Messages : public UiFrontEnd {
public:
    Messages() : m_previous(setUiFrontEnd(this)) {}
    ~Messages() override { setUiFrontEnd(m_previous); }

    void messageBox(const CString& text) override {
        if (count++ == 0) first = text;
    }

    CString first;
    std::int64_t count = 0;

private:
    UiFrontEnd* m_previous;
};

// A file and all that could be loaded from it.
class Input {
public:
    explicit Input(const std::string& path); // a Failure for what is neither kind of file

    bool isPackage() const { return m_isPackage; }
    CFaceIcazq& package() { return m_package; } // of a data set file: a list of the one, which is current
    std::int32_t count() { return static_cast<std::int32_t>(m_package.getTotalIca()); }
    // The index that the user gave, 0 without one for a data set file; a Failure when there is no such data
    // set.
    std::int32_t checked(std::optional<std::int32_t> index);
    CTrialIcaDatazq& dataSet(std::int32_t index) { return *m_package.getIcaData(index); }

    std::int64_t bytes() const { return m_bytes; }           // of the whole file
    std::int64_t bytesBehind() const { return m_following; } // those behind the record
    void requireSound() const;                               // a Failure when loading met a fault

    void saveAs(const std::string& path); // as the record that it was loaded from

private:
    void load(CArchive& archive);

    std::string m_path;
    bool m_isPackage = false;
    CFaceIcazq m_package;
    std::int64_t m_bytes = 0;
    std::int64_t m_following = 0;
    std::optional<std::string> m_fault; // the first, where it lies and how many follow
};

} // namespace icawave::cli
