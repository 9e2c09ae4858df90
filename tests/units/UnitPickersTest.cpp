#include "umlauf/units/UnitPickers.h"

#include <map>

#include "support/ComboBoxConversation.h"
#include "support/Test.h"
#include "umlauf/platform/ui/UserInterface.h"

namespace {

using U = CMeasuringUnit;

/// Data and texts of a picker's items.
std::vector<std::map<int, CString>::value_type> Items(CComboBox& box) {
  std::vector<std::map<int, CString>::value_type> items;
  const auto count = static_cast<std::uintptr_t>(box.SendMessageW(CB_GETCOUNT));
  for (std::uintptr_t i = 0; i < count; ++i) {
    std::wstring text(static_cast<std::size_t>(box.SendMessageW(CB_GETLBTEXTLEN, i)), L' ');
    box.SendMessageW(CB_GETLBTEXT, i, text.data());
    items.emplace_back(static_cast<int>(box.SendMessageW(CB_GETITEMDATA, i)), text);
  }
  return items;
}

/// What both pickers do: offer `names` in their order and hold a choice that need not be among them.
template <class Picker, class Choice>
void ExpectPicks(const std::map<int, CString>& names, const Choice& there, const Choice& foreign) {
  Picker picker;
  EXPECT_FALSE(picker.SetSelection(there));  // nothing to choose from yet
  EXPECT_ALL(picker.Choice() == there, picker.Retrieve() == Choice());
  for (int twice = 0; twice < 2; ++twice) picker.Prepare(there);
  EXPECT_ALL(Items(picker) == std::vector(names.begin(), names.end()), picker.Retrieve() == there,
             !picker.SetSelection(foreign), picker.Choice() == foreign);
  EXPECT_EQ(picker.Retrieve(), there);  // the selection stayed
  EXPECT_EQ(picker.Choice(), there);
  picker.SendMessageW(CB_SETCURSEL, static_cast<std::uintptr_t>(-1));
  EXPECT_EQ(picker.Retrieve(), Choice());
  std::map<int, CString> filled{{77, L"old"}};
  Picker::FillIdNameMap(filled);
  EXPECT_EQ(filled, names);
}

TEST(ComboBox, WindowlessControlAnswersAsARealOne) {
  CWindowlessComboBox control;
  ExpectStandardAnswers(control);
}

/// Remembers what was chosen whenever its control tells of it.
class CRememberingPicker : public CSiPrefixComboBox {
  UMLAUF_DECLARE_MESSAGE_MAP()
 public:
  void OnSelectionChanged() { chosen.push_back(Retrieve()); }
  std::vector<int> chosen;
};
UMLAUF_IMPLEMENT_MESSAGE_MAP(CRememberingPicker, CSiPrefixComboBox,
                             UMLAUF_ON_NOTIFICATION(CBN_SELCHANGE, OnSelectionChanged))

TEST(ComboBox, ControlOfTheApplicationServesAndNotifies) {
  struct UserInterface : CUserInterface {
    std::unique_ptr<CComboBoxControl> CreateComboBoxControl() override {
      auto made = std::make_unique<CWindowlessComboBox>();
      control = made.get();
      return made;
    }
    CWindowlessComboBox* control = nullptr;
  } ui;
  CUserInterface::Set(&ui);
  CRememberingPicker picker;
  picker.Prepare(-3);
  CUserInterface::Set(nullptr);
  ASSERT_EQ(&picker.Control(), ui.control);
  ui.control->SendMessageW(CB_SETCURSEL, 9, 0);  // a message is not the user
  ui.control->on_notify(CBN_SELCHANGE + 1);
  ui.control->on_notify(CBN_SELCHANGE);
  EXPECT_THAT(picker.chosen, ElementsAre(12));
}

TEST(UnitPicker, OffersTheCommonUnits) {
  std::map<int, CString> names;
  for (const SCommonUnit& row : kCommonUnits) names.emplace(row.unit, row.name);
  ExpectPicks<CMeasuringUnitComboBox>(names, U(U::volt), U(commonUnits(U::kCommonUnitCount)));

  CMeasuringUnitComboBox picker;
  picker.Prepare(U(U::rpm, -3, 2, 0.5f, U::flag_db));
  EXPECT_EQ(picker.Retrieve(), U(U::rpm));  // of the choice only the unit itself is shown
  picker.SendMessageW(CB_ADDSTRING, 0, L"speed");
  picker.SendMessageW(CB_SETITEMDATA, U::kCommonUnitCount, std::intptr_t{U::rpm});
  EXPECT_TRUE(picker.SetSelection(U(U::rpm)));
  EXPECT_EQ(picker.SendMessageW(CB_GETCURSEL),
            std::intptr_t{U::kCommonUnitCount});  // the last item of the unit
}

TEST(PrefixPicker, OffersThePrefixes) {
  ExpectPicks<CSiPrefixComboBox, std::int16_t>({{-15, L"f"},
                                                {-12, L"p"},
                                                {-9, L"n"},
                                                {-6, L"µ"},
                                                {-3, L"m"},
                                                {0, L"(1)"},
                                                {3, L"k"},
                                                {6, L"M"},
                                                {9, L"G"},
                                                {12, L"T"}},
                                               6, 1);

  CSiPrefixComboBox picker;
  picker.Prepare(U(U::volt, 6));
  EXPECT_ALL(picker.Retrieve() == 6, picker.SetSelection(U(U::ampere, -15)));
  U unit(U::pascal, 7, 2, 2e-5f, U::flag_db);
  picker.RetrieveExponent(unit);
  EXPECT_EQ(unit, U(U::pascal, -15, 2, 2e-5f, U::flag_db));
}

}  // namespace
