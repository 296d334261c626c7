// SPDX-License-Identifier: BSD-3-Clause
// Single data sets in files that the user chooses: one record from the first byte to the last.
#include <icawave/TrialIcaData.h>

#include <icawave/platform/Dialog.h>
#include <icawave/platform/Message.h>

#include "platform/MemoryAhead.h"

namespace {

constexpr const char16_t* filter = u"ICA Data(*.icd)|*.icd|All Files(*.*)|*.*||";
constexpr std::int32_t bufferSize = 4096;

CString writtenPath(const CString& chosen) {
    return chosen.Find(u".icd") < 0 ? chosen + u".icd" : chosen;
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
    CFile file;
    if (!file.Open(writtenPath(dialog.GetPathName()), CFile::modeCreate | CFile::modeWrite)) return 0;
    CArchive archive(&file, CArchive::store, bufferSize);
    serialize(archive);
    archive.Close();
    file.Flush();
    file.Close();
    return 1;
}
