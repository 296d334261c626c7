// icawave check, dump and copy: whole records.
#include "apps/cli/Commands.h"
#include "apps/cli/Dump.h"
#include "apps/cli/Load.h"
#include "apps/cli/Save.h"
#include "apps/cli/Text.h"

#include <iostream>
#include <streambuf>

namespace icawave::cli {

namespace {

// Lets a stream write into a file, which gathers small pieces itself.
class FileBuffer : public std::streambuf {
public:
    explicit FileBuffer(CFile& file) : m_file(file) {}

private:
    int_type overflow(int_type c) override {
        const char byte = traits_type::to_char_type(c);
        m_file.Write(&byte, 1);
        return traits_type::not_eof(c);
    }
    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        m_file.Write(bytes, count);
        return count;
    }

    CFile& m_file;
};

void writeJson(std::ostream& out, Input& input) {
    JsonWriter json(out);
    json.beginObject();
    json.key("kind");
    json.value(CString(input.isPackage() ? "package" : "dataset"));
    json.key("object");
    json.beginObject();
    if (input.isPackage())
        dump(json, input.package());
    else
        dump(json, input.dataSet(0));
    json.endObject();
    json.endObject();
    out << '\n';
}

} // namespace

void check(const std::string& file) {
    Input input(file);
    input.requireSound();
    std::cout << printable(file) << ": ";
    if (input.isPackage())
        std::cout << "package, " << counted(input.count(), "data set");
    else
        std::cout << "data set";
    std::cout << ", " << counted(input.bytes(), "byte") << ", no fault found";
    if (input.bytesBehind() > 0)
        std::cout << "; " << counted(input.bytesBehind(), "byte") << " behind the record";
    std::cout << '\n';
}

void dumpFile(const std::string& file, const std::string& target) {
    Input input(file);
    if (target.empty()) {
        writeJson(std::cout, input);
    } else {
        save(target, [&](CFile& out) {
            FileBuffer buffer(out);
            std::ostream stream(&buffer);
            stream.exceptions(std::ios::badbit); // what the file raises comes through
            writeJson(stream, input);
        });
    }
    input.requireSound();
}

void copy(const std::string& source, const std::string& target) {
    Input input(source);
    input.requireSound();
    save(target, [&](CFile& out) {
        if (input.isPackage())
            store(out, input.package());
        else
            store(out, input.dataSet(0));
    });
}

} // namespace icawave::cli
