// MAT-files, read with suspicion: whatever is not of the kind that is asked for is a Failure that names it.
#pragma once

#include <icawave/platform/String.h>

#include <Eigen/Core>
#include <matio.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace icawave::cli {

// A variable or a field, perhaps missing. Valid as long as its MatFile.
class MatValue {
public:
    MatValue(const std::string& file, const std::string& name, matvar_t* variable)
        : m_file(file), m_name(name), m_variable(variable) {}

    bool isMissing() const { return !m_variable; }
    bool isEmpty() const { return size() == 0; } // missing too
    bool isText() const { return m_variable && m_variable->class_type == MAT_C_CHAR; }
    bool isStruct() const { return m_variable && m_variable->class_type == MAT_C_STRUCT; }
    MatValue field(const char* name) const; // of a single structure

    std::int64_t size() const; // elements
    CString text() const;      // a row of characters; the empty text when there is none

    // Real numbers only.
    double scalar() const;            // finite
    std::int64_t wholeNumber() const; // 1 ... 2^31 - 1
    Eigen::MatrixXd matrix() const;   // all finite, not empty
    // Element `first` and those behind it, the first index running fastest, into `to`, `count` of them.
    void copyValues(std::int64_t first, std::int64_t count, double* to) const;
    // A Failure unless the sizes are these; ones at the end may be left out.
    void requireSizes(const std::vector<std::int64_t>& sizes) const;

    [[noreturn]] void fail(const std::string& what) const;

private:
    void requireReal() const;

    std::string m_file;
    std::string m_name;
    matvar_t* m_variable;
};

class MatFile {
public:
    explicit MatFile(const std::string& path);

    MatValue variable(const char* name); // missing when the file has none of that name

private:
    struct Close {
        void operator()(mat_t* file) const { Mat_Close(file); }
    };
    struct Free {
        void operator()(matvar_t* variable) const { Mat_VarFree(variable); }
    };

    std::string m_path;
    std::unique_ptr<mat_t, Close> m_file;
    std::vector<std::unique_ptr<matvar_t, Free>> m_variables;
};

} // namespace icawave::cli
