// SPDX-License-Identifier: BSD-3-Clause
// golden_dump KIND FILE [--preload FILE] [--resave FILE]: loads a record of that kind and prints what came of
// it as one JSON object: messages, result, exception, and every field of the object afterwards.
#include "apps/cli/Fields.h"

#include <icawave/icawave.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace {

struct Arguments {
    std::string kind, file, preload, resave;
};

std::vector<char> readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::string exceptionName(const CException& e) {
    if (const auto* archive = dynamic_cast<const CArchiveException*>(&e)) {
        const std::map<std::int32_t, std::string> names = {{CArchiveException::endOfFile, "end-of-file"},
                                                           {CArchiveException::readOnly, "read-only"},
                                                           {CArchiveException::writeOnly, "write-only"}};
        const auto found = names.find(archive->m_cause);
        return found == names.end() ? "other" : found->second;
    }
    if (dynamic_cast<const CMemoryException*>(&e)) return "memory";
    if (dynamic_cast<const COleException*>(&e)) return "ole";
    if (dynamic_cast<const CInvalidArgException*>(&e)) return "invalid-argument";
    return "other";
}

template <class T>
int load(T& object, const Arguments& arguments) {
    const auto from = [&](const std::string& path) {
        const std::vector<char> bytes = readFile(path);
        CMemFile file(bytes.data(), bytes.size());
        CArchive archive(&file, CArchive::load);
        return object.serialize(archive);
    };
    icawave::ScriptedFrontEnd ui;
    if (!arguments.preload.empty()) from(arguments.preload);
    ui.messages.clear();
    std::optional<std::int32_t> result;
    std::optional<std::string> exception;
    try {
        result = from(arguments.file);
    } catch (const CException& e) {
        exception = exceptionName(e);
    }

    icawave::cli::JsonWriter json(std::cout);
    json.beginObject();
    json.key("messages");
    json.beginArray();
    for (const CString& message : ui.messages) json.value(message);
    json.endArray();
    json.key("result");
    result ? json.value(*result) : json.null();
    json.key("exception");
    exception ? json.value(CString(*exception)) : json.null();
    json.key("object");
    json.beginObject();
    icawave::cli::dump(json, object);
    json.endObject();
    json.endObject();
    std::cout << '\n';

    if (!arguments.resave.empty()) {
        CFile file;
        if (!file.Open(arguments.resave, CFile::modeCreate | CFile::modeWrite)) return 1;
        CArchive archive(&file, CArchive::store);
        object.serialize(archive);
        archive.Close();
        file.Close();
    }
    return 0;
}

int run(const Arguments& arguments) {
    if (arguments.kind == "package") {
        CFaceIcazq package;
        return load(package, arguments);
    }
    if (arguments.kind == "dataset") {
        CFaceIcazq owner; // destroys it
        owner.setIcaData(new CTrialIcaDatazq, 0);
        return load(*owner.getIcaData(0), arguments);
    }
    if (arguments.kind == "channel") {
        CChnlIcaDatazq channel;
        return load(channel, arguments);
    }
    if (arguments.kind == "item") {
        CIcProjectData item;
        return load(item, arguments);
    }
    if (arguments.kind == "param") {
        CIcaParamzq parameters;
        return load(parameters, arguments);
    }
    std::cerr << "unknown kind " << arguments.kind << '\n';
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() < 2) {
        std::cerr << "usage: golden_dump KIND FILE [--preload FILE] [--resave FILE]\n";
        return 2;
    }
    Arguments arguments{words[0], words[1], {}, {}};
    for (std::size_t k = 2; k + 1 < words.size(); k += 2)
        (words[k] == "--preload" ? arguments.preload : arguments.resave) = words[k + 1];
    try {
        return run(arguments);
    } catch (const std::exception& e) {
        std::cerr << e.what() << '\n';
        return 1;
    }
}
