// SPDX-License-Identifier: BSD-3-Clause
#include "apps/cli/Fields.h"

#include <optional>
#include <string>

namespace icawave::cli {

namespace {

class Walker {
public:
    explicit Walker(const VisitField& visit) : m_visit(visit) {}

    void fields(const CFaceIca& p);
    void fields(const CTrialIcaData& d);
    void fields(const CChnlIcaData& c);
    void fields(const CIcProjectData& i);
    void fields(CIcaParam& p);

private:
    void field(const std::string& name, std::integral auto value) { // a truth value as 0 or 1
        tell(name, static_cast<std::int64_t>(value));
    }
    void field(const std::string& name, double value) { tell(name, value); }
    void field(const std::string& name, const CString& value) { tell(name, value); }
    void field(const std::string& name, CMMatrix2Dzq& matrix);
    void values(const char* name, const double* data, std::int64_t size);
    void bufferFields(const auto& owner);

    // A nested object: absent, or `mark` followed by its keys under `name.`.
    template <class T>
    void nested(const std::string& name, T* object, std::int64_t mark) {
        if (!object) return tell(name, {});
        tell(name, mark);
        inside(name, *object);
    }
    template <class T>
    void inside(const std::string& name, T& object) {
        const std::string outer = m_path;
        m_path += name + ".";
        fields(object);
        m_path = outer;
    }
    template <class T>
    void elements(const std::string& name, const T* array, std::int64_t count) {
        if (!array) return tell(name, {});
        tell(name, count);
        for (std::int64_t k = 0; k < count; ++k) inside(name + "[" + std::to_string(k) + "]", array[k]);
    }

    void tell(const std::string& name, const FieldValue& value) { m_visit(m_path + name, value); }

    const VisitField& m_visit;
    std::string m_path;
};

void Walker::values(const char* name, const double* data, std::int64_t size) {
    if (!data) return tell(name, {});
    tell(name, std::span(data, size));
}

void Walker::field(const std::string& name, CMMatrix2Dzq& matrix) {
    const std::int64_t size = matrix.getRow() * matrix.getCol();
    field(name + ".rows", matrix.getRow());
    field(name + ".cols", matrix.getCol());
    const double* const block = size > 0 ? matrix.getDataPP()[0] : nullptr;
    tell(name + ".data", MatrixValues{{block, static_cast<std::size_t>(size)}, matrix.getCol()});
}

void Walker::bufferFields(const auto& owner) {
    field("m_bkSize", owner.m_bkSize);
    values("m_bkData", owner.m_bkData, owner.m_bkSize);
    field("m_size", owner.m_size);
    values("m_data", owner.m_data, owner.m_size);
    field("m_currentPt", owner.m_currentPt);
}

void Walker::fields(const CIcProjectData& i) {
    bufferFields(i);
    field("m_prjIntA", i.m_prjIntA);
    field("m_prjIntB", i.m_prjIntB);
    field("m_prjIntC", i.m_prjIntC);
    field("m_prjName", i.m_prjName);
    field("m_prjValue1", i.m_prjValue1);
    field("m_prjValue2", i.m_prjValue2);
    field("m_prjValue3", i.m_prjValue3);
    field("m_prjValue4", i.m_prjValue4);
    field("m_prjValue5", i.m_prjValue5);
}

void Walker::fields(const CChnlIcaData& c) {
    bufferFields(c);
    field("m_chnlTag", c.m_chnlTag);
    field("m_show", c.m_show);
    field("m_chnlName", c.m_chnlName);
    elements("m_projectData", c.m_projectData, c.m_projectCount);
    field("m_projectCount", c.m_projectCount);
    field("m_projectCurrent", c.m_projectCurrent);
}

void Walker::fields(CIcaParam& p) {
    field("m_nIca", p.m_nIca);
    field("m_nComp", p.m_nComp);
    field("m_nSample", p.m_nSample);
    field("m_extraMatrixA", p.m_extraMatrixA);
    field("m_extraMatrixB", p.m_extraMatrixB);
    field("m_Wunmix", p.m_Wunmix);
    field("m_Wsecond", p.m_Wsecond);
    field("m_extraIntA", p.m_extraIntA);
    field("m_extraIntB", p.m_extraIntB);
    std::vector<std::int64_t> list;
    for (std::int64_t k = 0; k < p.m_extraUintList.GetSize(); ++k) list.push_back(p.m_extraUintList.GetAt(k));
    tell("m_extraUintList", list);
}

void Walker::fields(const CTrialIcaData& d) {
    tell("m_icaInfo", std::vector<std::int64_t>(std::begin(d.m_icaInfo), std::end(d.m_icaInfo)));
    field("m_sampleRate", d.m_sampleRate);
    field("m_anaLatencyBegin", d.m_anaLatencyBegin);
    field("m_anaLatencyEnd", d.m_anaLatencyEnd);
    field("m_auxIndex1", d.m_auxIndex1);
    field("m_auxIndex2", d.m_auxIndex2);
    field("m_filterParam1", d.m_filterParam1);
    field("m_filterParam2", d.m_filterParam2);
    field("m_icaName", d.m_icaName);
    field("m_icaCmptInfo", d.m_icaCmptInfo);
    field("m_icaShow", d.m_icaShow);
    field("m_listID", d.m_listID);
    field("m_auxInt", d.m_auxInt);
    field("m_icaClass", d.m_icaClass);
    field("m_dataMin", d.m_dataMin);
    field("m_dataMax", d.m_dataMax);
    field("m_dataMean", d.m_dataMean);
    field("m_normalized", d.m_normalized);
    field("m_normRMS", d.m_normRMS);
    field("m_auxLong", d.m_auxLong);
    field("m_absMin", d.m_absMin);
    field("m_absMax", d.m_absMax);
    field("m_absMid", d.m_absMid);
    field("m_auxFlag1", d.m_auxFlag1);
    field("m_auxFlag2", d.m_auxFlag2);
    field("m_auxDataInt", d.m_auxDataInt);
    field("m_totalSample", d.m_totalSample);
    field("m_selectBegin", d.m_selectBegin);
    field("m_selectEnd", d.m_selectEnd);
    elements("m_chnlIcaData", d.m_chnlIcaData, d.m_chnlTotal);
    field("m_selectIca", d.m_selectIca);
    field("m_chnlTotal", d.m_chnlTotal);
    nested("m_icaParam", d.m_icaParam, 1);
}

void Walker::fields(const CFaceIca& p) {
    field("m_pkgType", p.m_pkgType);
    field("m_pkgName", p.m_pkgName);
    field("m_pkgInfo", p.m_pkgInfo);
    field("m_pkgShow", p.m_pkgShow);
    field("m_curntIcaDataSetID", p.m_curntIcaDataSetID);
    field("m_icaDataArray", p.m_icaDataArray.GetSize());
    for (std::int64_t k = 0; k < p.m_icaDataArray.GetSize(); ++k) {
        const auto* dataSet = static_cast<const CTrialIcaDatazq*>(p.m_icaDataArray.GetAt(k));
        nested("m_icaDataArray[" + std::to_string(k) + "]", dataSet, 1);
    }
}

// A field's value as JSON.
struct Write {
    JsonWriter& json;
    bool byRows;

