#include "apps/cli/Dump.h"

#include <string>

namespace icawave::cli {

namespace {

class Dumper {
public:
    explicit Dumper(JsonWriter& json) : m_json(json) {}

    void fields(const CFaceIca& p);
    void fields(const CTrialIcaData& d);
    void fields(const CChnlIcaData& c);
    void fields(const CIcProjectData& i);
    void fields(CIcaParam& p);

private:
    void field(const char* name, std::integral auto value) { // a truth value as 0 or 1
        key(name);
        m_json.value(static_cast<std::int64_t>(value));
    }
    void field(const char* name, double value) {
        key(name);
        m_json.bits(value);
    }
    void field(const char* name, const CString& value) {
        key(name);
        m_json.value(value);
    }
    void field(const char* name, CMMatrix2Dzq& matrix);
    void values(const char* name, const double* data, std::int64_t size);
    void bufferFields(const auto& owner);

    // A nested object: null, or `mark` followed by its keys under `name.`.
    template <class T>
    void nested(const std::string& name, T* object, std::int64_t mark) {
        key(name);
        if (!object) return m_json.null();
        m_json.value(mark);
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
        key(name);
        if (!array) return m_json.null();
        m_json.value(count);
        for (std::int64_t k = 0; k < count; ++k) inside(name + "[" + std::to_string(k) + "]", array[k]);
    }

    void key(const std::string& name) { m_json.key(m_path + name); }

    JsonWriter& m_json;
    std::string m_path;
};

void Dumper::values(const char* name, const double* data, std::int64_t size) {
    key(name);
    if (!data) return m_json.null();
    m_json.beginArray();
    for (std::int64_t i = 0; i < size; ++i) m_json.bits(data[i]);
    m_json.endArray();
}

void Dumper::field(const char* name, CMMatrix2Dzq& matrix) {
    const std::string base = name;
    key(base + ".rows");
    m_json.value(matrix.getRow());
    key(base + ".cols");
    m_json.value(matrix.getCol());
    key(base + ".data");
    m_json.beginArray();
    for (std::int64_t r = 0; r < matrix.getRow(); ++r) {
        for (std::int64_t c = 0; c < matrix.getCol(); ++c) m_json.bits(matrix.getDataPP()[r][c]);
    }
    m_json.endArray();
}

void Dumper::bufferFields(const auto& owner) {
    field("m_bkSize", owner.m_bkSize);
    values("m_bkData", owner.m_bkData, owner.m_bkSize);
    field("m_size", owner.m_size);
    values("m_data", owner.m_data, owner.m_size);
    field("m_currentPt", owner.m_currentPt);
}

void Dumper::fields(const CIcProjectData& i) {
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

void Dumper::fields(const CChnlIcaData& c) {
    bufferFields(c);
    field("m_chnlTag", c.m_chnlTag);
    field("m_show", c.m_show);
    field("m_chnlName", c.m_chnlName);
    elements("m_projectData", c.m_projectData, c.m_projectCount);
    field("m_projectCount", c.m_projectCount);
    field("m_projectCurrent", c.m_projectCurrent);
}

void Dumper::fields(CIcaParam& p) {
    field("m_nIca", p.m_nIca);
    field("m_nComp", p.m_nComp);
    field("m_nSample", p.m_nSample);
    field("m_extraMatrixA", p.m_extraMatrixA);
    field("m_extraMatrixB", p.m_extraMatrixB);
    field("m_Wunmix", p.m_Wunmix);
    field("m_Wsecond", p.m_Wsecond);
    field("m_extraIntA", p.m_extraIntA);
    field("m_extraIntB", p.m_extraIntB);
    key("m_extraUintList");
    m_json.beginArray();
    for (std::int64_t k = 0; k < p.m_extraUintList.GetSize(); ++k) m_json.value(p.m_extraUintList.GetAt(k));
    m_json.endArray();
}

void Dumper::fields(const CTrialIcaData& d) {
    key("m_icaInfo");
    m_json.beginArray();
    for (const std::int32_t value : d.m_icaInfo) m_json.value(value);
    m_json.endArray();
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

void Dumper::fields(const CFaceIca& p) {
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

} // namespace

void dump(JsonWriter& json, const CFaceIca& package) {
    Dumper(json).fields(package);
}

void dump(JsonWriter& json, const CTrialIcaData& dataSet) {
    Dumper(json).fields(dataSet);
}

void dump(JsonWriter& json, const CChnlIcaData& channel) {
    Dumper(json).fields(channel);
}

void dump(JsonWriter& json, const CIcProjectData& item) {
    Dumper(json).fields(item);
}

void dump(JsonWriter& json, CIcaParam& parameters) {
    Dumper(json).fields(parameters);
}

} // namespace icawave::cli
