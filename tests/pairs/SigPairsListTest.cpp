#include "umlauf/pairs/SigPairsList.h"

#include <limits>

#include "pairs/PlainPairs.h"
#include "umlauf/platform/framework/CInvalidArgException.h"

namespace {

using testing::ElementsAre;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

std::vector<const CSigPairs*> Objects(const CSigPairsList& list) {
  std::vector<const CSigPairs*> objects;
  for (POSITION p = list.GetHeadPosition(); p != nullptr;) objects.push_back(list.GetNext(p));
  std::vector<const CSigPairs*> backwards;
  for (POSITION p = list.GetTailPosition(); p != nullptr;)
    backwards.insert(backwards.begin(), list.GetPrev(p));
  EXPECT_EQ(objects, backwards);
  EXPECT_EQ(objects.size(), list.GetCount());
  return objects;
}

void Fill(CSigPairsList& list, const std::vector<Points>& signals) {
  for (const Points& points : signals) {
    const CSigPairs signal = Pairs(points);
    list.NeuesObjekt(&signal, nullptr);
  }
}

TEST(SigPairsList, PoolHandsObjectsOutAgain) {
  CSigPairsList list;
  EXPECT_TRUE(list.IstLeer());
  EXPECT_EQ(list.Vorratsgroesse(), 16u);
  std::vector<const CSigPairs*> made;
  for (int i = 0; i < 17; ++i) made.push_back(list.NeuesObjekt(5));
  EXPECT_EQ(list.Vorratsgroesse(), 32u);
  EXPECT_EQ(Objects(list), made);
  int key = 0;
  CSigPairs* const used = list.FindeObjekt(L"");
  ASSERT_EQ(used, made[0]);
  used->NeuesPaar(1, 2);
  used->SetName(L"x");
  used->SetYUnit(L"V");
  used->Parameter() = static_cast<float>(used->Nummer() = 4);
  used->PunktgleichheitToleranz(1);
  list.ExtDataSetzen(used, &key);
  list.InDenVorrat(list.GetHeadPosition());
  EXPECT_EQ(list.FindeObjektZuExtData(&key), nullptr);
  CSigPairs* const again = list.NeuesObjekt(0);
  EXPECT_EQ(again, made[0]);
  EXPECT_TRUE(!again->Gueltig() && *again->Name() == L'\0' && again->YUnit().empty());
  EXPECT_TRUE(again->Parameter() == 0 && again->Nummer() == 0 && again->ExtData() == nullptr);
  EXPECT_EQ(again->PunktgleichheitToleranz(), -101.0f);
  std::rotate(made.begin(), made.begin() + 1, made.end());
  EXPECT_EQ(Objects(list), made);
  list.AnsEndeSetzen(made[4]);
  const CSigPairs foreign;
  list.AnsEndeSetzen(&foreign);
  EXPECT_EQ(Objects(list).back(), made[4]);
  list.AllesInDenVorrat();
  EXPECT_TRUE(list.IstLeer());
  const CSigPairs* const first = list.NeuesObjekt(0);
  EXPECT_NE(std::find(made.begin(), made.end(), first), made.end());
  list.AllesLoeschen();
  EXPECT_TRUE(list.IstLeer());
  EXPECT_NE(list.NeuesObjekt(0), nullptr);
  EXPECT_EQ(list.Vorratsgroesse(), 32u);
}

TEST(SigPairsList, NullPositionsThrow) {
  CSigPairsList list;
  POSITION none = nullptr;
  EXPECT_THROW(list.InDenVorrat(none), CInvalidArgException);
  EXPECT_THROW(list.GetAt(none), std::invalid_argument);
  EXPECT_THROW(list.GetNext(none), CInvalidArgException);
  EXPECT_THROW(list.GetPrev(none), CInvalidArgException);
}

TEST(SigPairsList, ExternalDataIndex) {
  CSigPairsList list;
  int key[3];
  CSigPairs source = Pairs({{1, 2}});
  source.SetName(L"a");
  EXPECT_EQ(list.NeuesObjekt(nullptr, &key[0]), nullptr);
  CSigPairs* const a = list.NeuesObjekt(&source, &key[0]);
  source.SetName(L"b");
  source.Nummer() = 5;
  CSigPairs* const b = list.NeuesObjekt(&source, &key[0]);
  EXPECT_EQ(PointsOf(*b), PointsOf(source));
  EXPECT_EQ(b->ExtData(), &key[0]);
  EXPECT_EQ(list.FindeObjektZuExtData(&key[0]), b);
  EXPECT_EQ(list.FindeObjektZuExtData(&key[0], L"a"), a);
  EXPECT_EQ(list.FindeObjektZuExtData(&key[0], source), b);
  EXPECT_EQ(list.FindeObjektZuExtData(&key[1], source), nullptr);
  EXPECT_EQ(list.FindeObjektZuExtData(nullptr), nullptr);
  list.ExtDataSetzen(a, &key[1]);
  EXPECT_EQ(list.FindeObjektZuExtData(&key[1]), a);
  EXPECT_EQ(list.FindeObjektZuExtData(&key[0]), b);
  list.ExtDataSetzen(b, nullptr);
  EXPECT_EQ(list.FindeObjektZuExtData(&key[0]), nullptr);
  list.ExtDataSetzen(&source, &key[2]);  // not in the list
  list.ExtDataSetzen(nullptr, &key[2]);
  EXPECT_EQ(list.FindeObjektZuExtData(&key[2]), nullptr);
  list.AllesInDenVorrat();
  EXPECT_EQ(list.FindeObjektZuExtData(&key[1]), nullptr);
}

TEST(SigPairsList, SearchesByNameAndParameter) {
  CSigPairsList list;
  EXPECT_EQ(list.FindeObjektUngefaehr(1), nullptr);
  std::vector<CSigPairs*> o;
  for (const float parameter : {kNaN, 4.0f, 2.0f, 6.0f, 2.0f}) {
    o.push_back(list.NeuesObjekt(0));
    o.back()->Parameter() = parameter;
    o.back()->SetName(parameter == 2.0f ? L"Zwei" : L"x");
  }
  EXPECT_EQ(list.FindeObjekt(L"Zwei"), o[2]);
  EXPECT_EQ(list.FindeObjekt(L"zwei"), nullptr);
  EXPECT_EQ(list.FindeObjektZu(2), o[2]);
  EXPECT_EQ(list.FindeObjektZu(kNaN), nullptr);
  const std::pair<float, CSigPairs*> cases[] = {{6.0f, o[3]}, {5.0f, o[1]}, {3.0f, o[1]},
                                                {2.5f, o[2]}, {-9, o[2]},   {kNaN, nullptr}};
  for (const auto& [parameter, object] : cases)
    EXPECT_EQ(list.FindeObjektUngefaehr(parameter), object) << parameter;
}

TEST(SigPairsList, OrderSizeAndRange) {
  const struct {
    std::vector<Points> signals;
    bool sorted;
    std::size_t most;
    CSignal::Range range;
  } cases[] = {{{}, true, 0, {}},
               {{{{0, 1}, {1, 5}}, {{3, 2}}}, true, 2, {{0, 1}, {3, 5}}},
               {{{{1, 1}, {0, 5}}, {{3, 2}}}, true, 2, {{0, 1}, {3, 5}}},
               {{{{1, 1}, {0, 5}}, {{3, 2}, {4, 2}}}, false, 2, {{0, 1}, {4, 5}}},
               {{{}, {{1, 1}, {3, 5}, {2, 0}}}, false, 3, {{1, 0}, {3, 5}}},
               {{{{1, 1}, {3, 5}, {2, 0}}}, false, 3, {{1, 0}, {3, 5}}}};
  for (const auto& c : cases) {
    CSigPairsList list;
    Fill(list, c.signals);
    EXPECT_EQ(list.AlleSortiert(), c.sorted);
    EXPECT_EQ(list.MaxNPaare(), c.most);
    EXPECT_EQ(list.XMinMaxBereich(), c.range);
  }
}

TEST(SigPairsList, CommonGridAndWhatIsFormedOnIt) {
  CSigPairsList list;
  EXPECT_FALSE(list.VerbundAllerPunkte().Gueltig());
  EXPECT_FALSE(list.Mittelwert().Gueltig());
  // The first object's tolerance is 5 % of 4 / 2.
  Fill(list, {{{0, 0}, {4, 8}}, {{6, 1}, {1.95f, 5}, {2, 5}, {2.04f, 5}}, {}, {{4.05f, 2}}});
  list.SetName(L"alle");
  list.FindeObjekt(L"")->SetXUnit(L"s");
  EXPECT_THAT(PointsOf(list.VerbundAllerPunkte()),
              ElementsAre(SPunkt{0, 0}, SPunkt{4, 8}, SPunkt{6, 1}, SPunkt{1.95f, 5}, SPunkt{2, 5},
                          SPunkt{2.04f, 5}, SPunkt{4.05f, 2}));
  const CSigPairs grid = list.Intervalle();
  EXPECT_THAT(PointsOf(grid), ElementsAre(SPunkt{0, 0}, SPunkt{1.95f, 0}, SPunkt{4, 0}, SPunkt{6, 0}));
  EXPECT_TRUE(grid.IstSortiert());
  EXPECT_STREQ(grid.Name(), L"alle");
  EXPECT_EQ(grid.XUnit().prefixstring(), L"s");
  const float v = Pairs({{2.04f, 5}, {6, 1}}).WertBei(4);  // of the second object
  EXPECT_THAT(PointsOf(list.Maximum()),
              ElementsAre(SPunkt{0, 0}, SPunkt{1.95f, 5}, SPunkt{4, 8}, SPunkt{6, 1}));
  EXPECT_THAT(PointsOf(list.Minimum()),
              ElementsAre(SPunkt{0, 0}, SPunkt{1.95f, 3.9f}, SPunkt{4, v}, SPunkt{6, 1}));
  EXPECT_FLOAT_EQ(list.Mittelwert().Wert(1), (3.9f + 5) / 2);
  EXPECT_FLOAT_EQ(list.Mittelwert().Wert(3), 1.0f);
  EXPECT_FLOAT_EQ(list.QuadratSumme().Wert(1), 3.9f * 3.9f + 25);
  EXPECT_FLOAT_EQ(list.QuadratSumme().Wert(2), 64 + v * v);
}

}  // namespace
