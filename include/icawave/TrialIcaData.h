// SPDX-License-Identifier: BSD-3-Clause
// One data set: the component time courses of one trial (epoch) with the parameters of their decomposition.
//
// A data set holds m_chnlTotal channels (components, or elements of coherence matrices) of m_totalSample
// samples each, a time axis, a selected channel and a selected range of samples. The package (FaceIca.h)
// lists and owns data sets.
//
//     CTrialIcaDatazq* dataSet = package.checkInitIca4ID(32, 384, 0, true);
//     dataSet->addIcaData(32, 32, 384, unmixingRows, inverseRows, activationRows);
//     double latency = dataSet->getLatency4PtSecond(128);              // seconds
//     double mean = dataSet->getValueSelect(0, 127, 3);                // of samples 0 to 127 of channel 3
//
// Classes, one layer for each concern: CTrialIcaData (fields, sizing, values) -> CTrialIcaData01Time (time,
// selection) -> CTrialIcaData02Prcs (processing) -> CTrialIcaData08Show (display) -> CTrialIcaData09File
// (record) -> CTrialIcaDatazq, the one that is created and passed around. All fields live in the first.
//
// Samples and channels are counted from 0 in 64 bits. Ranges of samples include both ends. As an argument, -1
// stands for the current choice: m_selectBegin, m_selectEnd, m_selectIca. Results are 1 for success and 0 for
// failure where nothing else is said.
//
// Fields may come from a damaged file, so no operation trusts them against one another: a sample that a
// channel does not hold reads as 0.0 and is never written, and a channel that does not exist gives the
// operation's empty result.
#pragma once

#include <icawave/ChnlIcaData.h>
#include <icawave/Export.h>
#include <icawave/IcaParam.h>
#include <icawave/MMatrix.h>

#include <cstdint>

class ICAWAVE_EXPORT CTrialIcaData {
public:
    CTrialIcaData();
    // The destructor releases neither the channels nor the parameter set: cleanSnsIcaData and cleanIcaParam
    // do, and the package calls both. Copies share the two by address; only one of them may release them.

    // Makes the data set hold nChnl channels of nSample samples. With matching sizes channels and selection
    // stay, and the values too unless `zero` sets them to 0.0. Otherwise new channels replace the old ones,
    // with zeros or, without `zero`, undefined values, and channel 0 and samples 0 to 0 are selected. Sizes
    // below 1 or missing memory: 0, and the data set has no channels.
    std::int32_t checkInitSnsIcaData(std::int64_t nChnl, std::int64_t nSample, bool zero);
    std::int32_t cleanSnsIcaData(); // releases the channels; sizes and selection become 0; always 1

    // Takes over one finished decomposition, copying everything: the nComp x nComp unmixing matrix W and a
    // second matrix V, row by row, and nChnl component time courses of nSample values, the rows of data.
    // Channels are named "ICA1", "ICA2", ... All rows may be the data set's own values. A null row of data
    // fails before anything changes; one of W or V leaves that matrix empty and is no failure. Without memory
    // 0: the data set is as before, or has no channels.
    std::int32_t addIcaData(std::int32_t nChnl, std::int32_t nComp, std::int32_t nSample,
                            const double* const* W, const double* const* V, const double* const* data);

    // The parameter set, which stays the data set's; null when there is none and `create` is 0, or memory
    // runs out.
    CIcaParamzq* getIcaParamzq(std::int32_t create);
    std::int32_t cleanIcaParam(); // destroys the parameter set; always 1

    // How many steps it takes from b to pass a: 1 for a <= b, else 1 + ceil((a - b) / step); 0 for a step
    // below 1 then.
    static std::int64_t getIcaTim(std::int64_t a, std::int64_t step, std::int64_t b);
    std::int32_t verifyWavIcaDataSize(std::int64_t nChnl, std::int64_t nSample); // 1 when both sizes match
    double getLatency4PtSecond(std::int64_t pt); // seconds: pt / m_sampleRate + m_anaLatencyBegin
    std::int32_t checCorrectkSelectIca();        // brings m_selectIca into 0 ... m_chnlTotal - 1; always 0

    // Sample pt, clamped into the data set, of channel ica.
    double getValue(std::int64_t pt, std::int64_t ica);
    // The mean of samples begin ... end, both clamped into the data set, of channel ica; 0.0 when they are
    // reversed.
    double getValueSelect(std::int64_t begin, std::int64_t end, std::int64_t ica);
    // The smallest and the largest value of all channels: of all their values, which also refreshes
    // m_dataMin, m_dataMax and m_dataMean (the sum of all values / m_chnlTotal), or with `select` of samples
    // begin ... end. 0, with both 0.0, without channels and when begin or end lies outside the data set, in
    // both forms.
    std::int32_t getIcaDataRange(double& min, double& max, bool select, std::int64_t begin, std::int64_t end);

