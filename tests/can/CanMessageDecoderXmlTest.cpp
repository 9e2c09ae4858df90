#include "umlauf/can/CanMessageDecoderXml.h"

#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>

#include "support/Test.h"
#include "umlauf/platform/framework/CFile.h"
#include "umlauf/platform/tramsea/PrWin.h"

namespace {

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
  constexpr auto msb = Decoder::BigEndianOffset::mostSignificantBit;
  constexpr auto top = Decoder::BigEndianOffset::mostSignificantFromTop;
  const struct {
    std::wstring place, value;
    Bytes data;
    double expected;
    Decoder::BigEndianOffset offset = Decoder::BigEndianOffset::leastSignificantBit;
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
      {L"offset='3' length='12'" + big, L"", a, 0x234, msb},
      {L"offset='15' length='4'" + big, L"", a, 3, msb},
      {L"offset='7' length='64'" + big, L"", a, 1311768467463790320.0, msb},
      {L"offset='8' length='8'", L"", a, 0x34, msb},
      {L"offset='4' length='12'" + big, L"", a, 0x234, top},
      {L"offset='0' length='64'" + big, L"", a, 1311768467463790320.0, top},
      {L"offset='8' length='8'", L"", a, 0x34, top},
      {L"offset='8' length='16' endianess='BIG'", L"", a, 0x3456, top},
      {L"offset='8' length='16' endianness=' Big '", L"", a, 0x3456, top},
  };
  for (const auto& c : cases) {
    Decoder decoder;
    decoder.SetBigEndianOffset(c.offset);
    decoder.AppSignalBekanntmachen(42, L"S");
    ASSERT_TRUE(decoder.SetDecoderXmlText(Network(L"<Message id='0x7FF'><Signal name='S' " + c.place +
                                                  L"><Value " + c.value + L"/></Signal></Message>")
                                              .c_str()));
    EXPECT_THAT(Decode(decoder, 0x7FF, c.data), ElementsAre(std::pair(42, c.expected)))
        << CString(c.place).ToUtf8() << " " << CString(c.value).ToUtf8();
  }
}

/// Fields of a line.
std::vector<std::string> Fields(const std::string& line) {
  std::vector<std::string> fields;
  std::istringstream stream(line + ",");
  for (std::string field; std::getline(stream, field, ',');) fields.push_back(field);
  return fields;
}

/// Values that the programs which convert descriptions read from a description that one of them has written
/// (data/make_reference.py).
TEST(CanMessageDecoderXml, ReadsConvertedDescriptionsAsConvertersDo) {
  Decoder decoder;
  Notes notes;
  ASSERT_TRUE(decoder.SetDecoderXmlFile(CString(UMLAUF_TEST_DATA "/data/vehicle.kcd")));
  std::map<std::string, int> ids;
  for (unsigned i = 0; i < decoder.NumSignals(); ++i) {
    const CString name = decoder.Signal(i).message + L"." + decoder.Signal(i).signal;
    if (ids.emplace(name.ToUtf8(), static_cast<int>(ids.size())).second)
      decoder.AppSignalBekanntmachen(ids.at(name.ToUtf8()), name);
  }
  decoder.StartDecoderSession();
  std::ifstream lines(UMLAUF_TEST_DATA "/data/vehicle.csv");
  std::size_t compared = 0;
  for (std::string line; std::getline(lines, line); ++compared) {
    const std::vector<std::string> fields = Fields(line);
    Bytes data;
    for (std::size_t i = 0; i < fields[1].size(); i += 2)
      data.push_back(static_cast<std::uint8_t>(std::stoul(fields[1].substr(i, 2), nullptr, 16)));
    const Results results = Decode(decoder, static_cast<std::uint32_t>(std::stoul(fields[0])), data);
    const auto result = std::find_if(results.begin(), results.end(), [&](const auto& each) {
      return each.first == ids.at(fields[2] + "." + fields[3]);
    });
    ASSERT_NE(result, results.end()) << line;
    EXPECT_THAT(result->second, testing::NanSensitiveDoubleEq(std::stod(fields[4]))) << line;
    EXPECT_EQ(decoder.ResultLabel(static_cast<unsigned>(result - results.begin())).ToUtf8(),
              fields.size() > 5 ? fields[5] : "")
        << line;
  }
  EXPECT_GT(compared, 500u);
  EXPECT_THAT(notes.told, IsEmpty());
}

