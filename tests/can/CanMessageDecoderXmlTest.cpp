#include "umlauf/can/CanMessageDecoderXml.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "umlauf/platform/framework/CFile.h"
#include "umlauf/platform/tramsea/PrWin.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Decoder = CCanMessageDecoderXml;
using Bytes = std::vector<std::uint8_t>;

/// The notes of the log while it lives, as UTF-8.
class Notes {
 public:
  Notes() {
    before_ = PrWin::SetSink([this](int, int, const CString& text) { told.push_back(text.ToUtf8()); });
  }
  ~Notes() { PrWin::SetSink(before_); }
  std::vector<std::string> told;

 private:
  PrWin::Sink before_;
};

std::wstring Network(const std::wstring& messages) {
  return L"<NetworkDefinition><Document/><Bus name='Motor'>" + messages + L"</Bus></NetworkDefinition>";
}

CanMessageBlock_s Message(std::uint32_t identifier, const Bytes& data) {
  CanMessageBlock_s message{0xAA000055u | static_cast<std::uint32_t>(data.size()) << 16, identifier, {}};
  std::copy(data.begin(), data.end(), message.data);
  return message;
}

using Results = std::vector<std::pair<int, double>>;

Results Decode(Decoder& decoder, std::uint32_t identifier, const Bytes& data) {
  Results results(decoder.DecodeCanMessage(Message(identifier, data)));
  for (unsigned i = 0; i < results.size(); ++i) results[i] = {decoder.ResultId(i), decoder.ResultValue(i)};
  return results;
}

TEST(CanMessageDecoderXml, DecodesBits) {
  const Bytes a{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0};
  const Bytes little10{0, 0, 0x20, 0x41}, big10{0xC1, 0x20, 0, 0}, double10{0, 0, 0, 0, 0, 0, 0x24, 0xC0};
  const std::wstring big = L" endianess='big'";
  const struct {
    std::wstring place, value;
    Bytes data;
    double expected;
    bool offsetIsMostSignificant = false;
  } cases[] = {
      {L"offset='0' length='16'", L"slope='0.25' intercept='-40'", a, 0x3412 * 0.25 - 40},
      {L"offset='4' length='12' endianess='little'", L"type='unsigned'", a, 0x341},
      {L"offset='7' length='13'", L"", a, 3176},
      {L"offset='1'", L"", a, 1},
      {L"offset='1'", L"type='signed'", a, -1},
      {L"offset='32' length='8'", L"type='signed'", a, -102},
      {L"offset='0' length='64'", L"", a, 17356517385562371090.0},
      {L"offset='0' length='64'", L"type='signed'", a, -1090226688147180526.0},
      {L"offset='8' length='16'" + big, L"", a, 0x1234},
      {L"offset='20' length='16'" + big, L"slope='2'", a, 0x2345 * 2},
      {L"offset='44' length='4'" + big, L"type='signed'", a, -5},
      {L"offset='56' length='64'" + big, L"", a, 1311768467463790320.0},
      {L"offset='60' length='57'" + big, L"", a, 81985529216486895.0},
      {L"offset='0' length='32'", L"type='single'", little10, 10},
      {L"offset='24' length='32'" + big, L"type='single' slope='0.5' intercept='1'", big10, -4},
      {L"offset='0' length='64'", L"type='double'", double10, -10},
      {L"offset=' 0x08 ' length='8'", L"slope=' +1.5e1 '", a, 0x34 * 15},
      {L"offset='3' length='12'" + big, L"", a, 0x234, true},
      {L"offset='15' length='4'" + big, L"", a, 3, true},
      {L"offset='7' length='64'" + big, L"", a, 1311768467463790320.0, true},
      {L"offset='8' length='8'", L"", a, 0x34, true},
  };
  for (const auto& c : cases) {
    Decoder decoder;
    if (c.offsetIsMostSignificant) decoder.SetBigEndianOffset(Decoder::BigEndianOffset::mostSignificantBit);
    decoder.AppSignalBekanntmachen(42, L"S");
    ASSERT_TRUE(decoder.SetDecoderXmlText(Network(L"<Message id='0x7FF'><Signal name='S' " + c.place +
                                                  L"><Value " + c.value + L"/></Signal></Message>")
                                              .c_str()));
    EXPECT_THAT(Decode(decoder, 0x7FF, c.data), ElementsAre(std::pair(42, c.expected)))
        << CString(c.place).ToUtf8() << " " << CString(c.value).ToUtf8();
  }
}

