#pragma once

/// How the powers of a spectrum are scaled. With X the transform of a windowed segment, fs the sample rate
/// and c = 2, but 1 at 0 Hz and at half the sample rate, all one-sided:
///
/// | scaling | value | unit |
/// |---|---|---|
/// | Density | c mean \|X\|² / (fs Σ w²) | unit²/Hz |
/// | Power | c mean \|X\|² / (Σ w)² | unit², mean square of a sine in the bin |
/// | Amplitude | c √(mean \|X\|²) / Σ w | unit, peak of a sine in the bin |
/// | Effective | √ of Power | unit, root mean square of a sine in the bin |
enum class SpectrumScaling { Density, Power, Amplitude, Effective };
