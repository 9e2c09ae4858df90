#include <filesystem>

#include "FailingAllocation.h"
#include "support/Test.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/umlauf.h"

namespace {

TEST(WithoutMemory, Texts) {
  EveryAllocationFails([] {
    CString text(LongText().GetString());
    const CString copy(text), left = text.Left(60);
    text += copy;
    text += L"and then some more of it, so that the text grows";
    text.Replace(L"text", L"longer text");
    text.Insert(3, LongText());
    text.Format(L"%s %d %s %g", LongText(), 7, "narrow text, in UTF-8, ü", 0.5);
    text = copy + L"tail" + text.Mid(3, 70);
    EXPECT_LE(CString::FromUtf8(text.ToUtf8()).GetLength(), text.GetLength());
    EXPECT_LE(CString::FromAnsi(text.ToAnsi()).GetLength(), text.GetLength());
    Formatting::ansi2unicode(Formatting::unicode2ansi(LongText().view()));
    const CArithExpression expression(L"(first_long_name + second_long_name) * third_long_name ^ -2");
    const CExpression tree = expression.tree();
    Copy(expression);
    Copy(FailureText(LongText()));
    const CSwitchResourceDefault language(CString(L"de_AT.UTF-8, and more than a small text holds"));
    CLibMgr::LoadStringW(308);
    if (!tree.empty()) tree.Infix(tree.Root());
  });
}

TEST(WithoutMemory, Files) {
  EveryAllocationFails([] {
    static const std::wstring path =
        (std::filesystem::temp_directory_path() / "umlauf-without-memory-of-a-long-name.bin").wstring();
    static const std::vector<std::byte> bytes(5000);
    CFile file(path.c_str(), CFile::modeReadWrite | CFile::modeCreate);
    file.Write(bytes.data(), bytes.size());
    file.Close();
    const bool opened = file.Open(path.c_str(), CFile::modeRead);
    EXPECT_EQ(file.IsOpen(), opened);
    CMemFile memory{std::span(bytes)};
    memory.Seek(0, CFile::end);
    memory.Write(bytes.data(), bytes.size());
    EXPECT_TRUE(memory.GetLength() == 10000 || memory.Failed());
    static const CSigCurveExt curve = LongNamedCurve();
    CMemFile stored;
    CSignalFile signals;
    if (signals.Write(curve, stored)) {
      stored.Seek(0, CFile::begin);
      const bool none = signals.Read(stored) == nullptr;
      EXPECT_TRUE(none || signals.Failure().IsEmpty());
    }
  });
}

TEST(WithoutMemory, Settings) {
  EveryAllocationFails([] {
    CResourceSea sea(L":memory:");
    static const std::array<int, 4> values{1, 2, 3, 4};
    static const CString path(L"a/path/in/the/settings/that/is/not/a/short/one");
    CResourceSea::Transaction transaction(sea);
    const bool set = sea.LookupSetInts(path, 0, values);
    const bool committed = transaction.Commit();
    EXPECT_TRUE(set || !committed);
    const auto read = sea.Values(path);
    EXPECT_TRUE(read.empty() || read.size() == values.size());
    sea.Paths(L"a/");
    EXPECT_LE(sea.Paths(L"b/").size(), 0u);
    sea.FindEntry(path);
    CMaskedClavis key;
    key.Write(path, sea);
    key.Read(path, sea);
    Copy(CResourceEntry(sea, path));
    sea.RemoveEntry(path);
    CSeaBase::ApplicationPath();
  });
}

TEST(WithoutMemory, Rest) {
  EveryAllocationFails([] {
    KxTimeMachine::CTimeMachine machine(1.0f);
    KxTimeMachine::CTimeCapsule capsule;
    for (int i = 0; i < 5; ++i) machine.add({&capsule, true});
    KxTimeMachine::CTimeMachine copy(machine);
    copy = machine;
    CObList list;
    CSigPairs object;
    for (int i = 0; i < 25; ++i) list.AddTail(&object);
    const PrWin::Sink before = PrWin::SetSink([](int, int, const CString&) {});
    if (before) PrWin::SetSink(before);
  });
}

}  // namespace
