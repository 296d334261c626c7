// SPDX-License-Identifier: BSD-3-Clause
// The parameters of one decomposition: its sizes, the unmixing matrix, and further values that are kept,
// stored and loaded for the host.
//
// A data set (TrialIcaData.h) owns at most one parameter set. With x one sample of the n sensors and s the
// component values, imported decompositions follow
//     s = m_Wunmix * m_extraMatrixA * x + offset,    x ~ m_extraMatrixB * s
// where the offset is named in the data set's m_icaCmptInfo, and the approximation is but for the sensors'
// means. The library itself gives the extra matrices no meaning.
//
// Classes: CIcaParam (fields) -> CIcaParam09File (record) -> CIcaParamzq, the one that is created.
#pragma once

#include <icawave/Export.h>
#include <icawave/MMatrix.h>
#include <icawave/platform/Array.h>

#include <cstdint>

class ICAWAVE_EXPORT CIcaParam {
public:
    CIcaParam() = default;
    CIcaParam(const CIcaParam&) = delete;
    CIcaParam& operator=(const CIcaParam&) = delete;

    std::int32_t clean(); // back to the state after construction; always 1

    // Stores a decomposition of nIca component time courses of nSample samples: copies of the nComp x nComp
    // matrices whose rows are given, and the three sizes. Always 1: null rows or an nComp below 1 leave the
    // matrix empty. The other fields stay.
    std::int32_t addIcaParam(std::int32_t nIca, std::int32_t nComp, std::int32_t nSample,
                             const double* const* Wunmix, const double* const* Wsecond);

    // 1 when an nComp x nComp unmixing matrix is present, 0 when there is none; one of another shape shows
    // "ICA Wunmix has wrong parameter nR != nComp" and gives 0.
    std::int32_t hasWunmix();

    std::int32_t m_nIca = 0;     // component time courses that the parameters belong to
    std::int32_t m_nComp = 0;    // order of the unmixing matrix
    std::int32_t m_nSample = 0;  // samples of each time course
    CMMatrix2Dzq m_extraMatrixA; // imported: sensors -> the space that m_Wunmix works in (sphere, whitening)
    CMMatrix2Dzq m_extraMatrixB; // imported: component maps, sensors x components (mixing)
    CMMatrix2Dzq m_Wunmix;       // unmixing, nComp x nComp
    CMMatrix2Dzq m_Wsecond;      // a second square matrix of that order; imported: the inverse of m_Wunmix
    std::int32_t m_extraIntA = 0;
    std::int32_t m_extraIntB = 0;
    CUIntArray m_extraUintList;
};

class ICAWAVE_EXPORT CIcaParam09File : public CIcaParam {
public:
    // The record "ICAPARAMETERS", stored or loaded as the archive's mode says. Loading: 0 with the set
    // unchanged after "The opened file is not CIcaData09File or corrupted!" (keyword) or "ICA parameter data
    // format error!" (version). No value is checked against another.
    std::int32_t serialize(CArchive& archive);

private:
    std::int32_t serialize20180629(CArchive& archive);
};

class ICAWAVE_EXPORT CIcaParamzq : public CIcaParam09File {};
