#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numeric>
#include <tuple>

#include "host/pictures/Font.hpp"
#include "host/sweep/MetricScale.hpp"
#include "host/sweep/SweepReport.hpp"

namespace amisim {
namespace {

// What stands in the place of a value.
constexpr const char *kNotRanked = "!", *kFailed = "✕", *kMissing = "–";

plot::Heading HeadingOf(const Table& table)
{
    const std::size_t count = table.rows.size();
    std::string cases = fmt::format("{} case{}", count, count == 1 ? "" : "s");
    if (const std::string unranked = table.Unranked(); !unranked.empty())
        cases += fmt::format("; {} not ranked: {}", kNotRanked, unranked);
    for (const auto& [status, mark, name] : {std::tuple{Row::Status::kFailed, kFailed, "failed"},
                                             {Row::Status::kMissing, kMissing, "not run"}}) {
        if (const int some = table.Count(status); some > 0)
            cases += fmt::format("; {} {} {}", mark, some, name);
    }
    return {DescribeGrid(table.plan), DescribeFixed(table.plan), cases};
}

/// Where the axis' values stand: the numbers themselves, or 0, 1, 2... where one is no number.
std::vector<double> Places(const Setting& axis)
{
    std::vector<double> places;
    for (const auto& text : axis.values) {
        double value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value)) {
            places.resize(axis.values.size());
            std::iota(places.begin(), places.end(), 0);
            return places;
        }
        places.push_back(value);
    }
    return places;
}

Picture CurvesPicture(const Table& table, const std::vector<Metric>& metrics)
{
    const Layout layout(table);
    std::vector<plot::LinePlot> plots;
    for (const auto& metric : metrics)
        plots.push_back(CurvesOf(table, layout, layout.panels[0], metric));
    return PlotsPicture(std::move(plots), HeadingOf(table));
}

/// Maps under each other: for each metric one for each panel of the layout.
class Maps
{
public:
    Maps(const Table& table, const std::vector<Metric>& metrics)
        : table_(table),
          metrics_(metrics),
          layout_(table),
          heading_(HeadingOf(table)),
          x_(table.plan.axes[layout_.x]),
          y_(table.plan.axes[layout_.y]),
          columns_(static_cast<double>(x_.values.size())),
          rows_(static_cast<double>(y_.values.size()))
    {
        cellWidth_ = CellWidth();
        cellHeight_ = std::min(24.0, kMostHeight / count_ / rows_);
        left_ = kMargin + LongestLabel() + kGap;
        width_ = std::max(left_ + cellWidth_ * columns_ + kMargin, kLeastWidth);
        panelHeight_ = kPanelHead + cellHeight_ * rows_ + kPanelFoot;
        // A picture has an end, which a grid of many axes need not have.
        const double most = kMostHeight / count_ / panelHeight_;
        const std::size_t all = layout_.panels.size();
        layout_.panels.resize(std::clamp(static_cast<std::size_t>(most), std::size_t{1}, all));
        if (layout_.panels.size() < all)
            heading_.numbers += "; the first maps only: all are in report.html";
    }

    operator Picture() const
    {
        const auto panels = static_cast<double>(layout_.panels.size());
        return {width_, heading_.Height(width_) + count_ * (kMetricHead + panelHeight_ * panels),
                [*this](Canvas& canvas) { Draw(canvas); }};
    }

private:
    static constexpr double kMargin = 16, kGap = 8, kMetricHead = 30, kPanelHead = 20,
                            kPanelFoot = 48, kScaleWidth = 160, kText = 12;
    static constexpr double kMostHeight = 5000, kMostWidth = 1400, kLongest = 200, kWideCell = 60,
                            kLeastWidth = 480;

