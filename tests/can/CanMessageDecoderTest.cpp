#include "umlauf/can/CanMessageDecoder.h"

#include <clocale>

#include "support/Test.h"
#include "umlauf/platform/basis/CSwitchResourceDefault.h"
#include "umlauf/platform/ui/UserInterface.h"

namespace {

TEST(CanMessageDecoder, KeepsApplicationSignals) {
  CCanMessageDecoderBase decoder;
  for (int id = 100; id > 0; --id) decoder.AppSignalBekanntmachen(id, L"first");
  decoder.AppSigIdSammeln(98);
  decoder.AppSigIdSammeln(1000);
  decoder.AppSignalBekanntmachen(98, L"renamed");
  EXPECT_ALL(decoder.NumAppSignals() == 100u, decoder.AppSignal(2) == L"renamed",
             decoder.AppSignalId(99) == 1, decoder.AppSignal(100) == L"", decoder.AppSignalId(100) == -1,
             decoder.AppSigIdGesehen(98), !decoder.AppSigIdGesehen(97), !decoder.AppSigIdGesehen(1000));
  decoder.AppSignalListeNeustart();
  decoder.AppSignalBekanntmachen(97, L"new");
  EXPECT_ALL(decoder.NumAppSignals() == 1u, !decoder.AppSigIdGesehen(98));
}

TEST(CanMessageDecoder, DemoPreparesResultsAndDecodesNothing) {
  const std::unique_ptr<CCanMessageDecoderBase> made = CCanMessageDecoderDemo().Create();
  auto* demo = dynamic_cast<CCanMessageDecoderDemo*>(made.get());
  ASSERT_NE(demo, nullptr);
  demo->AppSignalBekanntmachen(7, L"a");
  demo->AppSignalBekanntmachen(-3, L"b");
  demo->AppSigIdSammeln(7);
  for (const unsigned length : {8u, 200u, 3u})
    EXPECT_EQ(demo->DecodeCanMessage({0xAA000055 | length << 16, 0, {}}), 0u);
  EXPECT_EQ(demo->MaxMessageLen(), 200u);
  demo->StartDecoderSession();
  EXPECT_ALL(demo->MaxMessageLen() == 0u, !demo->AppSigIdGesehen(7));
  ASSERT_EQ(demo->NumResults(), 2u);
  EXPECT_ALL(demo->ResultId(0) == 7, demo->ResultId(1) == -3, demo->ResultValue(1) == 0.0,
             std::bit_cast<std::uint32_t>(demo->ResultFactor(1)) == 0x3EA0EA0Fu);
  demo->DecodeCanMessage({});
  EXPECT_EQ(demo->NumResults(), 0u);
}

/// Answers a dialog, and leaves another numeric locale behind when the system has one.
class Answer : public CUserInterface {
 public:
  explicit Answer(bool confirms) : confirms_(confirms) { Set(this); }
  ~Answer() override { Set(nullptr); }
  bool AskForFile(const OpenFileDialog& dialog, CString& path) override {
    shown = dialog;
    module = CSwitchResourceDefault::Module();
    path = L"/data/vehicle.xml";
    for (const char* name : {"de_DE.UTF-8", "C.UTF-8"}) {
      if (std::setlocale(LC_NUMERIC, name) != nullptr) break;
    }
    return confirms_;
  }
  OpenFileDialog shown;
  const CResourceModule* module = nullptr;

 private:
  bool confirms_;
};

TEST(CanMessageDecoder, AsksForADescription) {
  CString path = L"before";
  EXPECT_FALSE(CCanMessageDecoderBase::AskForDecoderXmlFile(path));  // no user interface
  const Cases<const wchar_t*, const wchar_t*, const wchar_t*, bool> cases = {
      {L"en", L"Load Decoder File", L"XML Files (*.xml)|*.xml|All Files (*.*)|*.*||", false},
      {L"de", L"Decoder-Datei laden", L"XML-Dateien (*.xml)|*.xml|Alle Dateien (*.*)|*.*||", true},
  };
  for (const auto& [shownIn, title, filter, confirms] : cases) {
    const CSwitchResourceDefault language{CString(shownIn)};
    const Answer answer(confirms);
    EXPECT_EQ(CCanMessageDecoderBase::AskForDecoderXmlFile(path), confirms);
    EXPECT_EQ(path, confirms ? L"/data/vehicle.xml" : L"before");
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    const OpenFileDialog& shown = answer.shown;
    EXPECT_ALL(shown.title == title, shown.filter == filter, shown.fileName == L"*.xml",
               shown.defaultExtension == L"*.xml", shown.explorerStyle, shown.resizable, shown.fileMustExist,
               shown.keepCurrentFolder);
    EXPECT_EQ(answer.module, nullptr);  // the dialog loads its own texts as before
  }
}

}  // namespace