TEST(CanMessageDecoderXml, NamesValues) {
  Decoder decoder;
  decoder.AppSignalBekanntmachen(1, L"S");
  ASSERT_TRUE(decoder.SetDecoderXmlText(
      Network(
          L"<Message id='1'><Signal name='S' offset='0' length='8'><Value type='signed' slope='2'/><LabelSet>"
          L"<Label name='reverse' value='-1'/><LabelGroup name='forward' from='1' to='5'/></LabelSet>"
          L"</Signal></Message>")
          .c_str()));
  for (const auto& [byte, label] :
       {std::pair(0xFF, "reverse"), {0, ""}, {1, "forward"}, {5, "forward"}, {6, ""}}) {
    ASSERT_EQ(Decode(decoder, 1, {static_cast<std::uint8_t>(byte), 0, 0, 0}).size(), 1u);
    EXPECT_ALL(decoder.ResultLabel(0).ToUtf8() == label, decoder.ResultLabel(1) == L"");
  }
}

TEST(CanMessageDecoderXml, AsksForABusWhereBusesContradict) {
  const auto bus = [](const wchar_t* name, const wchar_t* offset) {
    return std::wstring(L"<Bus name='") + name +
           L"'><Message name='M' id='1'><Signal name='S' length='8' offset='" + offset +
           L"'/></Message></Bus>";
  };
  const auto network = [](const std::wstring& buses) {
    return L"<NetworkDefinition>" + buses + L"</NetworkDefinition>";
  };
  const std::wstring differ = network(bus(L"front", L"0") + bus(L"rear", L"8"));
  // Value 0: refused.
  const Cases<std::wstring, std::wstring, double> cases = {
      {differ, L"", 0},
      {differ, L"middle", 0},
      {differ, L"front", 5},
      {differ, L"rear", 6},
      {network(bus(L"front", L"8") + bus(L"rear", L"8")), L"", 6}};
  for (const auto& [text, wantedBus, value] : cases) {
    Decoder decoder;
    decoder.AppSignalBekanntmachen(1, L"S");
    decoder.SetBus(wantedBus);
    Notes notes;
    EXPECT_EQ(decoder.SetDecoderXmlText(text.c_str()), value > 0);
    if (value > 0) {
      EXPECT_THAT(Decode(decoder, 1, {5, 6, 7, 8}), ElementsAre(std::pair(1, value)));
    } else {
      EXPECT_THAT(notes.told, ElementsAre(HasSubstr("buses")));
      EXPECT_THAT(notes.told, ElementsAre(HasSubstr("front, rear")));
    }
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
  const Cases<std::uint32_t, Bytes, Results> cases = {
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
  for (const auto& [identifier, data, expected] : cases)
    EXPECT_EQ(Decode(decoder, identifier, data), expected) << identifier;
  EXPECT_ALL(decoder.NumUnknownMessages() == 2u, decoder.AppSigIdGesehen(4), decoder.MaxMessageLen() == 8u);
  decoder.StartDecoderSession();
  EXPECT_FALSE(decoder.AppSigIdGesehen(4));
  ASSERT_EQ(decoder.NumSignals(), 10u);
  const CanSignalInfo_s front = decoder.Signal(0), page = decoder.Signal(3);
  EXPECT_EQ(front.message + L"." + front.signal + L" " + front.unit, CString(L"Wheels.Front km/h"));
  EXPECT_ALL(front.identifier == 0x20, !front.extended, front.min == 0, front.max == 250);
  EXPECT_ALL(page.identifier == 0x18FF0001, page.extended, std::isinf(page.max));
  EXPECT_EQ(decoder.Signal(10).signal, L"");
}

TEST(CanMessageDecoderXml, SkipsSignalsOutsideTheDataAndSaysSoOnce) {
  Decoder decoder;
  for (const wchar_t* name : {L"Front", L"Rear", L"A", L"Missing"})
    decoder.AppSignalBekanntmachen(static_cast<int>(decoder.NumAppSignals()), name);
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
  EXPECT_ALL(Decode(decoder, 0x20, Bytes(8)).size() == 2u, Decode(decoder, 0x20, Bytes(64)).size() == 2u);
}

TEST(CanMessageDecoderXml, LeavesOutWhatItCannotUse) {
  const std::wstring good = L"<Message name='G' id='9'><Signal name='S' offset='0' length='8'/></Message>";
  const auto in = [](const std::wstring& content) {
    return L"<Message name='B' id='1'>" + content + L"</Message>";
  };
  const Cases<std::wstring, const char*> cases = {
      {L"<Message name='B' id='0x800'/>", "message B left out, identifier \"0x800\""},
      {L"<Message name='B' id='0x20000000' format='extended'/>", "left out, identifier"},
      {L"<Message name='B' id='12z'/>", "left out, identifier"},
      {L"<Message name='B'/>", "left out, identifier"},
      {good, "message G left out, another one has its identifier 0x9"},
      {in(L"<Signal name='S'/>"), "signal S of message B left out, its place"},
      {in(L"\n\n<Signal name='S'\n offset='a'/>"),
       "line 3: signal S of message B left out, its offset \"a\""},
      {in(L"<Signal offset='0' length='65'/>"), "place"},
      {in(L"<Signal offset='505' length='8'/>"), "place"},
      {in(L"<Signal offset='18446744073709551615' length='2'/>"), "place"},
      {in(L"<Signal offset='510' length='8' endianess='big'/>"), "place"},
      {in(L"<Signal offset='1' endianess='middle'/>"), "endianess \"middle\""},
      {in(L"<Signal offset='1'><Value slope='0,5'/></Signal>"), "slope \"0,5\""},
      {in(L"<Signal offset='1'><Value intercept='nan'/></Signal>"), "intercept \"nan\""},
      {in(L"<Signal offset='1' length='31'><Value type='single'/></Signal>"), "type \"single\""},
      {in(L"<Multiplex offset='x'><MuxGroup count='1'/></Multiplex>"), "offset \"x\""},
      {in(L"<Signal offset='1'><LabelSet><Label name='l' value='x'/></LabelSet></Signal>"), "label \"l\""},
      {L"<Message name='B' id='1' length='2'><Signal name='T' offset='9' length='8'/></Message>",
       "signal T leaves the 2 bytes of message B"},
      {in(L"<Multiplex offset='1'><MuxGroup/></Multiplex>"), "has no count"},
  };
  for (const auto& [bad, note] : cases) {
    Decoder decoder;
    decoder.AppSignalBekanntmachen(1, L"S");
    Notes notes;
    EXPECT_TRUE(decoder.SetDecoderXmlText(Network(good + bad).c_str()));
    EXPECT_THAT(notes.told, ElementsAre(HasSubstr(note))) << CString(bad).ToUtf8();
    EXPECT_THAT(Decode(decoder, 9, {7, 0, 0, 0}), ElementsAre(std::pair(1, 7.0)));
  }
  std::wstring many;
  for (int i = 0; i < 1000; ++i) many += L"<Message/>";
  Notes notes;
  EXPECT_ALL(Decoder().SetDecoderXmlText(Network(many).c_str()), notes.told.size() == 21u);
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
  EXPECT_ALL(!decoder.SetDecoderXmlFile(path), !decoder.SetDecoderXmlFile(nullptr));
}

}  // namespace