    // One vector for each time point: value k of vector t is sample t of channel k. A null mtx becomes a new
    // array of m_totalSample vectors, the caller's to delete[]; else mtx has count vectors, at most
    // m_totalSample. 0 without channels, for a count that is too large (nothing changes) and without memory;
    // an array that was made is the caller's then, too.
    std::int32_t getData2MCohTimSnsSns(CMMatrix1Dzq*& mtx, std::int64_t& count);
    // The reverse: one channel for each value of the first vector, one sample for each of the nTime vectors.
    // A vector without values ends the operation with 0; the samples before it are set. Values that a shorter
    // vector lacks are 0.0, those a longer one adds are ignored.
    std::int32_t setData4Mica(CMMatrix1Dzq* mtx, std::int64_t nTime);
    // Replaces sample t of every channel by the vector's values. 0 unless the sample exists and the vector
    // has m_chnlTotal values.
    std::int32_t addMSnsSnsTimID(CMMatrix1Dzq* vec, std::int64_t t);

    // Descriptive integers, kept and stored. m_chnlTypeID is a second name of m_icaInfo[3]; a struct without
    // a name, which every compiler has, makes it an integer like any other.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
    union {
        std::int32_t m_icaInfo[8] = {};
        struct {
            std::int32_t m_icaInfoBefore[3];
            std::int32_t m_chnlTypeID; // 0 all types, 1 MEG sensors, 2 EEG sensors
        };
    };
#pragma GCC diagnostic pop
    double m_sampleRate = 0.0;      // Hz
    double m_anaLatencyBegin = 0.0; // seconds, latency of sample 0
    double m_anaLatencyEnd = 0.0;   // seconds
    std::int64_t m_auxIndex1 = 0;
    std::int64_t m_auxIndex2 = 0;
    double m_filterParam1 = 0.1;
    double m_filterParam2 = 1.0;
    CString m_icaName;     // "IcaTrial"
    CString m_icaCmptInfo; // how the data were computed; "ICA ComputeInfo"
    bool m_icaShow = false;
    std::int32_t m_listID = 0; // row in the manager's list
    std::int32_t m_auxInt = 0;
    std::int32_t m_icaClass = 0;
    double m_dataMin = 0.0; // caches of getIcaDataRange and the processing layer
    double m_dataMax = 0.0;
    double m_dataMean = 0.0;
    std::int32_t m_normalized = 0; // 1 once the values were divided by m_normRMS
    double m_normRMS = 0.0;
    std::int64_t m_auxLong = 0;
    double m_absMin = 0.0; // caches of the display layer: range of magnitudes
    double m_absMax = 1.0;
    double m_absMid = 0.0;
    std::int32_t m_auxFlag1 = 1;
    std::int32_t m_auxFlag2 = 0;
    std::int32_t m_auxDataInt = 0;
    std::int64_t m_totalSample = 0; // samples of each channel
    std::int64_t m_selectBegin = 0; // the selected range, both ends included
    std::int64_t m_selectEnd = 1;
    CChnlIcaDatazq* m_chnlIcaData = nullptr; // owned, new CChnlIcaDatazq[]
    std::int64_t m_selectIca = 0;            // the selected channel
    std::int64_t m_chnlTotal = 0;            // channels in m_chnlIcaData that count
    CIcaParamzq* m_icaParam = nullptr;       // owned
};

// Time axis and selection.
class ICAWAVE_EXPORT CTrialIcaData01Time : public CTrialIcaData {
public:
    std::int32_t setIcaShow(bool show);  // always 1
    std::int32_t getIcaShow(bool& show); // 1 when shown, else 0

    // The number of samples, -1 without channels. Brings m_selectIca into range; when that channel holds
    // another number of values, shows "Ic data points error!" and takes its size as m_totalSample.
    std::int64_t getTotalSample();
    std::int64_t getIcaChnlTotal();   // 0 without channels
    CChnlIcaDatazq* getChnlIcaData(); // the channels, which stay the data set's

    // Selects samples begin ... end, clamped into the data set; an end before the begin moves up to it.
    // Returns the range's length.
    std::int64_t setSelect(std::int64_t begin, std::int64_t end);
    std::int64_t getSelect(std::int64_t& begin, std::int64_t& end); // the range's length
    std::int32_t checkSelect(std::int64_t begin, std::int64_t end); // 1 when both are samples of the data set

    // The buffer of channel ica, null when there is none; stays the channel's.
    double* getDataWave(std::int32_t ica);
    std::int32_t resetIcaTimeInfo(); // changes nothing; 0
};