    void Draw(Canvas& canvas) const
    {
        heading_.Draw(canvas, kMargin);
        double top = heading_.Height(width_);
        for (const auto& metric : metrics_) {
            const MetricScale scale(metric, table_);
            DrawScale(canvas, metric, scale, top);
            top += kMetricHead;
            for (const auto& panel : layout_.panels) {
                DrawPanel(canvas, panel, metric, scale, top);
                top += panelHeight_;
            }
        }
    }

    double LongestLabel() const
    {
        double longest = font::Width(y_.name, kText);
        for (const auto& value : y_.values)
            longest = std::max(longest, font::Width(font::Drawable(value), kText));
        return std::min(longest, kLongest);
    }

    /// Wide enough for the longest value, unless that made the picture too wide for any page; a
    /// few columns have more room.
    double CellWidth() const
    {
        double widest = 0;
        for (const auto& metric : metrics_) widest = std::max(widest, Widest(metric, kText));
        for (const auto& value : x_.values)
            widest = std::max(widest, font::Width(font::Drawable(value), kText));
        const double room = plot::kWidth - 2 * kMargin - LongestLabel() - kGap;
        const double wide = std::min(kWideCell, room / columns_);
        return std::min(std::max(widest + 10, wide), kMostWidth / columns_);
    }

    /// Width of the longest of the metric's values.
    double Widest(const Metric& metric, double size) const
    {
        double widest = 0;
        for (const auto& row : table_.rows)
            widest = std::max(widest, font::Width(CellText(row, metric), size));
        return widest;
    }

    static std::string CellText(const Row& row, const Metric& metric)
    {
        if (const auto value = metric.Of(row))
            return metric.text(*value) + (row.Adapting() ? "*" : "");
        return row.status == Row::Status::kFailed ? kFailed
               : row.status == Row::Status::kOk   ? kNotRanked
                                                  : kMissing;
    }

    void DrawScale(Canvas& canvas, const Metric& metric, const MetricScale& scale, double top) const
    {
        const double y = top + 8;
        double x = kMargin;
        const auto write = [&](const std::string& text, const Colour& colour) {
            canvas.Text({x, y}, text, {.colour = colour});
            x += font::Width(text, kText) + kGap;
        };
        write(metric.number.Heading(), colours::kInk);
        if (scale.From() >= scale.To()) return;
        x += 2 * kGap;
        write(metric.text(scale.From()), colours::kFaint);
        plot::DrawScale(canvas, {x, y - 5, kScaleWidth, 10},
                        [&](double place) { return scale.AtPlace(place); });
        x += kScaleWidth + kGap;
        write(metric.text(scale.To()), colours::kFaint);
    }

    void DrawPanel(Canvas& canvas, const Layout::Panel& panel, const Metric& metric,
                   const MetricScale& scale, double top) const
    {
        const double right = left_ - kGap;
        const double width = cellWidth_ * columns_;
        const Lettering beside{.align = Align::kRight};
        canvas.Text({right, top + 8}, font::Shortened(y_.name, kText, kLongest), beside);
        canvas.Text({left_, top + 8}, font::Shortened(panel.title, kText, width_ - left_ - kMargin),
                    {.colour = colours::kFaint});
        top += kPanelHead;
        // The largest letters in which all values fit; none rather than some that nobody can read.
        double size = kText;
        while (size > 0 && (size + 2 > cellHeight_ || Widest(metric, size) + 4 > cellWidth_))
            size = size > 8 ? size - 1 : 0;
        std::vector<double> middles;
        for (std::size_t j = 0; j < y_.values.size(); ++j) {
            const double y = top + cellHeight_ * static_cast<double>(j);
            canvas.TextIfFree({right, y + cellHeight_ / 2},
                              font::Shortened(y_.values[j], kText, kLongest), beside);
            for (std::size_t i = 0; i < x_.values.size(); ++i) {
                const Area cell{left_ + cellWidth_ * static_cast<double>(i), y, cellWidth_,
                                cellHeight_};
                DrawCell(canvas, *panel.lines[j][i], metric, scale, cell, size);
            }
        }
        for (std::size_t i = 0; i < x_.values.size(); ++i)
            middles.push_back(left_ + cellWidth_ * (static_cast<double>(i) + 0.5));
        const double below = top + cellHeight_ * rows_;
        plot::WriteRow(canvas, middles, x_.values, below + 11);
        const std::string name = font::Shortened(x_.name, kText, width_ - left_ - kMargin);
        const double half = font::Width(name, kText) / 2;
        canvas.Text({std::max(left_ + width / 2, left_ + half), below + 28}, name,
                    {.align = Align::kCentre});
    }

