#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/files/WavePoints.hpp"
#include "host/signal/SignalSource.hpp"

namespace amisim {

/// A measured waveform, resampled onto the grid by cubics through the file's points, each with the
/// slope of the parabola through it and its neighbours. A gap, longer than kGap steps, is bridged
/// by a straight line.
///
/// Times that were written with too few digits are recognised: where all of them are evenly spaced
/// but for the rounding, they are taken as evenly spaced.
///
/// The file is read through at the start, so that a fault in its last line is found before the run,
/// and then again as the samples are needed. The last of even points holds for as long as any
/// other, so that no bit is lost at its end.
class WaveFile : public SignalSource
{
public:
    /// @param sampleInterval  of the grid, s
    /// @throws Error (kInput) that names file, line and what was expected
    WaveFile(std::unique_ptr<WavePoints> points, double sampleInterval);

    std::size_t Read(std::span<double> out) override;

    std::int64_t Samples() const { return samples_; }  // on the grid, in the whole file

    /// What a user should know about the times and the resampling.
    const std::vector<std::string>& Notes() const { return notes_; }

    static constexpr double kGap = 4;  // usual steps

private:
    struct Survey;
    Survey ReadThrough();
    bool IsEvenButForRounding(const Survey& survey);
    bool Next(WavePoint& point);
    void Advance();
    double Slope(const WavePoint& before, const WavePoint& at, const WavePoint& after) const;

    std::unique_ptr<WavePoints> points_;
    double sampleInterval_;
    std::optional<double> evenStep_;  // s; absent: the file's own times count
    double evenStart_ = 0;
    std::int64_t number_ = 0;  // of points read
    double longest_ = 0;       // s, of steps that are no gap
    std::int64_t samples_ = 0, read_ = 0;
    double start_ = 0;                   // s
    std::array<WavePoint, 4> around_{};  // the sample lies between the second and the third
    bool ended_ = false;
    std::vector<std::string> notes_;
};

}  // namespace amisim