    void operator()(std::monostate) const { json.null(); }
    void operator()(std::int64_t value) const { json.value(value); }
    void operator()(double value) const { json.bits(value); }
    void operator()(const CString& value) const { json.value(value); }
    template <class Elements>
    void operator()(const Elements& values) const {
        json.beginArray();
        for (const auto value : values) (*this)(value);
        json.endArray();
    }
    void operator()(const MatrixValues& matrix) const {
        if (!byRows) return (*this)(matrix.values);
        json.beginArray();
        for (std::size_t k = 0; k < matrix.size(); k += matrix.row(k).size()) (*this)(matrix.row(k));
        json.endArray();
    }
};

// The bytes that a field's value takes as JSON, from above.
struct Measure {
    std::int64_t operator()(std::monostate) const { return 4; }
    std::int64_t operator()(std::int64_t) const { return 20; }
    std::int64_t operator()(double) const { return 20; } // sixteen digits, quotes, a separator
    std::int64_t operator()(const CString& value) const { return 2 + 6 * value.GetLength(); }
    std::int64_t operator()(const auto& values) const { return 2 + 20 * std::ssize(values); }
};

// How many values a buffer or a matrix has, which Values::count writes in their place.
std::optional<std::int64_t> countOf(const FieldValue& value) {
    if (const auto* const buffer = std::get_if<std::span<const double>>(&value)) return std::ssize(*buffer);
    if (const auto* const matrix = std::get_if<MatrixValues>(&value)) return std::ssize(matrix->values);
    return std::nullopt;
}

} // namespace

void forEachField(const CFaceIca& package, const VisitField& visit) {
    Walker(visit).fields(package);
}

void forEachField(const CTrialIcaData& dataSet, const VisitField& visit) {
    Walker(visit).fields(dataSet);
}

void forEachField(const CChnlIcaData& channel, const VisitField& visit) {
    Walker(visit).fields(channel);
}

void forEachField(const CIcProjectData& item, const VisitField& visit) {
    Walker(visit).fields(item);
}

void forEachField(CIcaParam& parameters, const VisitField& visit) {
    Walker(visit).fields(parameters);
}

void writeField(JsonWriter& json, const std::string& key, const FieldValue& value, Values values) {
    const std::optional<std::int64_t> count = countOf(value);
    if (values == Values::count && count) return json.field(key + ".count", *count);
    json.key(key);
    std::visit(Write{json, values == Values::byRows}, value);
}

std::int64_t writtenBytes(const std::string& key, const FieldValue& value, Values values) {
    const bool countOnly = values == Values::count && countOf(value);
    return std::ssize(key) + 8 + (countOnly ? 20 : std::visit(Measure{}, value));
}

} // namespace icawave::cli