    void DrawCell(Canvas& canvas, const Row& row, const Metric& metric, const MetricScale& scale,
                  const Area& cell, double size) const
    {
        const auto value = metric.Of(row);
        const Colour background = value ? scale.At(*value) : colours::kEmpty;
        const double across = cell.width > 8 ? 1 : 0, upwards = cell.height > 8 ? 1 : 0;
        canvas.Rectangle({cell.left, cell.top, cell.width - across, cell.height - upwards},
                         background);
        if (size > 0)
            canvas.Text(
                {cell.left + cell.width / 2, cell.top + cell.height / 2}, CellText(row, metric),
                {.colour = MetricScale::Ink(background), .size = size, .align = Align::kCentre});
    }

    const Table& table_;
    const std::vector<Metric> metrics_;
    Layout layout_;
    plot::Heading heading_;
    const Setting &x_, &y_;
    double columns_, rows_;
    const double count_ = static_cast<double>(metrics_.size());
    double cellWidth_ = 0, cellHeight_ = 0, left_ = 0, width_ = 0, panelHeight_ = 0;
};

}  // namespace

plot::LinePlot CurvesOf(const Table& table, const Layout& layout, const Layout::Panel& panel,
                        const Metric& metric)
{
    const Setting& axis = table.plan.axes[layout.x];
    const std::vector<double> places = Places(axis);
    plot::LinePlot plot;
    plot.across = axis.name;
    plot.upwards = metric.number.Heading();
    plot.counts = metric.counts;
    if (metric.counts) plot.from = 0;
    for (std::size_t i = 0; i < places.size(); ++i)
        plot.places.push_back({places[i], axis.values[i]});
    for (std::size_t j = 0; j < panel.lines.size(); ++j) {
        plot::Curve curve;
        curve.x = places;
        for (const Row* row : panel.lines[j]) curve.y.push_back(metric.Of(*row).value_or(NAN));
        curve.stroke.colour = colours::kCurves[j % colours::kCurves.size()];
        if (layout.y != Layout::kNone) {
            const Setting& lines = table.plan.axes[layout.y];
            curve.label = fmt::format("{}={}", lines.name, lines.values[j]);
        }
        curve.dots = places.size() <= 100;
        plot.curves.push_back(std::move(curve));
    }
    return plot;
}

std::string DescribeGrid(const Plan& plan)
{
    std::string text = std::filesystem::path(plan.model).filename().string() + ": ";
    for (std::size_t i = 0; i < plan.axes.size(); ++i) {
        const std::size_t count = plan.axes[i].values.size();
        text += fmt::format("{}{} ({} value{})", i == 0 ? "" : " by ", plan.axes[i].name, count,
                            count == 1 ? "" : "s");
    }
    return text;
}

std::string DescribeFixed(const Plan& plan)
{
    std::string text;
    for (const auto& setting : plan.fixed) {
        for (const auto& value : setting.values)
            text += fmt::format("{}{}={}", text.empty() ? "" : ", ", setting.name, value);
    }
    for (const auto& option : plan.options)
        text += fmt::format("{}{}", text.empty() ? "" : " ", option);
    return text;
}

Picture SweepPicture(const Table& table, const std::vector<Metric>& metrics)
{
    return table.plan.axes.size() == 1 ? CurvesPicture(table, metrics)
                                       : Picture(Maps(table, metrics));
}

}  // namespace amisim
