#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "host/sweep/Table.hpp"

namespace amisim {

/// The figure of merit that settings are compared by: the opening of the output's eye at an error
/// ratio, of which more is better, or bit errors.
class Figure
{
public:
    /// @param text  "height@1e-12", "width@1e-6" or "errors"
    /// @throws Error (kUsage) for anything else
    explicit Figure(const std::string& text);
    Figure(const Figure&) = delete;
    Figure& operator=(const Figure&) = delete;

    /// Whether it can be computed from a response, and at which error ratio.
    bool IsOpening() const { return kind_ != Kind::kErrors; }
    double Ratio() const { return ratio_; }

    /// Of the contents of a result.json, in V, UI or bits; of several segments the least opening of
    /// all, and the errors end to end.
    std::optional<double> In(const nlohmann::ordered_json& result, bool computed) const;

    bool IsBetter(double a, double b) const;
    /// Within 1 dB of the best height, within 5 % of the best width or number of errors.
    bool IsNear(double value, double best) const;
    const char* NearText() const;

    /// "858.9 mV"
    std::string Text(double value) const;
    /// How far it stays behind: "1.32 dB below the best".
    std::string BehindText(double value, double best) const;

    /// The column, curve or map that shows it.
    const Number& AsNumber() const { return number_; }
    Metric AsMetric() const;

private:
    enum class Kind { kHeight, kWidth, kErrors };

    Kind kind_;
    double ratio_ = 0;
    std::string title_, column_;
    Number number_;
};

}  // namespace amisim