// Processing of the whole data set. Sums ascend in a double; channels are added in their order.
class ICAWAVE_EXPORT CTrialIcaData02Prcs : public CTrialIcaData01Time {
public:
    // Divides all values by sqrt(sum of their squares / m_chnlTotal) and keeps that divisor in m_normRMS.
    // When it is not above 0, shows "RMS value in leadfields is smaller than zero!?" and gives 0, changing
    // nothing. Normalising twice divides twice.
    std::int32_t normRMS();
    // Refreshes m_dataMin, m_dataMax and m_dataMean (the sum of all values / m_chnlTotal). 0 without values.
    std::int32_t checkDataRange();
    // "NAME Min: ...\tMean: ... Max: ... AbsSum: ... RmsSum: ... \n": the range of all values; the averages
    // over the channels of their means and of their means of magnitudes; the root of the average of their
    // root mean squares. Refreshes m_dataMin, m_dataMax and m_dataMean. Without channels all five are 0.
    CString getStatistics();
    std::int32_t zeroSelection(); // sets the selected samples of every channel to 0.0
    std::int32_t zeroDiagonal();  // notes "\nSet Diagonal value to 0" in m_icaCmptInfo; the values stay
    std::int32_t setAnaLatency(double begin, double end);   // seconds; always 1
    std::int32_t getAnaLatency(double& begin, double& end); // always 1
    // Makes the first n channels count and keeps m_selectIca below n. The array stays, so n must not exceed
    // its channels. Always 1.
    std::int32_t setChnlTotal(std::int64_t n);
    std::int32_t getChnlTotal();
    // No channels count, the analysis interval is 0 ... 0; the array stays until the next sizing; always 1.
    std::int32_t resetSnsCoh();
    std::int32_t setColumnCrt(std::int32_t column); // the column, 0 for a negative one; changes nothing
};

// What viewers ask.
class ICAWAVE_EXPORT CTrialIcaData08Show : public CTrialIcaData02Prcs {
public:
    // The range of the magnitudes of the first m_totalSample values of every channel that has a buffer, or
    // with `select` of samples begin ... end. Kept in m_absMin, m_absMax and m_absMid. 0, keeping nothing,
    // without channels and when `select` asks for samples outside.
    std::int32_t getIcaAbsRange(double& min, double& max, bool unused, bool select, std::int64_t begin,
                                std::int64_t end);
    // Moves the selected range by `step` samples, keeping its length where the data allow it. At an end of
    // the data it stops there or, with a `wrap` other than 0, goes on at the other end. Returns the new
    // m_selectBegin.
    std::int64_t nextSelect(std::int32_t step, std::int32_t wrap);
    CString getChnlTypeIDname(); // "All Type", "MEG Sensor", "EEG Sensor" or "Unknown"
    CString getIcaCmptInfo();
    std::int32_t hideSelectIca(); // brings m_selectIca into range and hides that channel; 0 without channels
    // Brings m_selectIca into range; deletes nothing. Returns m_chnlTotal, or the new index when it was at or
    // past that.
    std::int64_t deleteSelect();
    std::int32_t findSelectCxC(std::int32_t value); // changes nothing; 0
};

// Persistence.
class ICAWAVE_EXPORT CTrialIcaData09File : public CTrialIcaData08Show {
public:
    // The record "TRIALICADATA", stored or loaded as the archive's mode says. Loading: 0 with the data set
    // unchanged after "The opened file is not CIcaData09File or corrupted!" (keyword) or "TrialIca  data
    // format!" (version); 0 without channels when a channel record failed; 0 when the parameter record
    // failed. Fields are assigned as they are read, and stay so when an exception unwinds. Storing a channel
    // buffer of 2^29 values or more raises CArchiveException, generic, before the first byte.
    std::int32_t serialize(CArchive& archive);

    // Loads this data set from, or stores it as, a single data set file (".icd") that the user chooses. 0
    // when the user cancels or the file cannot be opened or created. A file that is something else shows the
    // record's message and gives 1. When the path has no ".icd" in it, saving appends it. Exceptions of
    // archive and file come out.
    std::int32_t openicaDataStd();
    std::int32_t saveIcaDataStd();

protected:
    std::int32_t _01serializeIcaData(CArchive& archive);

private:
    std::int32_t serialize20180629(CArchive& archive);
    std::int32_t serialize20160311(CArchive& archive);
    std::int32_t _02serializeInfo(CArchive& archive);
};

// Reductions.
class ICAWAVE_EXPORT CTrialIcaDatazq : public CTrialIcaData09File {
public:
    std::int32_t sumDatSetSns(
        const CTrialIcaDatazq& other); // adds other's values; 0, changing nothing, unless both sizes match
    // Replaces every channel by its mean over time: one sample, backed up, with the channel's tag; names and
    // items become the defaults. 0, changing nothing, without values or memory.
    std::int32_t accumulateTime1();
};
