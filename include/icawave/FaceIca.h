// SPDX-License-Identifier: BSD-3-Clause
// The package: the object that a host holds for each analysis view. It owns an ordered list of data sets, one
// of them current.
//
//     CFaceIcazq package;
//     CTrialIcaDatazq* trial = package.checkInitIca4ID(32, 384, 0, true);    // the package owns it
//     trial->addIcaData(32, 32, 384, unmixingRows, inverseRows, activationRows);
//     package.setCurrentIca(0);
//
//     CFile file;
//     if (file.Open("trials.icpkg", CFile::modeCreate | CFile::modeWrite)) {
//         CArchive archive(&file, CArchive::store);
//         package.serialize(archive);
//         archive.Close();
//         file.Close();
//     }
//
// Classes: CFaceIca (the list) -> CFaceIca02Prcs (processing) -> CFaceIca08Show (display) -> CFaceIca09File
// (record) -> CFaceIcazq, the one that a host creates. All fields but the manager dialog live in the first.
//
// Data sets are counted from 0 in 32 bits. An index that is "clamped" becomes 0 below 0 and the last one at
// or past the size, -1 when the list is empty. Entries of the list may be null and are skipped wherever it is
// walked. Results are 1 for success and 0 for failure where nothing else is said.
#pragma once

#include <icawave/Export.h>
#include <icawave/TrialIcaData.h>
#include <icawave/platform/Array.h>

#include <cstdint>

class CDlgIcaWaveManager;
class CWnd;

class ICAWAVE_EXPORT CFaceIca {
public:
    CFaceIca();
    ~CFaceIca(); // destroys the data sets
    CFaceIca(const CFaceIca&) = delete;
    CFaceIca& operator=(const CFaceIca&) = delete;

    std::int64_t getTotalIca();                 // entries of the list, null ones too
    std::int32_t getIcaListID(std::int32_t id); // id clamped

    // Three ways to make entry `id`, clamped, the current one. They differ in what they return and do for an
    // empty list:
    std::int32_t setCurrentIca(std::int32_t id);        // 1; an empty list: 0, and the current index is 0
    std::int32_t setCurntIcaDataSetID(std::int32_t id); // the new current index, -1 for an empty list
    std::int32_t setTrIcaID(std::int32_t id);           // always 0
    std::int32_t getCurntIcaDataSetID();                // the current index as it stands

    // Appends p, from new, which is the package's now; the new size.
    std::int32_t setIcaData(CTrialIcaDatazq* p, std::int32_t unused);
    // Entry id, -1 for the current one; null outside the list; stays the package's.
    CTrialIcaDatazq* getIcaData(std::int32_t id);
    // Brings the current index into the list and gives its entry; null for an empty list.
    CTrialIcaDatazq* getTrlIcaDataAny();
    std::int32_t hasCohTimeData4Show(); // 1 when the list has an entry

    CString getIcaDataPkgName();
    bool getIcaDataPkgShow();

    // The first data set with that m_listID, null when there is none.
    CTrialIcaDatazq* actIca2ListID(std::int32_t listID);
    // Destroys the first data set whose m_listID is listID and clamps the current index. 0 when there is
    // none. For -1 the number of the current index is looked for as a list id. So the current data set is
    // destroyed only while list ids are positions, as they are after the manager's rows were built: without a
    // manager, where every m_listID is 0, it is the first data set if the current index is 0, and else none;
    // after the list has changed it may be another data set. A data set with the list id -1 is never found.
    std::int32_t deleteIca(std::int32_t listID);

    // Appends a new data set named "NewIca" of nChnl >= 2 channels of nSample >= 1 samples (see
    // checkInitSnsIcaData for `zero`). 0 or null for other sizes and without memory; the list is then as
    // before. The current index stays.
    std::int32_t checkInitIcaPkg(std::int32_t nChnl, std::int64_t nSample, bool zero);
    CTrialIcaDatazq* checkInitIca4ID(std::int32_t nChnl, std::int64_t nSample, std::int32_t unused,
                                     bool zero);

    std::int32_t cleanIcaFace(); // destroys all data sets; the current index becomes -1; always 1

    std::int32_t m_pkgType = 0; // not interpreted
    CString m_pkgName;          // "SnsCohFace"
    CString m_pkgInfo;          // "Unknown"
    bool m_pkgShow = false;
    std::int32_t m_curntIcaDataSetID = 0;
    CPtrArray m_icaDataArray; // of CTrialIcaDatazq*, owned, from new; may hold null
    CPtrArray m_viewerArray;  // of CWnd*, not owned

protected:
    std::int32_t count() const; // the list's size, its low 32 bits
    std::int32_t clamped(std::int32_t id) const;
    CTrialIcaDatazq* entry(std::int32_t id) const; // CInvalidArgException outside the list
};

