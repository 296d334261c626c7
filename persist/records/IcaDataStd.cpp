// SPDX-License-Identifier: BSD-3-Clause
// Single data sets in files that the user chooses: one record from the first byte to the last.
#include <icawave/TrialIcaData.h>

#include <icawave/platform/AtomicFile.h>
#include <icawave/platform/Dialog.h>
#include <icawave/platform/Message.h>

#include "platform/MemoryAhead.h"

namespace {

constexpr const char16_t* filter = u"ICA Data(*.icd)|*.icd|All Files(*.*)|*.*||";
constexpr std::int32_t bufferSize = 4096;

CString writtenPath(const CString& chosen) {
    return chosen.Find(u".icd") < 0 ? chosen + u".icd" : chosen;
}

// A file that takes the place of the one at the path once it is whole, so that a full disk does not cost
// that. Null where somebody could tell the difference.
std::unique_ptr<icawave::AtomicFile> replacementOf(const CString& path) {
    try {
        return icawave::AtomicFile::unnoticed(icawave::pathOf(path));
    } catch (const icawave::FileError&) { // it is no path
        return nullptr;
    }
}

void store(CTrialIcaData09File& dataSet, CFile& file) {
    CArchive archive(&file, CArchive::store, bufferSize);
    dataSet.serialize(archive);
    archive.Close();
    file.Flush();
}

} // namespace

// The record's result is not consulted: it has shown what is wrong.
std::int32_t CTrialIcaData09File::openicaDataStd() {
    using icawave::FileDialogRequest;
    const CWaitCursor wait;
    CFileDialog dialog(true, u"", FileDialogRequest::pathMustExist | FileDialogRequest::fileMustExist,
                       filter);
    if (!dialog.DoModal()) return 0;
    CFile file;
    if (!file.Open(dialog.GetPathName(), CFile::modeRead)) return 0;
    icawave::prepareMemory(file.GetLength());
    CArchive archive(&file, CArchive::load, bufferSize);
    serialize(archive);
    archive.Close();
    file.Close();
    return 1;
}

std::int32_t CTrialIcaData09File::saveIcaDataStd() {
    CFileDialog dialog(false, u"ICA DAta.icd", icawave::FileDialogRequest::overwritePrompt, filter,
                       writtenPath);
    if (!dialog.DoModal()) return 0;
    const CString path = writtenPath(dialog.GetPathName());
    const std::unique_ptr<icawave::AtomicFile> replacement = replacementOf(path);
    if (!replacement) {
        CFile file;
        if (!file.Open(path, CFile::modeCreate | CFile::modeWrite)) return 0;
        store(*this, file);
        file.Close();
        return 1;
    }
    store(*this, *replacement);
    try {
        replacement->commit();
    } catch (const icawave::FileError&) { // as when the file itself cannot be written
        AfxThrowFileException(CFileException::hardIO, path);
    }
    return 1;
}
