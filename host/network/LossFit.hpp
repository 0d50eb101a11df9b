#pragma once

#include <array>
#include <string>
#include <vector>

namespace amisim {

/// Which terms a fitted loss has, and over which frequencies (Hz) it is fitted.
struct FitChoice
{
    /// Of a0 + a1 sqrt(f) + a2 f + a4 f^2.
    std::array<bool, 4> terms{true, true, true, true};
    double from = 0.0, to = 0.0;  ///< 0: from the first and to the last that the data have
};

/// What the terms are called.
inline constexpr std::array<const char*, 4> kFitTerms{"a0", "a1", "a2", "a4"};

/// Insertion loss, dB, as a0 + a1 sqrt(f) + a2 f + a4 f^2: a constant, skin effect, dielectric loss
/// and what rises faster.
struct LossFit
{
    std::array<double, 4> a{};  ///< dB, dB / sqrt(Hz), dB / Hz, dB / Hz^2
    double from = 0.0, to = 0.0;
    double rmsDb = 0.0;  ///< of the deviation

    double At(double frequency) const;
};

/// By least squares over the points between the choice's frequencies. Throws Error (kInput) where
/// there are fewer of them than terms.
LossFit FitLoss(const std::vector<double>& frequency, const std::vector<double>& lossDb,
                const FitChoice& choice);

}  // namespace amisim
