#include "umlauf/pairs/SigPairsList.h"

#include "pairs/PlainPairs.h"
#include "support/Test.h"
#include "umlauf/platform/framework/CInvalidArgException.h"

namespace {

std::vector<const CSigPairs*> Objects(const CSigPairsList& list) {
  std::vector<const CSigPairs*> objects, backwards;
  for (POSITION p = list.GetHeadPosition(); p != nullptr;) objects.push_back(list.GetNext(p));
  for (POSITION p = list.GetTailPosition(); p != nullptr;) backwards.push_back(list.GetPrev(p));
  std::reverse(backwards.begin(), backwards.end());
  EXPECT_EQ(objects, backwards);
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
  EXPECT_EQ(list.Vorratsgroesse(), 16u);
  std::vector<const CSigPairs*> made;
  for (int i = 0; i < 17; ++i) made.push_back(list.NeuesObjekt(5));
  EXPECT_ALL(list.Vorratsgroesse() == 32u, Objects(list) == made);

  int key = 0;
  CSigPairs* const used = list.GetAt(list.GetHeadPosition());
  used->NeuesPaar(1, 2);
  used->SetName(L"x");
  used->SetYUnit(L"V");
  used->Nummer() = 4;
  used->PunktgleichheitToleranz(1);
  list.ExtDataSetzen(used, &key);
  list.InDenVorrat(list.GetHeadPosition());
  EXPECT_EQ(list.FindeObjektZuExtData(&key), nullptr);
  EXPECT_THROW(list.InDenVorrat(nullptr), CInvalidArgException);
  EXPECT_ALL(list.NeuesObjekt(3) == used, !used->Gueltig(), *used->Name() == L'\0', used->YUnit().empty(),
             used->Nummer() == 0, used->ExtData() == nullptr, used->PunktgleichheitToleranz() == -101.0f,
             used->SetzeGueltig(3));

  list.AnsEndeSetzen(made[4]);
  std::rotate(made.begin(), made.begin() + 1, made.end());
  std::rotate(made.begin() + 3, made.begin() + 4, made.end());
  EXPECT_EQ(Objects(list), made);
  list.AllesInDenVorrat();
  EXPECT_ALL(list.IstLeer(), std::find(made.begin(), made.end(), list.NeuesObjekt(0)) != made.end());
  list.AllesLoeschen();
  EXPECT_ALL(list.IstLeer(), list.NeuesObjekt(0) != nullptr, list.Vorratsgroesse() == 32);
}

TEST(SigPairsList, SignalsOfOthersStayOutOfThePool) {
  CSigPairs foreign;
  CSigPairsList list;
  const CSigPairs* const own = list.NeuesObjekt(0);
  list.ExtDataSetzen(&foreign, &list);  // not in the list
  EXPECT_EQ(list.FindeObjektZuExtData(&list), nullptr);
  list.AddTail(&foreign);
  list.ExtDataSetzen(&foreign, &list);
  EXPECT_EQ(list.FindeObjektZuExtData(&list), &foreign);
  list.InDenVorrat(list.Find(&foreign));
  list.AnsEndeSetzen(&foreign);
  EXPECT_THAT(Objects(list), ElementsAre(own));
  EXPECT_NE(list.NeuesObjekt(0), own);
}

TEST(SigPairsList, ExternalDataIndex) {
  CSigPairsList list;
  int key[2];
  CSigPairs source = Pairs({{1, 2}});
  source.SetName(L"a");
  EXPECT_EQ(list.NeuesObjekt(nullptr, &key[0]), nullptr);
  CSigPairs* const a = list.NeuesObjekt(&source, &key[0]);
  source.SetName(L"b");
  CSigPairs* const b = list.NeuesObjekt(&source, &key[0]);
  source.Nummer() = 5;
  EXPECT_ALL(PointsOf(*b) == PointsOf(source), list.FindeObjektZuExtData(&key[0]) == b,
             list.FindeObjektZuExtData(&key[0], L"a") == a, list.FindeObjektZuExtData(&key[0], *b) == b);
  EXPECT_EQ(list.FindeObjektZuExtData(&key[0], source), nullptr);  // of another number
  list.ExtDataSetzen(a, &key[1]);
  EXPECT_ALL(list.FindeObjektZuExtData(&key[1]) == a, list.FindeObjektZuExtData(&key[0]) == b);
  list.ExtDataSetzen(b, nullptr);
  EXPECT_EQ(list.FindeObjektZuExtData(&key[0]), nullptr);
  EXPECT_EQ(list.FindeObjektZuExtData(nullptr, L"b"), nullptr);
  list.AllesInDenVorrat();
  EXPECT_EQ(list.FindeObjektZuExtData(&key[1]), nullptr);
}

TEST(SigPairsList, SearchesByNameAndParameter) {
  CSigPairsList list;
  std::vector<CSigPairs*> o;
  for (const float parameter : {kNaN, 4.0f, 2.0f, 6.0f, 2.0f}) {
    o.push_back(list.NeuesObjekt(0));
    o.back()->Parameter() = parameter;
    o.back()->SetName(parameter == 2.0f ? L"Zwei" : L"x");
  }
  EXPECT_ALL(list.FindeObjekt(L"Zwei") == o[2], list.FindeObjekt(L"zwei") == nullptr,
             list.FindeObjektZu(2) == o[2], list.FindeObjektZu(kNaN) == nullptr);
  const std::pair<float, CSigPairs*> cases[] = {{6.0f, o[3]}, {5.0f, o[1]}, {3.0f, o[1]},
                                                {2.5f, o[2]}, {-9, o[2]},   {kNaN, nullptr}};
  for (const auto& [parameter, object] : cases)
    EXPECT_EQ(list.FindeObjektUngefaehr(parameter), object) << parameter;
}

TEST(SigPairsList, OrderSizeAndRange) {
  const Points up{{0, 1}, {1, 5}}, down{{1, 1}, {0, 5}}, mixed{{1, 1}, {3, 5}, {2, 0}}, one{{3, 2}};
  const Cases<std::vector<Points>, bool, std::size_t, CSignal::Range> cases = {
      {{}, true, 0, {}},
      {{up, one}, true, 2, {{0, 1}, {3, 5}}},
      {{down, one}, true, 2, {{0, 1}, {3, 5}}},
      {{down, up}, false, 2, {{0, 1}, {1, 5}}},
      {{{}, mixed}, false, 3, {{1, 0}, {3, 5}}},
      {{mixed}, false, 3, {{1, 0}, {3, 5}}}};
  for (const auto& [signals, sorted, most, range] : cases) {
    CSigPairsList list;
    Fill(list, signals);
    EXPECT_EQ(std::tuple(list.AlleSortiert(), list.MaxNPaare(), list.XMinMaxBereich()),
              std::tuple(sorted, most, range));
  }
}

TEST(SigPairsList, CommonGridAndWhatIsFormedOnIt) {
  CSigPairsList list;
  EXPECT_ALL(!list.VerbundAllerPunkte().Gueltig(), !list.Mittelwert().Gueltig());
  // The first object's tolerance is 5 % of 4 / 2.
  Fill(list, {{{0, 0}, {4, 8}}, {{6, 1}, {1.95f, 5}, {2, 5}, {2.04f, 5}}, {}, {{4.05f, 2}}});
  list.SetName(L"alle");
  list.GetAt(list.GetHeadPosition())->SetXUnit(L"s");
  EXPECT_THAT(ValuesOf(list.VerbundAllerPunkte()), ElementsAre(0, 8, 1, 5, 5, 5, 2));
  const CSigPairs grid = list.Intervalle();
  EXPECT_THAT(PointsOf(grid), ElementsAre(SPunkt{0, 0}, SPunkt{1.95f, 0}, SPunkt{4, 0}, SPunkt{6, 0}));
  EXPECT_ALL(grid.IstSortiert(), grid.XUnit().prefixstring() == L"s");
  EXPECT_STREQ(grid.Name(), L"alle");
  const float v = Pairs({{2.04f, 5}, {6, 1}}).WertBei(4);  // of the second object
  EXPECT_THAT(ValuesOf(list.Maximum()), ElementsAre(0, 5, 8, 1));
  EXPECT_THAT(ValuesOf(list.Minimum()), ElementsAre(0, 3.9f, v, 1));
  EXPECT_THAT(ValuesOf(list.Mittelwert()), ElementsAre(0, (3.9f + 5) / 2, (8 + v) / 2, 1));
  const std::vector<float> squares{0, 3.9f * 3.9f + 25, 64 + v * v, 1};
  EXPECT_THAT(ValuesOf(list.QuadratSumme()), testing::Pointwise(testing::FloatEq(), squares));
}

}  // namespace
