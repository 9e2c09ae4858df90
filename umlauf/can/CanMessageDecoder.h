#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/can/CanMessage.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/platform/framework/Types.h"

/// Turns CAN messages into values of application signals. The application registers the signals that it
/// wants, by id and name; each message decoded gives results: ids of such signals and their values. This base
/// decodes nothing; decoders derive from it.
///
/// One object is used by one thread at a time. Nothing throws; where memory runs out, lists stay as they were
/// and the log tells so.
class UMLAUF_API CCanMessageDecoderBase {
 public:
  CCanMessageDecoderBase() = default;
  virtual ~CCanMessageDecoderBase() = default;
  CCanMessageDecoderBase(const CCanMessageDecoderBase&) = delete;
  CCanMessageDecoderBase& operator=(const CCanMessageDecoderBase&) = delete;

  /// A new decoder of the same class in its first state; null when there is none to make (as in the base) or
  /// no memory.
  virtual std::unique_ptr<CCanMessageDecoderBase> Create() const { return nullptr; }
  /// Call before the first message, once the application signals are registered.
  virtual void StartDecoderSession() {}
  /// Decodes a message; returns the number of results. The base has none and only keeps the longest length.
  virtual unsigned DecodeCanMessage(const CanMessageBlock_s& message);
  virtual void EndDecoderSession() {}
  /// Lets the user edit the decoder's settings, if it has any.
  virtual void CallDecoderSettings() {}
  /// Tells the decoder which window to notify, by a message and an id of the application's choice.
  virtual void RegisterWindowsCallback(HWND window, unsigned message, unsigned id);
  /// Sets the message description, from a file or as text. False when the decoder takes none (as the base)
  /// or cannot use it.
  virtual bool SetDecoderXmlFile(const wchar_t* path);
  virtual bool SetDecoderXmlText(const wchar_t* text);

  /// Empties the list of application signals.
  void AppSignalListeNeustart();
  /// Makes an application signal known: renames the one with this id, else appends one.
  void AppSignalBekanntmachen(int id, const CString& name);
  unsigned NumAppSignals() const { return static_cast<unsigned>(appSignals_.size()); }
  /// Name and id at a place in the list; an empty name and -1 outside it.
  const CString& AppSignal(unsigned index) const;
  int AppSignalId(unsigned index) const;
  /// Marks the signal with this id as seen in the stream; an unknown id is ignored.
  void AppSigIdSammeln(int id);
  /// Whether it was seen; false for an unknown id.
  bool AppSigIdGesehen(int id) const;

  /// The results of the last message decoded; 0 outside the count.
  unsigned NumResults() const { return numResults_; }
  int ResultId(unsigned index) const { return index < numResults_ ? results_[index].id : 0; }
  double ResultValue(unsigned index) const { return index < numResults_ ? results_[index].value : 0.0; }

  /// Greatest length byte of the messages decoded.
  unsigned MaxMessageLen() const { return maxMessageLen_; }
  void ResetMaxMsgLen() { maxMessageLen_ = 0; }

  /// Asks the user, in the language in use, for a message description, an XML file: true, with its full
  /// path, on OK; false, and `path` stays, when the dialog was cancelled. Sets the process's numeric locale
  /// to "C" afterwards, which dialogs may change.
  static bool AskForDecoderXmlFile(CString& path);

 protected:
  struct Result {
    int id = 0;
    double value = 0.0;
  };

  /// Makes room for results, all of id and value 0, and sets their count; false without memory (count 0).
  bool ResizeResults(unsigned count);
  void ClearResults() { numResults_ = 0; }
  /// Adds a result where `ResizeResults` has made room before; never allocates.
  void AddResult(int id, double value);
  void SetResult(unsigned index, int id, double value) { results_[index] = {id, value}; }
  /// The same as AppSigIdSammeln, by place in the list.
  void MarkSeen(unsigned index);
  void ClearSeen();
  void KeepMessageLen(const CanMessageBlock_s& message);

 private:
  struct ApplicationSignal {
    int id = 0;
    CString name;
    bool seen = false;
  };

  std::vector<ApplicationSignal> appSignals_;
  std::unordered_map<int, unsigned> places_;  // in the list of application signals, by id
  std::vector<Result> results_;
  unsigned numResults_ = 0;
  unsigned maxMessageLen_ = 0;
};

/// The built-in demonstration: it shows how a session prepares its results, and decodes no message.
class UMLAUF_API CCanMessageDecoderDemo : public CCanMessageDecoderBase {
 public:
  std::unique_ptr<CCanMessageDecoderBase> Create() const override;
  /// Clears the longest length and the seen flags; the results become one of value 0 per application signal,
  /// in the order of the list, and stay so until a message is decoded.
  void StartDecoderSession() override;
  /// Factor of a result that a session has prepared: 0.3142857; 0 outside them.
  float ResultFactor(unsigned index) const { return index < factors_.size() ? factors_[index] : 0.0f; }

 private:
  std::vector<float> factors_;
};