const std::wstring kVehicle = Network(
    L"<Message name='Wheels' id='0x20' length='4'>"
    L"<Signal name='Front' offset='0' length='8'><Value unit='km/h' min='0' max='250'/></Signal>"
    L"<Signal name='Rear' offset='16' length='8'/></Message>"
    L"<Message name='Far' id='32' format='extended'><Signal name='Front' offset='8' length='8'/></Message>"
    L"<k:Message name='Pages' id='0x18FF0001' format='extended'>"
    L"<k:Multiplex name='Page' offset='0' length='2'>"
    L"<k:MuxGroup count='0'><k:Signal name='A' offset='8' length='8'/></k:MuxGroup>"
    L"<k:MuxGroup count='2'><k:Signal name='B' offset='8' length='8'><k:Value type='signed'/></k:Signal>"
    L"<k:Signal name='A' offset='16' length='8'/></k:MuxGroup></k:Multiplex></k:Message>"
    L"<Message name='Late' id='4'><Multiplex name='Last' offset='32' length='8'>"
    L"<MuxGroup count='0'><Signal name='C' offset='0' length='8'/></MuxGroup></Multiplex></Message>"
    L"<Message name='Grüße' id='3'><Signal name='Größe' offset='0'/></Message>");

TEST(CanMessageDecoderXml, FindsMessagesAndSignalsByName) {
  Decoder decoder;
  const char* names[] = {"Front", "Wheels.Front", "Far.Front", "A", "B", "Page", "Größe", "C"};
  for (int i = 0; i < 8; ++i) decoder.AppSignalBekanntmachen(i, CString(names[i]));
  ASSERT_TRUE(decoder.SetDecoderXmlText(kVehicle.c_str()));
  decoder.StartDecoderSession();
  const struct {
    std::uint32_t identifier;
    Bytes data;
    Results expected;
  } cases[] = {
      {0x20, {9, 8, 7, 6}, {{0, 9.0}, {1, 9.0}}},
      {0x80000020, {9, 8, 7, 6}, {{0, 8.0}, {2, 8.0}}},
      {0x18FF0001, {0xFC, 5, 6, 0}, {{5, 0.0}, {3, 5.0}}},
      {0x98FF0001, {2, 0xFF, 6, 0}, {{5, 2.0}, {4, -1.0}, {3, 6.0}}},
      {0x18FF0001, {1, 5, 6, 0}, {{5, 1.0}}},
      {3, {1, 0, 0, 0}, {{6, 1.0}}},
      {4, {5, 0, 0, 0, 0, 0, 0, 0}, {{7, 5.0}}},
      {4, {5, 0, 0, 0}, {}},  // whether C is there was not recorded
      {0x21, {9, 8, 7, 6}, {}},
      {0x40000020, {9, 8, 7, 6}, {}},
  };
  for (const auto& c : cases) EXPECT_EQ(Decode(decoder, c.identifier, c.data), c.expected) << c.identifier;
  EXPECT_EQ(decoder.NumUnknownMessages(), 2u);
  EXPECT_TRUE(decoder.AppSigIdGesehen(4));
  EXPECT_EQ(decoder.MaxMessageLen(), 8u);
  decoder.StartDecoderSession();
  EXPECT_FALSE(decoder.AppSigIdGesehen(4));
  ASSERT_EQ(decoder.NumSignals(), 10u);
  const CanSignalInfo_s front = decoder.Signal(0), page = decoder.Signal(3);
  EXPECT_EQ(front.message + L"." + front.signal + L" " + front.unit, CString(L"Wheels.Front km/h"));
  EXPECT_TRUE(front.identifier == 0x20 && !front.extended && front.min == 0 && front.max == 250);
  EXPECT_TRUE(page.identifier == 0x18FF0001 && page.extended && std::isinf(page.max));
  EXPECT_EQ(decoder.Signal(10).signal, L"");
}

TEST(CanMessageDecoderXml, SkipsSignalsOutsideTheDataAndSaysSoOnce) {
  Decoder decoder;
  for (const wchar_t* name : {L"Front", L"Rear", L"A", L"Missing"}) {
    decoder.AppSignalBekanntmachen(static_cast<int>(decoder.NumAppSignals()), name);
  }
  decoder.SetDecoderXmlText(kVehicle.c_str());
  Notes notes;
  decoder.StartDecoderSession();
  EXPECT_THAT(notes.told, ElementsAre(HasSubstr("no signal \"Missing\"")));
  for (int i = 0; i < 3; ++i) {
    EXPECT_THAT(Decode(decoder, 0x20, {1, 2, 3}), IsEmpty()) << "of 3 bytes none is recorded";
    EXPECT_THAT(Decode(decoder, 0x20, {1, 2, 3, 4, 5, 6}), ElementsAre(std::pair(0, 1.0), std::pair(1, 3.0)));
    EXPECT_THAT(Decode(decoder, 0x999, {1, 2, 3, 4}), IsEmpty());
  }
  EXPECT_THAT(notes.told, ElementsAre(testing::_, HasSubstr("Wheels (0x20): signal Front lies outside the 0"),
                                      HasSubstr("identifier 0x999")));
  decoder.SetRecordedChannels(2);
  EXPECT_THAT(Decode(decoder, 0x20, {1, 2, 3, 4, 5, 6}), IsEmpty());
  EXPECT_EQ(Decode(decoder, 0x20, Bytes(8)).size(), 2u);
  EXPECT_EQ(Decode(decoder, 0x20, Bytes(64)).size(), 2u);
}

