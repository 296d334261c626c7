#include "apps/cli/Load.h"

#include "apps/cli/Progress.h"
#include "apps/cli/Save.h"
#include "apps/cli/Text.h"
#include "package/DataSetOwner.h"

#include <array>
#include <cerrno>

namespace icawave::cli {

namespace {

class InputFile : public CFile {
public:
    explicit InputFile(const std::string& path) {
        errno = 0;
        if (!Open(path, modeRead)) throw Failure(path, errno ? systemError(errno) : "is a directory");
        m_progress.emplace("reading " + path, GetLength());
    }

    std::int64_t Read(void* buffer, std::int64_t count) override {
        m_progress->update(GetPosition());
        return CFile::Read(buffer, count);
    }

private:
    std::optional<Progress> m_progress;
};

// The text that the file begins with, if it is short enough for a keyword in any of its encodings.
CString firstText(InputFile& file) {
    std::array<char, 64> head{};
    const std::int64_t size = file.Read(head.data(), head.size());
    file.Seek(0, CFile::begin);
    CMemFile start(head.data(), static_cast<std::size_t>(size));
    CArchive archive(&start, CArchive::load);
    CString text;
    try {
        archive >> text;
    } catch (const CException&) { // no text, or a longer one
    }
    return text;
}

std::string describe(const std::optional<ArchiveFault>& fault, const CString& text, std::int64_t offset,
                     std::int64_t more) {
    std::string line = fault ? fault->text : text.utf8();
    line += " at byte " + std::to_string(fault ? fault->offset : offset);
    if (fault && !fault->record.empty()) line += " in " + fault->record;
    if (more > 0) line += "; " + counted(more, "more fault");
    return line;
}

} // namespace

Input::Input(const std::string& path) : m_path(path) {
    try {
        InputFile file(path);
        const CString keyword = firstText(file);
        m_isPackage = keyword == "FACEICA";
        if (!m_isPackage && keyword != "TRIALICADATA")
            throw Failure(path, "neither a package nor a data set file");
        m_bytes = file.GetLength();
        CArchive archive(&file, CArchive::load);
        load(archive);
        m_following = archive.remainingBytes();
    } catch (const CException& e) {
        throw Failure(path, e.what());
    }
}

void Input::load(CArchive& archive) {
    Messages messages;
    std::int32_t result = 0;
    try {
        if (m_isPackage) {
            result = m_package.serialize(archive);
        } else {
            DataSetOwner dataSet = newDataSet();
            if (!dataSet) AfxThrowMemoryException();
            m_package.setIcaData(dataSet.get(), 0);
            result = dataSet.release()->serialize(archive);
        }
    } catch (const CException& e) {
        messages.messageBox(e.what());
        result = 0;
    }
    if (messages.count == 0 && result == 0) messages.messageBox("the record could not be read");
    if (messages.count == 0 && !archive.firstFault()) return;
    m_fault = describe(archive.firstFault(), messages.first, archive.offset(), messages.count - 1);
}

std::int32_t Input::checked(std::optional<std::int32_t> index) {
    if (!index && m_isPackage) throw Failure(m_path, "a package needs -d and the index of a data set");
    const std::int32_t k = index.value_or(0);
    if (k >= 0 && k < count()) return k;
    throw Failure(m_path, "there is no data set " + std::to_string(k) + "; the file holds " +
                              std::to_string(count()) + ", counted from 0");
}

void Input::saveAs(const std::string& path) {
    save(path, [this](CFile& out) {
        if (m_isPackage)
            store(out, m_package);
        else
            store(out, dataSet(0));
    });
}

void Input::requireSound() const {
    if (m_fault) throw Failure(m_path, *m_fault);
}

} // namespace icawave::cli
