#pragma once

#include <cstdint>
#include <vector>

namespace amisim {

/// How open an eye is against time: of 256 decisions each the mean distance from the threshold of
/// the nearest quarter. Longer stretches take the place of these as a run goes on, so that the
/// memory stays the same.
class EyeTrend
{
public:
    static constexpr std::size_t kWindow = 256, kMostPoints = 4096;

    /// @param bit       that the decision belongs to, rising
    /// @param distance  of its voltage from the nearest threshold, V
    void Add(double bit, double distance);

    /// The bit from which on the eye is as open as it is in the last quarter of the run; 0 where it
    /// never was otherwise, NaN where the run is too short to tell or a tenth of it is not left.
    double SettledAt() const;

private:
    struct Point
    {
        double end;   // bit
        double open;  // V
    };
    void CloseWindow();

    std::vector<double> window_;  // distances
    double end_ = 0;              // last bit
    std::vector<Point> points_;
    std::size_t perPoint_ = 1, inPoint_ = 0;  // windows
    double sum_ = 0;
};

}  // namespace amisim
