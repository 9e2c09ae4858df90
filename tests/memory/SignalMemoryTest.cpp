#include "FailingAllocation.h"
#include "support/Test.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/umlauf.h"

namespace {

TEST(WithoutMemory, Units) {
  EveryAllocationFails([] {
    static const CString rate(L"km/h"), level(L"dB((Newton_metre/long_name)^3)");
    for (const CString& text : {std::cref(rate), std::cref(level), std::cref(LongText())}) {
      CMeasuringUnit unit(text);
      unit.exponent(7);
      unit.prefixunit(true);
      unit.prefixunitA(false);
      unit.setA("a/b*c/d*e/f*g/h*i/j*k/l*m/n*o/p");
      CMemFile file;
      if (unit.WriteToFile(file)) {
        CMeasuringUnit back;
        file.Seek(0, CFile::begin);
        back.ReadFromFile(file);
      }
    }
    CMeasuringUnitComboBox box;
    box.Prepare(CMeasuringUnit(CommonUnits::rpm));
    CSiPrefixComboBox prefixes;
    prefixes.Prepare(std::int16_t{3});
    std::map<int, CString> names;
    CMeasuringUnitComboBox::FillIdNameMap(names);
    CSiPrefixComboBox::FillIdNameMap(names);
    CUserInterface::Get().ShowMessage(LongText(), CUserInterface::Icon::error);
  });
}

TEST(WithoutMemory, Keys) {
  EveryAllocationFails([] {
    CClavisSet set, other;
    CClavis key(1, 2, 3, 4, 5, 6);
    CClavisFilter filter(1, true);
    for (int i = 0; i < 8; ++i) {
      key.Instrument() = i;
      set.insert(key.Field(), i % 2 == 0);
      other += key.Field();
      filter.append(key, false);
    }
    CClavisSet copy(set);
    copy = other;
    copy |= set;
    copy &= other;
    copy.insertElement(2, -1);
    const CClavisFilter filterCopy(filter);
    EXPECT_LE(filterCopy.Active(), filter.Active());
    TramonStrings::ReloadElementNames();
    CLibMgr::Language();
  });
}

TEST(WithoutMemory, Signals) {
  EveryAllocationFails([] {
    static const CSigCurveExt full = LongNamedCurve();
    CSigCurveExt copy(full), assigned;
    assigned = full;
    Copy(static_cast<const CSigRaw&>(full));
    assigned = static_cast<const CSigCurve&>(full);
    assigned.SetNameA("a name in UTF-8 that is longer than the forty characters that are reserved");
    assigned.AppendToName(LongText());
    assigned.CopyInfo(full);
    assigned.SetExtName("another text that does not fit into a small one");
    copy.Append(full);
    copy.Resize(1000);
    copy.AddSquared(copy, 1.0f, 3);
    copy.CopyToRealData();
    copy.MakeSameSize(full);
    std::unique_ptr<CObject> made(CSigCurveExt::GetThisClass()->CreateObject());
    CMemFile file;
    if (full.WriteToFile(file, 2)) {
      file.Seek(0, CFile::begin);
      assigned.ReadFromFile(file, 2);
    }
  });
}

TEST(WithoutMemory, CurveArrays) {
  EveryAllocationFails([] {
    static const CSigCurveExt curve = LongNamedCurve();
    CSigCurveArray array;
    array.SetName(LongText());
    for (int i = 0; i < 5; ++i) array.Append(curve, static_cast<float>(i));
    if (!array.IsEmpty()) array[0].SetXMinMax(-1.0f, 1.0f);
    CSigCurveArray copy(array), part;
    CSigCurveExt section;
    copy.SectionAtX(0.3f, 50, section);
    copy.SectionAt(3.5f, section);
    copy.EnergeticMean(section);
    CSigPairs points;
    SectionAtX(copy, 0.3f, points);
    array.Part(1.0f, 3.0f, part);
    array.MakeCommonAxis();
    CVisDataGrid grid;
    VisData::Convert(copy, grid, 7);
    CMemFile file;
    if (copy.WriteToFile(file, 2)) {
      file.Seek(0, CFile::begin);
      part.ReadFromFile(file, 2);
    }
    part.TakeCurves(copy);
  });
}

TEST(WithoutMemory, Pairs) {
  EveryAllocationFails([] {
    static const CSigCurveExt curve = LongNamedCurve();
    CSigPairs pairs(curve), other(std::size_t{3});
    for (int i = 0; i < 40; ++i) other.NeuesPaarEinsortieren(static_cast<float>(i * 7 % 40) / 40, 1.0f);
    pairs |= other;
    pairs.Verrechnen(other, CSigPairs::maximum);
    pairs.DatenSortieren(true);
    pairs.Glaetten(0.1f);
    pairs = pairs + other;
    pairs.ValArray();
    CSigCurveExt drawn;
    pairs.KurveBilden(&drawn, 50);
    pairs.Append(static_cast<const CSigPairs&>(other));
    CSigPairsTm timed(pairs), copy(timed);
    timed.NeuesPaar(CTime(100), 3.0f);
    copy = timed;
    CMemFile file;
    if (pairs.WriteToFile(file, 2)) {
      file.Seek(0, CFile::begin);
      other.ReadFromFile(file, 2);
    }
    CSigPairsList list;
    list.SetName(LongText());
    for (int i = 0; i < 30; ++i) list.NeuesObjekt(&other, &file + i % 2);
    if (!list.IsEmpty()) list.InDenVorrat(list.GetHeadPosition());
    list.NeuesObjekt(4);
    list.Maximum();
    list.VerbundAllerPunkte();
    list.Intervalle();
  });
}

TEST(WithoutMemory, TypedSignals) {
  EveryAllocationFails([] {
    CDescription description;
    description.pod().xCount = 1;
    description.pod().yCount = 3;
    description.X(0).Len(50);
    CSignalieee32 signal{CTypedSignal<float>(description)};
    const CSignalieee32 copy(signal);
    CSignalieee32 part(copy, 5u), turned;
    turned.MakeTransposedOf(copy);
    std::array<CTypedSignal<float>, 3> channels;
    signal.demux(channels.data(), true);
    signal.mux(channels.data());
    signal.transmux(3u, part, 0, true);
    part = copy;
    std::array<std::byte, 4096> flat;
    if (part.length() <= flat.size()) {
      part.write(flat.data());
      turned.read(flat.data(), flat.size());
    }
  });
}

TEST(WithoutMemory, Drawings) {
  EveryAllocationFails([] {
    static const CSigCurveExt curve = LongNamedCurve();
    CVisDataVector vector;
    CVisDataIntVector integers;
    CVisDataPolygon polygon;
    CVisDataArray array;
    CVisDataGrid grid;
    VisData::Convert(curve, vector);
    VisData::Convert(curve, integers, 0.5f);
    VisData::Convert(curve, polygon);
    for (int i = 0; i < 3; ++i) {
      VisData::AppendRow(array, curve, static_cast<float>(i));
      VisData::AppendRow(grid, curve);
    }
    CVisDataVector copy(vector);
    copy.AppendToName(LongerText());
    copy = vector;
    CVisDataCollection items;
    items.SetName(LongText());
    items.Add(vector);
    items.Add(array);
    CVisDataCollection all(items);
    all = items;
    all.Statistics(CVisDataItem::AllAxes);
    vector.SetExtName(LongerText());
  });
}

}  // namespace