// Questions across data sets. An empty package and a null entry give 0 where nothing else is said. Operations
// on the current data set that do not say that they clamp the current index raise CInvalidArgException when
// it lies outside the list.
class ICAWAVE_EXPORT CFaceIca02Prcs : public CFaceIca {
public:
    std::int64_t getIcaTimSlcMax() const; // the largest sample count
    std::int64_t getMaxSample();          // the largest channel count, not sample count
    // getIcaDataRange of data set `id`, clamped, over its selection when `select` is set.
    std::int32_t getIcaDataRange(std::int32_t id, double& min, double& max, bool select);
    double getLatency4PtSecond(std::int64_t pt); // always 0.0
    // 1 when both ranges have the same length. Otherwise 0, with "The selected data range is wrong!" when
    // neither length is positive.
    std::int32_t matchAtiveControl(std::int64_t& begin1, std::int64_t& end1, std::int64_t& begin2,
                                   std::int64_t& end2);
    // 1 when both are samples of data set `id`, clamped.
    std::int32_t checkSelect4Class(std::int64_t begin, std::int64_t end, std::int32_t id);
    // accumulateTime1 of a data set of 2 samples or more.
    std::int32_t accumulateTrlCoh(CTrialIcaDatazq* dataSet);
    CString getLongestChannelName(); // always "None"; looks the current data set up
    // Always 0; writes nothing.
    std::int32_t getMeasurementResults(double& a, double& b, double& c, double& d, std::int32_t id);
    std::int32_t getNumShowSns(); // the current data set's channels that are shown; clamps the current index
    std::int32_t getNumSns();     // the current data set's channel count
    // Sets both filter parameters of the data sets first ... last that exist; always 1.
    std::int32_t setFilterParam(double param1, double param2, std::int64_t first, std::int64_t last);
};

// Viewers: windows of the host that show the package. The package repaints them when it is told to and never
// owns them: a host removes a viewer before it destroys the CWnd. One whose real window is gone is skipped.
class ICAWAVE_EXPORT CFaceIca08Show : public CFaceIca02Prcs {
public:
    std::int32_t hasIcaData4show(); // 1 when the current data set exists; never raises
    CMMatrix1Dzq* getIcaMtx4ID(
        std::int32_t id); // a new vector for data set `id`, clamped: empty, the caller's to delete; or null

    std::int32_t viewerAdd(CWnd* viewer); // the new number of viewers; 0 when it is one already
    // The number of viewers left, 0 for all; -1 when it was none.
    std::int32_t viewerRemove(CWnd* viewer, bool all);
    // Invalidates the whole client area of every visible viewer (all: returns the number of viewers, hidden
    // ones too) or of one, visible or not (returns 1; 0 for null). A viewer that is not registered yet is
    // registered first.
    std::int32_t viewerInvalidate(bool erase, CWnd* viewer, bool all);

    CString getIcaDataName4Class(std::int32_t id); // "None"; empty for an empty package
    // The current data set's selected range; both clamp the current index and return the range's length.
    std::int32_t getSelect(std::int64_t& begin, std::int64_t& end);
    std::int32_t setSelect(std::int64_t begin, std::int64_t end); // as the data set's own setSelect
    // Marks the data sets whose names contain `text` as shown; always 0.
    std::int32_t showChnlName(CString text);
};

// Persistence.
class ICAWAVE_EXPORT CFaceIca09File : public CFaceIca08Show {
public:
    // The record "FACEICA" with all data sets, stored or loaded as the archive's mode says. Loading: 0 with
    // the package untouched after "Unknown face ICA file!" (keyword) or "Face ICA data format error!"
    // (version). Then the package is cleared, and data sets are appended as they are read; one whose record
    // failed (it has shown why) stays in the list and the result is 1 all the same: ask the archive's
    // firstFault, or count the messages, before a file is written over. Null entries are stored
    // as empty slots and not loaded; the current index is loaded as stored and may name no entry. Archive
    // exceptions leave the data sets read so far. Storing a buffer of 2^29 values or more raises
    // CArchiveException, generic, before the first byte.
    std::int32_t serialize(CArchive& archive);

protected:
    std::int32_t _01SerializeIcaDataPA(CArchive& archive);
    std::int32_t _03SerializeOthers(CArchive& archive);

private:
    std::int32_t serialize20161108(CArchive& archive);
};

class ICAWAVE_EXPORT CFaceIcazq : public CFaceIca09File {
public:
    CFaceIcazq();
    ~CFaceIcazq(); // destroys the manager dialog, then the data sets

    // Adds a data set's values to those of data set `id`, clamped, -1 for the current one (sumDatSetSns). The
    // source is only read.
    std::int32_t sumPkg(const CTrialIcaDatazq& source, std::int32_t id);
    std::int32_t sumFace(const CTrialIcaDatazq& source); // changes nothing; 0

    // Shows the manager dialog with a row for each data set, making it the first time; `parent` counts only
    // then. Always 1.
    std::int32_t showDlgIcaManager(CWnd* parent);

    CDlgIcaWaveManager* m_dlgIcaManager = nullptr; // owned, once it was shown
};
