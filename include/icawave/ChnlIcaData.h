// SPDX-License-Identifier: BSD-3-Clause
// One channel of a data set: the time course of a component, or of one element of a coherence matrix.
//
// A data set (TrialIcaData.h) owns its channels in one array and reaches into their buffers; a channel may
// carry projection items.
//
//     double* values = channel.checkInitData(384, true);    // 384 zeros
//     channel.bkDataIn();                                    // keep a backup
//     values[10] = 1.0;
//     channel.bkDataInOut();                                 // and go back to it
//
// Classes: CChnlIcaData (fields, buffers, statistics) -> CChnlIcaData09File (record) -> CChnlIcaDatazq, the
// one that is created. Results are 1 for success and 0 for failure where nothing else is said.
#pragma once

#include <icawave/Export.h>
#include <icawave/platform/Archive.h>
#include <icawave/platform/String.h>

#include <cstdint>

// A projection item of a channel. Created only while a channel record is loaded; the library keeps and stores
// it without interpreting it.
class ICAWAVE_EXPORT CIcProjectData {
public:
    CIcProjectData();
    ~CIcProjectData(); // releases both buffers
    CIcProjectData(const CIcProjectData&) = delete;
    CIcProjectData& operator=(const CIcProjectData&) = delete;

    // The record "ICPROJECTDATA", stored or loaded as the archive's mode says. Loading: 0 after "Unknown
    // MMatrix1D file!" (keyword), "IC Project Data format error!" (version), "Not enough memory!", "Read Ica
    // data error!?" or "Read back up data error!?"; what was read before stays.
    std::int32_t serialize(CArchive& archive);
    std::int32_t serialize20180620(CArchive& archive); // the body of that version

    std::int64_t m_bkSize = 0;    // doubles in m_bkData
    double* m_bkData = nullptr;   // owned, new double[]
    std::int64_t m_size = 0;      // doubles in m_data
    double* m_data = nullptr;     // owned, new double[]
    std::int64_t m_currentPt = 0; // a position in the values
    std::int32_t m_prjIntA = 0;
    std::int32_t m_prjIntB = 0;
    std::int32_t m_prjIntC = 0;
    CString m_prjName; // "IcPrj"
    double m_prjValue1 = 0.0;
    double m_prjValue2 = 0.0;
    double m_prjValue3 = 0.0;
    double m_prjValue4 = 0.0;
    double m_prjValue5 = 0.0;
};

class ICAWAVE_EXPORT CChnlIcaData {
public:
    CChnlIcaData();
    ~CChnlIcaData(); // releases the data, the backup and the projection items

    // Copies share the three buffers by address, and each would release them: whoever copies a channel makes
    // one of the two forget them (deRefData, m_bkData, m_projectData).
    CChnlIcaData(const CChnlIcaData&) = default;
    CChnlIcaData& operator=(const CChnlIcaData&) = default;

    double* getData() { return m_data; } // null when empty; stays the channel's
    std::int64_t getSize() const { return m_size; }

    // Makes the data buffer hold n doubles and returns it. A buffer of that size is kept, with its values
    // unless `zero` sets them to 0.0; a new one holds zeros or, without `zero`, undefined values. Null when n
    // is negative or memory runs out: the channel is then empty.
    double* checkInitData(std::int64_t n, bool zero);
    // Makes the data a copy of src[0] ... src[n-1], which may be values of this channel. Fails, leaving the
    // channel empty, when n is negative or memory runs out.
    std::int32_t copy2Mtx(const double* src, std::int64_t n);
    // Changes the number of values, keeping the leading ones; new ones are 0.0; n <= 0 empties the channel.
    // Resets m_currentPt. Fails, keeping what there was, when memory runs out.
    std::int32_t resize(std::int64_t n);
    // Adopts p, n doubles from new double[], in place of the data, which are released. The channel's own
    // backup may be handed over; it is no backup then.
    std::int32_t setData(double* p, std::int64_t n);
    // Forgets the data without releasing them: whoever holds the pointer owns it now, and releases it with
    // delete[].
    std::int32_t deRefData();
    std::int32_t cleanData(); // releases the data

    std::int32_t bkDataIn(); // copies the data to the backup; fails without data
    // Copies the backup to the data; fails without a backup, or with "Not enough memory!".
    std::int32_t bkDataInOut();
    std::int32_t cleanbkData(); // releases the backup

    std::int32_t cleanProjectData(); // releases the projection items; none is then current

    // Statistics over all values; sums ascend in a double. Without a buffer the results are 0, 0.0 and
    // outputs of 0.0.
    double getValueMax();           // the largest value, with its sign
    std::int32_t allValueNonZero(); // 1 when no value is 0.0 or -0.0
    double polynmlEval(double x);   // m_data[0] + m_data[1] x + m_data[2] x^2 + ...
    // Divides the values by the mean of their magnitudes; 0, changing nothing, unless that is above 0.0: a
    // NaN is not, infinity is.
    std::int32_t normSumSqrt();
    std::int32_t getDataRange(double& min, double& mean, double& max);
    // mean2 is the mean again, absMean the mean of the magnitudes, rms the root of the mean of the squares.
    std::int32_t getStatistic(double& min, double& mean, double& max, double& mean2, double& absMean,
                              double& rms);
    // Over samples begin ... end, both clamped into the channel. Mode 0: their mean, 0.0 when reversed. Mode
    // 1: the extreme of larger magnitude with its sign, the minimum when both are equal; m_data[begin] when
    // reversed. Other modes: 0.0.
    double getSelectDataMean(std::int64_t begin, std::int64_t end, std::int32_t mode);

    void set_(double* first, double* last, const double& value); // fills [first, last); touches no field
    // Copies n doubles upwards; touches no field.
    void copy_(double* dst, const double* src, std::int64_t n) const;

    std::int64_t m_bkSize = 0;  // doubles in m_bkData
    double* m_bkData = nullptr; // backup, owned, new double[]
    // Doubles in m_data; from a file it may also count values that did not follow (m_data null).
    std::int64_t m_size = 0;
    double* m_data = nullptr;                // the values, owned, new double[]
    std::int64_t m_currentPt = 0;            // a 0-based position in the data
    std::int64_t m_chnlTag = 0;              // carried along, not interpreted
    std::int32_t m_show = 1;                 // 0: hidden
    CString m_chnlName;                      // "ICA"
    CIcProjectData* m_projectData = nullptr; // owned, new CIcProjectData[m_projectCount]
    std::int32_t m_projectCount = 0;
    std::int32_t m_projectCurrent = 0; // -1: none
};

class ICAWAVE_EXPORT CChnlIcaData09File : public CChnlIcaData {
public:
    // The record "WAVEICADATA", stored or loaded as the archive's mode says. Loading: 0 with the channel
    // unchanged after "Unknown MMatrix1D file!" (keyword) or "MMatrix1D format error!" (version); 0 with what
    // was read so far after "Not enough memory!", "Read Ica data error!?" or "Read back up data error!?".
    // Storing a buffer of 2^29 values or more raises CArchiveException, generic.
    std::int32_t serialize(CArchive& archive);

private:
    std::int32_t serialize20180619(CArchive& archive);
    std::int32_t serialize20161108(CArchive& archive);
    std::int32_t exchangeBackup(CArchive& archive);
    std::int32_t exchangeItems(CArchive& archive);
    void releaseBuffers();
};

class ICAWAVE_EXPORT CChnlIcaDatazq : public CChnlIcaData09File {};
