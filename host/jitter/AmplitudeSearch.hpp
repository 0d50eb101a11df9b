#pragma once

#include <optional>
#include <vector>

namespace amisim {

/// Finds the greatest amplitude that passes: from a first guess by doubling or halving until it
/// lies between one that passes and one that fails, then by halves on a logarithmic scale. In the
/// end one amplitude beyond the failing one is tried, since what fails may pass again above.
///
/// It says what to try next and is told what came of it; the same answers lead the same way, so
/// that a search that was broken off goes on from its trials.
class AmplitudeSearch
{
public:
    struct Settings
    {
        double start;              // tried first
        double resolution = 0.03;  // the failing amplitude lies no more above the passing one
        double least = 1e-3, most = 2e3;
    };
    explicit AmplitudeSearch(const Settings& settings) : settings_(settings) {}

    /// The amplitude to be tried; nothing once all is known.
    std::optional<double> Next() const;

    /// @param amplitude  as Next() said
    void Take(double amplitude, bool passed);

    /// The greatest amplitude that passed, and the least that failed; absent where none did.
    std::optional<double> Passes() const { return passes_; }
    std::optional<double> Fails() const { return fails_; }
    /// That passed above one that failed.
    std::optional<double> PassesAbove() const { return passesAbove_; }

private:
    bool IsNarrow() const { return *fails_ <= *passes_ * (1 + settings_.resolution); }

    Settings settings_;
    std::optional<double> passes_, fails_, passesAbove_;
    bool triedAbove_ = false;
};

}  // namespace amisim
