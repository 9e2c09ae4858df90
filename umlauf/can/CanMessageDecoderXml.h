#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "umlauf/Export.h"
#include "umlauf/can/CanMessageDecoder.h"

/// One signal of a message description.
struct UMLAUF_API CanSignalInfo_s {
  CString message;
  CString signal;
  CString unit;
  std::uint32_t identifier = 0;  ///< of the message
  bool extended = false;         ///< 29 bits of identifier instead of 11
  bool bigEndian = false;        ///< byte order of an offset whose meaning was chosen
  bool labelled = false;         ///< some values have names
  double min = 0.0;              ///< as described; infinite where not. Values outside are not cut.
  double max = 0.0;
};

/// Decodes messages by a description in XML, in the open KCD format. Of a network definition it takes all
/// messages of all buses, or of one, with their signals: byte order, integers and floating point, slope,
/// intercept, unit, names of values, multiplexed groups. A message that comes again with the same identifier
/// and format is left out; where buses differ in what such messages say, the description is refused until a
/// bus is chosen (see SetBus).
///
///     CCanMessageDecoderXml decoder;
///     decoder.SetDecoderXmlFile(L"vehicle.kcd");
///     decoder.AppSignalBekanntmachen(7, L"EngineSpeed");
///     decoder.StartDecoderSession();
///     while (finder.FindNextMessage()) decoder.DecodeCanMessage(finder.Message());
///
/// An application signal named "Signal" gets the values of the signals of this name in every message, one
/// named "Message.Signal" those of that message. A message's identifier is the second word of its block:
/// with bit 31 set a 29-bit one, else an 11-bit one or, where none is described, a 29-bit one.
///
/// Bit 8 b + k of a message is bit k (0 = least significant) of data byte b. A little-endian signal's offset
/// is that of its least significant bit; what a big-endian one's is, SetBigEndianOffset tells.
///
/// Notes go to the log: a document that cannot be used, what was left out of one and which signals leave
/// their message (up to 20 notes, with their lines where the document is in UTF-8), and in a session
/// application signals that are not described, the first unknown identifier, and once per message that
/// described signals lie outside the data recorded. Threads and failure as the base.
class UMLAUF_API CCanMessageDecoderXml : public CCanMessageDecoderBase {
 public:
  /// What the offset of a big-endian signal is:
  enum class BigEndianOffset {
    /// that of its least significant bit, as the text of the format may be read;
    leastSignificantBit,
    /// that of its most significant bit;
    mostSignificantBit,
    /// that of its most significant bit, but counted from bit 7 of byte 0 downwards, bit 7 of byte 1 being 8:
    /// so
    /// write and read it the programs that convert descriptions into this format and back.
    mostSignificantFromTop
  };

  CCanMessageDecoderXml();
  ~CCanMessageDecoderXml() override;

  std::unique_ptr<CCanMessageDecoderBase> Create() const override;
  /// Clears the longest length, the seen flags and the count of unknown messages, and looks up the
  /// application signals: those registered later are decoded from the next session on.
  void StartDecoderSession() override;
  /// Decodes the application signals that the message holds: results in the order of the description, values
  /// in the signal's unit. Marks them as seen. Unknown messages are counted and have no results.
  unsigned DecodeCanMessage(const CanMessageBlock_s& message) override;

  /// Replaces the description; false leaves an empty one. In a session it counts from the next message on.
  /// Files up to 64 MB.
  bool SetDecoderXmlFile(const wchar_t* path) override;
  bool SetDecoderXmlText(const wchar_t* text) override;

  /// For descriptions set later; at first mostSignificantFromTop.
  void SetBigEndianOffset(BigEndianOffset meaning) { bigEndianOffset_ = meaning; }
  /// For descriptions set later: takes the messages of the bus of this name only. Empty, as at first: of all.
  void SetBus(const CString& name) { bus_ = name; }
  /// Channels of the stream that the messages come from, 1 (at first) or 2: recordings over one channel hold
  /// the data in whole groups of 4 bytes, over two channels of 8 bytes. A message's length rounded down to
  /// that counts as its data.
  void SetRecordedChannels(unsigned channels) { recordedGroup_ = channels == 2 ? 8 : 4; }

  /// The description's name for the value of a result, as "Reverse" of 3; empty where it has none, and
  /// outside the count of results. Valid until the next message.
  const CString& ResultLabel(unsigned index) const;

  /// The signals of the description, in its order.
  unsigned NumSignals() const;
  /// An empty record outside the count.
  CanSignalInfo_s Signal(unsigned index) const;
  /// Messages of the session whose identifier is not described.
  std::uint64_t NumUnknownMessages() const { return unknownMessages_; }

 private:
  struct State;

  void ClearDescription();
  bool Read(const void* bytes, std::size_t size, bool wide);
  void Bind(bool noteMissing);
  void NoteUnknown(std::uint32_t identifier);

  std::unique_ptr<State> state_;  // null without memory
  BigEndianOffset bigEndianOffset_ = BigEndianOffset::mostSignificantFromTop;
  CString bus_;
  unsigned recordedGroup_ = 4;
  std::uint64_t unknownMessages_ = 0;
};
