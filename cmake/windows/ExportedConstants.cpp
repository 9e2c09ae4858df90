// Constants of exported classes that others may refer to. For Windows, GCC puts into the library only those
// that it refers to itself, while programs take all of them from there.

#include "umlauf/umlauf.h"

namespace {

struct ComboBoxList : CComboBoxList {
  static constexpr const void* const nothing = &kNothing;
};

struct Liste : CFueGroeListeBasis {
  static constexpr const void* const headerBytes = &kHeaderBytes;
};

[[gnu::used]] const void* const constants[] = {
    ComboBoxList::nothing,
    Liste::headerBytes,
    &CAngleResampler::mostChannels,
    &CArithExpression::kMaxTokens,
    &CClavisSet::instrParamBit,
    &CClavisSet::locaChanBit,
    &CCombSpeed::mostOrders,
    &CDownsamplingStream::MaxFilterRatio,
    &CEdgePulses::sampleRate,
    &CExpAverFacGenerator::kNoDecay,
    &CMaskedClavis::N,
    &CMaskedClavis::default_mask,
    &CRealTransform::kMaxSize,
    &CSigCurveArray::None,
    &CSigPairs::KeinPunkt,
    &CSpeedCurveBuilder::longest,
    &CVisDataCollection::None,
    &CVoldKalman::mostOrders,
    &CWheelFinder::mostGlitch,
    &CZeroPhaseStream::kMaxLookAhead,
    &RotationPiece::part,
    &SosSections::kMost,
};

}  // namespace
