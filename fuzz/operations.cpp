// SPDX-License-Identifier: BSD-3-Clause
// All operations of a data set and a package on whatever was loaded, with any arguments.
#include "fuzz/Fuzz.h"

namespace {

using fuzz::Input;

void useVectors(CTrialIcaDatazq& d, Input& in) {
    CMMatrix1Dzq* vectors = nullptr;
    std::int64_t count = 0;
    const bool made = d.getData2MCohTimSnsSns(vectors, count) != 0;
    const std::unique_ptr<CMMatrix1Dzq[]> own(vectors);
    if (!made || count < 1) return;
    if (in.below(2) == 1) vectors[in.below(count)].checkInitData(in.below(20), true);
    d.setData4Mica(vectors, count);
    const std::int64_t point = in.below(count);
    d.addMSnsSnsTimID(&vectors[point], in.below(2) == 1 ? point : in.take<std::int64_t>());
}

void useChannel(CChnlIcaDatazq& c, Input& in) {
    double v[6];
    switch (in.below(12)) {
    case 0:
        c.bkDataIn();
        break;
    case 1:
        c.bkDataInOut();
        break;
    case 2:
        c.cleanbkData();
        break;
    case 3:
        c.resize(in.below(64));
        break;
    case 4:
        c.checkInitData(in.below(64), in.below(2) == 1);
        break;
    case 5:
        c.normSumSqrt();
        break;
    case 6:
        c.getSelectDataMean(in.take<std::int64_t>(), in.take<std::int64_t>(), in.take<std::int8_t>());
        break;
    case 7:
        c.getStatistic(v[0], v[1], v[2], v[3], v[4], v[5]);
        break;
    case 8:
        c.polynmlEval(in.take<double>());
        break;
    case 9:
        c.cleanProjectData();
        break;
    case 10:
        c.cleanData();
        break;
    default:
        c.getValueMax(), c.allValueNonZero(), c.getDataRange(v[0], v[1], v[2]);
    }
}

void useDataSet(CTrialIcaDatazq& d, CTrialIcaDatazq& other, Input& in) {
    double a, b;
    std::int64_t begin = in.take<std::int16_t>(), end = in.take<std::int64_t>();
    const bool flag = in.below(2) == 1;
    switch (in.below(27)) {
    case 0:
        d.getValue(begin, end);
        break;
    case 1:
        d.getValueSelect(begin, end, in.take<std::int8_t>());
        break;
    case 2:
        d.getIcaDataRange(a, b, flag, begin, end);
        break;
    case 3:
        d.getIcaAbsRange(a, b, true, flag, begin, end);
        break;
    case 4:
        d.setSelect(begin, end);
        break;
    case 5:
        d.getSelect(begin, end);
        break;
    case 6:
        d.checkSelect(begin, end);
        break;
    case 7:
        d.getTotalSample();
        break;
    case 8:
        d.getLatency4PtSecond(end);
        break;
    case 9:
        d.normRMS();
        break;
    case 10:
        d.checkDataRange();
        break;
    case 11:
        d.getStatistics();
        break;
    case 12:
        d.setChnlTotal(std::min(begin, d.m_chnlTotal)); // no more than there are
        break;
    case 13:
        d.nextSelect(static_cast<std::int32_t>(begin), flag);
        break;
    case 14:
        d.hideSelectIca();
        break;
    case 15:
        d.deleteSelect();
        break;
    case 16:
        d.getDataWave(static_cast<std::int32_t>(begin));
        break;
    case 17:
        d.sumDatSetSns(other);
        break;
    case 18:
        d.accumulateTime1();
        break;
    case 19:
        d.checkInitSnsIcaData(begin % 8, end % 64, flag);
        break;
    case 20:
        d.m_selectIca = end;
        break;
    case 21:
        d.m_totalSample = end;
        break;
    case 22:
        d.cleanIcaParam();
        break;
    case 23:
        if (CIcaParamzq* p = d.getIcaParamzq(flag)) p->hasWunmix(), p->clean();
        break;
    case 24:
        useVectors(d, in);
        break;
    case 25:
        d.zeroSelection();
        break;
    default:
        if (d.m_chnlIcaData && d.m_chnlTotal > 0)
            useChannel(d.m_chnlIcaData[in.below(std::min<std::int64_t>(d.m_chnlTotal, 255))], in);
    }
}

void usePackage(CFaceIcazq& p, Input& in) {
    const auto id = std::int32_t{in.take<std::int8_t>()};
    std::int64_t begin = in.take<std::int16_t>(), end = in.take<std::int16_t>();
    double a, b;
    switch (in.below(18)) {
    case 0:
        p.setCurrentIca(id);
        break;
    case 1:
        p.setCurntIcaDataSetID(id);
        break;
    case 2:
        p.getIcaListID(id);
        break;
    case 3:
        p.getTrlIcaDataAny();
        break;
    case 4:
        p.actIca2ListID(id);
        break;
    case 5:
        p.deleteIca(id);
        break;
    case 6:
        p.checkInitIca4ID(id % 8, end % 64, 0, true);
        break;
    case 7:
        p.checkInitIcaPkg(id % 8, end % 64, true);
        break;
    case 8:
        p.getIcaDataRange(id, a, b, end % 2 == 1);
        break;
    case 9:
        p.getIcaTimSlcMax(), p.getMaxSample(), p.hasIcaData4show();
        break;
    case 10:
        p.getNumShowSns(), p.getNumSns();
        break;
    case 11:
        p.getIcaDataName4Class(id);
        break;
    case 12:
        p.getSelect(begin, end);
        break;
    case 13:
        p.setSelect(begin, end);
        break;
    case 14:
        p.showChnlName("ICA");
        break;
    case 15:
        if (CTrialIcaDatazq* d = p.getIcaData(0)) p.sumPkg(*d, id);
        break;
    case 16:
        p.accumulateTrlCoh(p.getIcaData(0));
        break;
    default:
        p.m_curntIcaDataSetID = id;
    }
}

} // namespace

// The bytes are a package or a data set; the last of them choose operations and arguments too.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in = Input::tail(data, size, 200);
    const fuzz::Bytes bytes(data, size);
    CFaceIcazq package;
    if (!fuzz::load(package, bytes) && package.getTotalIca() == 0) {
        package.setIcaData(new CTrialIcaDatazq, 0);
        fuzz::load(*package.getIcaData(0), bytes);
    }
    const fuzz::Messages messages;
    while (!in.isEmpty()) {
        try {
            const std::size_t sets = package.getTotalIca();
            if (sets == 0 || in.below(3) == 0) {
                usePackage(package, in);
                continue;
            }
            const auto any = [&] { return package.getIcaData(static_cast<std::int32_t>(in.below(sets))); };
            CTrialIcaDatazq *d = any(), *other = any();
            if (d && other) useDataSet(*d, *other, in);
        } catch (const CInvalidArgException&) { // an index outside of the list
        } catch (const CMemoryException&) {
        }
    }
    const fuzz::Bytes stored = fuzz::store(package);
    CFaceIcazq again;
    fuzz::load(again, stored);
    return 0;
}
