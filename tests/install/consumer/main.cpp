// An outside project: only the installed headers, only the shared library.
#include <umlauf/Version.h>
#include <umlauf/umlauf.h>

int main() {
  CSigCurve curve(100);
  curve.SetYUnit(L"rpm");
  CMemFile file;
  curve.WriteToFile(file, CSignal::CurrentFileVersion());
  file.Seek(0, CFile::begin);
  CSigCurve back;
  return back.ReadFromFile(file, CSignal::CurrentFileVersion()) && back.DLen() == 100 &&
                 back.YUnit() == L"rpm"
             ? 0
             : 1;
}
