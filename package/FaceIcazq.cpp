// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/FaceIca.h>

#include <icawave/IcaWaveManager.h>

#include "platform/Alloc.h"

#include <memory>

CFaceIcazq::CFaceIcazq() = default;

CFaceIcazq::~CFaceIcazq() {
    delete m_dlgIcaManager; // while there still is a package
    m_dlgIcaManager = nullptr;
}

std::int32_t CFaceIcazq::sumPkg(const CTrialIcaDatazq& source, std::int32_t id) {
    if (count() < 1) return 0;
    CTrialIcaDatazq* target = entry(clamped(id == -1 ? m_curntIcaDataSetID : id));
    return target ? target->sumDatSetSns(source) : 0;
}

std::int32_t CFaceIcazq::sumFace(const CTrialIcaDatazq&) {
    return 0;
}

std::int32_t CFaceIcazq::showDlgIcaManager(CWnd* parent) {
    icawave::withMemoryException([&] {
        if (!m_dlgIcaManager) {
            auto dialog = std::make_unique<CDlgIcaWaveManager>();
            dialog->Create(CDlgIcaWaveManager::templateNumber, parent);
            m_dlgIcaManager = dialog.release();
        }
        m_dlgIcaManager->m_listIcaWave.m_facePkg = this;
        m_dlgIcaManager->m_facePkgFile = this;
        m_dlgIcaManager->ShowWindow(1);
        m_dlgIcaManager->m_listIcaWave.refreshRows();
        m_dlgIcaManager->UpdateData(false);
    });
    return 1;
}
