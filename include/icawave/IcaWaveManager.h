// SPDX-License-Identifier: BSD-3-Clause
// The "ICA Wave Manager": a modeless dialog in which a user lists the data sets of a package, makes one
// current, shows, hides, normalises, deletes, saves and opens them. CFaceIcazq::showDlgIcaManager makes and
// shows it; the package owns it.
#pragma once

#include <icawave/Export.h>
#include <icawave/platform/Window.h>

#include <cstdint>
#include <utility>
#include <vector>

class CFaceIcazq;
class CTrialIcaDatazq;

// The list in the dialog: one row for each data set, found again by the row number that the data set keeps as
// m_listID. Rows are never edited: every change rebuilds them all.
class ICAWAVE_EXPORT CListIcaWaveDataset : public CListCtrl {
public:
    static const CRuntimeClass classCListIcaWaveDataset;
    const CRuntimeClass* GetRuntimeClass() const override;
    CListIcaWaveDataset() = default;
    ~CListIcaWaveDataset() override; // releases the image lists, the small one first

protected:
    const icawave::MessageMap* GetMessageMap() const override;

public:
    std::int32_t initListCtrl(); // image lists, columns, style; always 1
    std::int32_t initColumns();  // replaces all columns by the eight of a data set; always 1
    // Inserts the row of data set `index` at that position and fills it. -1 stands for the current data set,
    // for which there is no row position: 0. A selected channel of another size than the data set's shows "Ic
    // data points error!" and corrects the sample count. 0 without a package, outside the list and for a null
    // entry.
    std::int32_t addIcaDataRow(std::int32_t index);
    std::int32_t refreshRows(); // rebuilds all rows; 0 without a package (there are no rows then)
    // Shows or hides the data sets of the selected rows, then refreshRows; 0 without a package.
    std::int32_t setShow4Selected(bool show);

    CFaceIcazq* m_facePkg = nullptr;         // not owned
    CImageList* m_imageListNormal = nullptr; // 32 x 32, owned
    CImageList* m_imageListSmall = nullptr;  // 16 x 16, owned
};

class ICAWAVE_EXPORT CDlgIcaWaveManager : public CDialogEx {
public:
    static constexpr std::int32_t templateNumber = 4449;
    static const CRuntimeClass classCDlgIcaWaveManager;
    const CRuntimeClass* GetRuntimeClass() const override;
    CDlgIcaWaveManager() = default;
    explicit CDlgIcaWaveManager(CWnd*) {} // the parent counts when the window is created
    // Destroys the data sets that "Source Delete" took out of the package and that nothing has destroyed
    // since. One that a package lists again, whichever, is that package's: setIcaData tells the dialog, and
    // its own package is asked.
    ~CDlgIcaWaveManager() override;

protected:
    const icawave::MessageMap* GetMessageMap() const override;
    void DoDataExchange(CDataExchange* exchange) override;

public:
    bool OnInitDialog() override;

    // Item 4454; its package serves all commands but those of the File menu.
    CListIcaWaveDataset m_listIcaWave;
    CFaceIcazq* m_facePkgFile = nullptr; // the package of the File menu, not owned

private:
    struct Handlers;
    void onSize(std::int32_t cx, std::int32_t cy);
    void onContextMenu(const CWnd* window, std::int32_t x, std::int32_t y);
    void onSourceDelete();
    std::intptr_t onItemChanged(const icawave::ItemNotification& changed);
    void onDelete();
    void onRefresh();
    void onNorm();
    void onFile(std::int32_t (CTrialIcaDatazq::*operation)());
    CTrialIcaDatazq* current() const; // of the list's package; null when there is none
    bool lists(const CTrialIcaDatazq* dataSet) const;

    std::vector<std::pair<std::int32_t, std::int32_t>> m_dataSets; // list id and index, during act m_act
    std::uint64_t m_act = 0;
};
