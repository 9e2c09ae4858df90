#include "umlauf/units/UnitPickers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "umlauf/platform/framework/UserInterface.h"
#include "units/ComboBoxConversation.h"

namespace {

using testing::ElementsAre;
using testing::Pair;
using U = CMeasuringUnit;

/// The items of a picker as text and data.
std::vector<std::pair<std::wstring, std::intptr_t>> Items(CComboBox& box) {
  std::vector<std::pair<std::wstring, std::intptr_t>> items;
  const auto count = static_cast<std::uintptr_t>(box.SendMessageW(CB_GETCOUNT));
  for (std::uintptr_t i = 0; i < count; ++i) {
    std::wstring text(static_cast<std::size_t>(box.SendMessageW(CB_GETLBTEXTLEN, i)), L' ');
    box.SendMessageW(CB_GETLBTEXT, i, text.data());
    items.emplace_back(text, box.SendMessageW(CB_GETITEMDATA, i));
  }
  return items;
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

class CQuietPicker : public CRememberingPicker {
  UMLAUF_DECLARE_MESSAGE_MAP()
};
UMLAUF_IMPLEMENT_MESSAGE_MAP(CQuietPicker, CRememberingPicker)

TEST(ComboBox, ControlOfTheApplicationServesAndNotifies) {
  struct UserInterface : CUserInterface {
    std::unique_ptr<CComboBoxControl> CreateComboBoxControl() override {
      auto made = give ? std::make_unique<CWindowlessComboBox>() : nullptr;
      control = made.get();
      return made;
    }
    bool give = true;
    CWindowlessComboBox* control = nullptr;
  } ui;
  CUserInterface::Set(&ui);
  CQuietPicker picker;
  picker.Prepare(-3);
  ASSERT_EQ(&picker.Control(), ui.control);
  ui.control->SendMessageW(CB_SETCURSEL, 9, 0);
  EXPECT_TRUE(picker.chosen.empty());  // a message is not the user
  ui.control->on_notify(CBN_SELCHANGE + 1);
  ui.control->on_notify(CBN_SELCHANGE);
  EXPECT_THAT(picker.chosen, ElementsAre(12));

  ui.give = false;
  CSiPrefixComboBox withoutControl;
  withoutControl.Prepare(3);
  EXPECT_EQ(withoutControl.Retrieve(), 3);
  CUserInterface::Set(nullptr);
}

TEST(UnitPicker, OffersTheCommonUnits) {
  CMeasuringUnitComboBox picker;
  EXPECT_TRUE(picker.IsKindOf(CComboBox::GetThisClass()));
  EXPECT_FALSE(picker.SetSelection(U(U::rpm)));  // nothing to choose from yet
  EXPECT_EQ(picker.Choice(), U(U::rpm));
  EXPECT_EQ(picker.Retrieve(), U());

  const CMeasuringUnit millivoltSquared(U::volt, -3, 2, 0.5f, U::flag_db);
  for (int twice = 0; twice < 2; ++twice) picker.Prepare(millivoltSquared);
  EXPECT_EQ(picker.Choice(), millivoltSquared);
  EXPECT_EQ(picker.Retrieve(), U(U::volt));  // of the choice only the unit itself is shown
  EXPECT_EQ(picker.Choice(), U(U::volt));

  std::map<int, CString> names{{77, L"old"}};
  CMeasuringUnitComboBox::FillIdNameMap(names);
  const auto items = Items(picker);
  ASSERT_EQ(items.size(), 31u);
  ASSERT_EQ(names.size(), 31u);
  for (std::uint32_t i = 0; i < 31; ++i) {
    EXPECT_EQ(items[i], std::pair(U::UnitString(i).str(), static_cast<std::intptr_t>(i)));
    EXPECT_EQ(names[static_cast<int>(i)], U::UnitString(i));
    EXPECT_TRUE(picker.SetSelection(U(static_cast<commonUnits>(i))));
    EXPECT_EQ(picker.Retrieve().unit(), i);
  }
  for (const std::uint32_t uncommon : {31u, 0xFFFFFFFFu}) {
    EXPECT_FALSE(picker.SetSelection(U(SMeasuringUnitPOD{uncommon})));
    EXPECT_EQ(picker.Choice().unit(), uncommon);
    EXPECT_EQ(picker.Retrieve().unit(), 30u);  // the selection stayed
  }
  picker.SendMessageW(CB_SETCURSEL, static_cast<std::uintptr_t>(-1));
  EXPECT_EQ(picker.Retrieve(), U());
}

TEST(UnitPicker, SelectsTheLastItemOfAUnit) {
  CMeasuringUnitComboBox picker;
  picker.Prepare(U());
  picker.SendMessageW(CB_ADDSTRING, 0, L"speed");
  picker.SendMessageW(CB_SETITEMDATA, 31, std::intptr_t{U::rpm});
  EXPECT_TRUE(picker.SetSelection(U(U::rpm)));
  EXPECT_EQ(picker.SendMessageW(CB_GETCURSEL), 31);
  EXPECT_EQ(picker.Retrieve(), U(U::rpm));
}

TEST(PrefixPicker, OffersThePrefixes) {
  CSiPrefixComboBox picker;
  EXPECT_FALSE(picker.SetSelection(3));
  EXPECT_EQ(picker.Choice(), 3);
  EXPECT_EQ(picker.Retrieve(), 0);

  picker.Prepare(U(U::volt, 6));
  EXPECT_EQ(picker.Retrieve(), 6);
  EXPECT_THAT(Items(picker),
              ElementsAre(Pair(L"f", -15), Pair(L"p", -12), Pair(L"n", -9), Pair(L"µ", -6), Pair(L"m", -3),
                          Pair(L"(1)", 0), Pair(L"k", 3), Pair(L"M", 6), Pair(L"G", 9), Pair(L"T", 12)));
  std::map<int, CString> names{{1, L"old"}};
  CSiPrefixComboBox::FillIdNameMap(names);
  EXPECT_THAT(names,
              ElementsAre(Pair(-15, L"f"), Pair(-12, L"p"), Pair(-9, L"n"), Pair(-6, L"µ"), Pair(-3, L"m"),
                          Pair(0, L"(1)"), Pair(3, L"k"), Pair(6, L"M"), Pair(9, L"G"), Pair(12, L"T")));

  EXPECT_FALSE(picker.SetSelection(1));
  EXPECT_EQ(picker.Choice(), 1);
  EXPECT_EQ(picker.Retrieve(), 6);
  EXPECT_TRUE(picker.SetSelection(U(U::ampere, -15)));
  CMeasuringUnit unit(U::pascal, 7, 2, 2e-5f, U::flag_db);
  picker.RetrieveExponent(unit);
  EXPECT_EQ(unit, U(U::pascal, -15, 2, 2e-5f, U::flag_db));
  picker.SendMessageW(CB_SETCURSEL, static_cast<std::uintptr_t>(-1));
  EXPECT_EQ(picker.Retrieve(), 0);
}

}  // namespace