TEST(CanMessageDecoderXml, LeavesOutWhatItCannotUse) {
  const std::wstring good = L"<Message name='G' id='9'><Signal name='S' offset='0' length='8'/></Message>";
  const auto in = [](const std::wstring& content) {
    return L"<Message name='B' id='1'>" + content + L"</Message>";
  };
  const struct {
    std::wstring bad;
    const char* note;
  } cases[] = {
      {L"<Message name='B' id='0x800'/>", "message B left out, identifier \"0x800\""},
      {L"<Message name='B' id='0x20000000' format='extended'/>", "left out, identifier"},
      {L"<Message name='B' id='12z'/>", "left out, identifier"},
      {L"<Message name='B'/>", "left out, identifier"},
      {good, "message G left out, another one has its identifier 0x9"},
      {in(L"<Signal name='S'/>"), "signal S of message B left out, its place"},
      {in(L"<Signal offset='0' length='65'/>"), "place"},
      {in(L"<Signal offset='505' length='8'/>"), "place"},
      {in(L"<Signal offset='18446744073709551615' length='2'/>"), "place"},
      {in(L"<Signal offset='1' length='8' endianess='big'/>"), "place"},
      {in(L"<Signal offset='1' endianess='middle'/>"), "place"},
      {in(L"<Signal offset='1'><Value slope='0,5'/></Signal>"), "value"},
      {in(L"<Signal offset='1'><Value intercept='nan'/></Signal>"), "value"},
      {in(L"<Signal offset='1' length='31'><Value type='single'/></Signal>"), "value"},
      {in(L"<Multiplex offset='x'><MuxGroup count='1'/></Multiplex>"), "place"},
      {in(L"<Multiplex offset='1'><MuxGroup/></Multiplex>"), "has no count"},
  };
  for (const auto& c : cases) {
    Decoder decoder;
    decoder.AppSignalBekanntmachen(1, L"S");
    Notes notes;
    EXPECT_TRUE(decoder.SetDecoderXmlText(Network(good + c.bad).c_str()));
    EXPECT_THAT(notes.told, ElementsAre(HasSubstr(c.note))) << CString(c.bad).ToUtf8();
    EXPECT_THAT(Decode(decoder, 9, {7, 0, 0, 0}), ElementsAre(std::pair(1, 7.0)));
  }
  std::wstring many;
  for (int i = 0; i < 1000; ++i) many += L"<Message/>";
  Notes notes;
  EXPECT_TRUE(Decoder().SetDecoderXmlText(Network(many).c_str()));
  EXPECT_EQ(notes.told.size(), 21u);
}

TEST(CanMessageDecoderXml, StaysUsableAfterDocumentsThatAreNone) {
  Decoder decoder;
  decoder.AppSignalBekanntmachen(1, L"Rear");
  const CString path = CString(testing::TempDir().c_str()) + L"can-description.xml";
  const std::string bytes = CString(kVehicle).ToUtf8();
  CFile(path, CFile::modeWrite | CFile::modeCreate).Write(bytes.data(), bytes.size());
  for (const wchar_t* text : {L"", L"<", L"<NetworkDefinition>", L"no XML", L"<Buses/>", L"<a/><b",
                              static_cast<const wchar_t*>(nullptr)}) {
    ASSERT_TRUE(decoder.SetDecoderXmlFile(path));
    EXPECT_THAT(Decode(decoder, 0x20, {1, 2, 3, 4}), ElementsAre(std::pair(1, 3.0)));
    Notes notes;
    EXPECT_FALSE(decoder.SetDecoderXmlText(text));
    EXPECT_EQ(notes.told.size(), 1u) << CString(text).ToUtf8();
    EXPECT_EQ(decoder.NumSignals(), 0u);
    EXPECT_THAT(Decode(decoder, 0x20, {1, 2, 3, 4}), IsEmpty());
    decoder.StartDecoderSession();
  }
  std::remove(path.ToUtf8().c_str());
  EXPECT_FALSE(decoder.SetDecoderXmlFile(path));
  EXPECT_FALSE(decoder.SetDecoderXmlFile(nullptr));
}

}  // namespace
