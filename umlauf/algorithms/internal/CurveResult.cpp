#include "umlauf/algorithms/internal/CurveResult.h"

namespace umlauf::algorithms {

CurveResult::CurveResult(const CSigCurve& source, std::uint64_t n, double xMin, double xMax) {
  curve_.SetXMinMax(static_cast<float>(xMin), static_cast<float>(xMax));
  valid_ = n != 0 && curve_.Resize(n);
  curve_.SetName(source.Name());
  curve_.SetExtName(source.ExtName());
  curve_.SetXUnit(source.XUnit());
  curve_.SetYUnit(source.YUnit());
  if (const auto* extended = dynamic_cast<const CSigCurveExt*>(&source)) {
    curve_.Date(extended->Date());
    curve_.CurveId(extended->CurveId());
  }
}

bool CurveResult::MoveTo(CSigCurveExt& out) {
  if (!valid_) return Failed(out);
  out = curve_;
  out.CurveId(curve_.CurveId());
  return out.DLen() == curve_.DLen();
}

bool Failed(CSigCurveExt& out) {
  out.Free();
  out.ResetVMinMax();
  return false;
}

}  // namespace umlauf::algorithms
