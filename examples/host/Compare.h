// SPDX-License-Identifier: BSD-3-Clause
// Compares two packages: doubles by their bits, so that 0.0 is not -0.0 and a NaN equals itself.
#pragma once

#include <icawave/FaceIca.h>

#include <bit>

class Comparison {
public:
    std::int64_t values = 0; // compared so far
    std::int64_t differences = 0;

    void package(CFaceIca& left, CFaceIca& right) {
        using P = CFaceIca;
        fields(left, right, &P::m_pkgName, &P::m_pkgInfo, &P::m_pkgShow, &P::m_curntIcaDataSetID);
        if (!same(left.getTotalIca(), right.getTotalIca())) return;
        for (std::int32_t k = 0; k < left.getTotalIca(); ++k)
            dataSet(*left.getIcaData(k), *right.getIcaData(k));
    }

    void dataSet(CTrialIcaDatazq& left, CTrialIcaDatazq& right) {
        using D = CTrialIcaData;
        fields(left, right, &D::m_icaName, &D::m_icaCmptInfo, &D::m_sampleRate, &D::m_anaLatencyBegin,
               &D::m_anaLatencyEnd, &D::m_icaShow, &D::m_listID, &D::m_totalSample, &D::m_selectIca,
               &D::m_selectBegin, &D::m_selectEnd, &D::m_dataMin, &D::m_dataMax, &D::m_dataMean);
        for (int i = 0; i < 8; ++i) same(left.m_icaInfo[i], right.m_icaInfo[i]); // m_chnlTypeID among them
        CIcaParamzq *parameters = left.getIcaParamzq(0), *others = right.getIcaParamzq(0);
        if (same(parameters != nullptr, others != nullptr) && parameters) parameterSet(*parameters, *others);
        if (!same(left.getIcaChnlTotal(), right.getIcaChnlTotal())) return;
        for (std::int64_t k = 0; k < left.getIcaChnlTotal(); ++k)
            channel(left.getChnlIcaData()[k], right.getChnlIcaData()[k]);
    }

private:
    void parameterSet(CIcaParam& left, CIcaParam& right) {
        using P = CIcaParam;
        fields(left, right, &P::m_nIca, &P::m_nComp, &P::m_nSample);
        for (const auto matrix : {&P::m_Wunmix, &P::m_Wsecond, &P::m_extraMatrixA, &P::m_extraMatrixB}) {
            CMMatrix2D &a = left.*matrix, &b = right.*matrix;
            const bool rows = same(a.getRow(), b.getRow()), columns = same(a.getCol(), b.getCol());
            if (rows && columns && a.getDataPP())
                doubles(*a.getDataPP(), *b.getDataPP(), a.getRow() * a.getCol());
        }
    }

    void channel(CChnlIcaData& left, CChnlIcaData& right) {
        fields(left, right, &CChnlIcaData::m_chnlName, &CChnlIcaData::m_show);
        const bool size = same(left.getSize(), right.getSize());
        const bool held = same(left.getData() != nullptr, right.getData() != nullptr);
        if (size && held && left.getData()) doubles(left.getData(), right.getData(), left.getSize());
    }

    void doubles(const double* left, const double* right, std::int64_t count) {
        for (std::int64_t i = 0; i < count; ++i) same(left[i], right[i]);
    }

    template <class Object, class... Members>
    void fields(const Object& left, const Object& right, Members... members) {
        (same(left.*members, right.*members), ...);
    }

    bool same(double left, double right) {
        return same(std::bit_cast<std::uint64_t>(left), std::bit_cast<std::uint64_t>(right));
    }
    template <class Value>
    bool same(const Value& left, const Value& right) {
        ++values;
        if (left == right) return true;
        ++differences;
        return false;
    }
};
