#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "host/pictures/LinePlot.hpp"
#include "host/sweep/MetricScale.hpp"
#include "host/sweep/SweepReport.hpp"

namespace amisim {
namespace {

using plot::kFaint;
using plot::kInk;
using plot::kPaper;

std::string Titled(const Metric& metric)
{
    return metric.number.Heading();
}

Canvas DrawCurves(const Table& table)
{
    const Setting& axis = table.plan.axes[0];
    std::vector<plot::LinePlot> plots;
    for (const auto& metric : Metrics()) {
        plot::LinePlot one;
        one.across = axis.name;
        one.upwards = Titled(metric);
        if (metric.counts) one.from = 0;
        plot::Curve curve;
        curve.x = Places(axis);
        for (const auto& row : table.rows) curve.y.push_back(metric.Of(row).value_or(NAN));
        curve.stroke.colour = plot::kBlue;
        one.curves.push_back(std::move(curve));
        plots.push_back(std::move(one));
    }
    return plot::DrawPlots(plots, {DescribeGrid(table.plan), DescribeFixed(table.plan), ""});
}

/// Maps under each other: for each metric one for each panel of the layout.
class Maps
{
public:
    explicit Maps(const Table& table)
        : table_(table),
          layout_(Shortened(table)),
          x_(table.plan.axes[layout_.x]),
          y_(table.plan.axes[layout_.y]),
          cellWidth_(CellWidth()),
          left_(40 + LongestLabel(y_) * 12),
          width_(std::max(left_ + cellWidth_ * static_cast<int>(x_.values.size()) + 40, 900)),
          panelHeight_(kPanelHead + kCellHeight * static_cast<int>(y_.values.size()) + kPanelFoot),
          height_(kHeading +
                  static_cast<int>(Metrics().size()) *
                      (kMetricHead + panelHeight_ * static_cast<int>(layout_.panels.size()))),
          canvas_(width_, height_, kPaper)
    {
    }

    const Canvas& Draw()
    {
        canvas_.Text(kMargin, 16, DescribeGrid(table_.plan), kInk, 2);
        canvas_.Text(kMargin, 42, DescribeFixed(table_.plan), kFaint, 2);
        if (layout_.panels.size() < Layout(table_).panels.size()) {
            canvas_.Text(width_ - kMargin, 42, "the first maps only: all are in report.html",
                         kFaint, 2, Canvas::Align::kRight);
        }
        int top = kHeading;
        for (const auto& metric : Metrics()) {
            const MetricScale scale(metric, table_);
            DrawScale(metric, scale, top);
            top += kMetricHead;
            for (const auto& panel : layout_.panels) {
                Draw(panel, metric, scale, top);
                top += panelHeight_;
            }
        }
        return canvas_;
    }

private:
    static constexpr int kMargin = 24, kHeading = 76, kMetricHead = 40, kPanelHead = 22,
                         kCellHeight = 34, kPanelFoot = 68, kScaleWidth = 240;

    static constexpr std::size_t kMostPanels = 12;

    /// A picture has an end, which a grid of many axes need not have.
    static Layout Shortened(const Table& table)
    {
        Layout layout(table);
        layout.panels.resize(std::min(layout.panels.size(), kMostPanels));
        return layout;
    }

    static int LongestLabel(const Setting& axis)
    {
        std::size_t longest = axis.name.size();
        for (const auto& value : axis.values) longest = std::max(longest, value.size());
        return static_cast<int>(longest);
    }

    /// Wide enough for the longest value, unless that made the picture too wide for any page.
    int CellWidth() const
    {
        int widest = 0;
        for (const auto& metric : Metrics()) widest = std::max(widest, TextWidth(metric, 2));
        for (const auto& value : x_.values) widest = std::max(widest, Canvas::TextWidth(value));
        const int columns = static_cast<int>(x_.values.size());
        return std::clamp(widest + 12, 1, std::max(1, 1900 / columns));
    }

    /// Of the longest of the metric's values.
    int TextWidth(const Metric& metric, int size) const
    {
        int widest = Canvas::TextWidth("-", size);
        for (const auto& row : table_.rows) {
            if (const auto value = metric.Of(row))
                widest = std::max(widest, Canvas::TextWidth(metric.text(*value), size));
        }
        return widest;
    }

    void DrawScale(const Metric& metric, const MetricScale& scale, int top)
    {
        canvas_.Text(kMargin, top, Titled(metric), kInk, 2);
        if (scale.From() >= scale.To()) return;
        const std::string to = metric.text(scale.To());
        const int right = width_ - kMargin - Canvas::TextWidth(to) - 8;
        canvas_.Text(width_ - kMargin, top, to, kFaint, 2, Canvas::Align::kRight);
        for (int i = 0; i < kScaleWidth; ++i) {
            canvas_.Rectangle(right - kScaleWidth + i, top, 1, 14,
                              scale.AtPlace((i + 0.5) / kScaleWidth));
        }
        canvas_.Text(right - kScaleWidth - 8, top, metric.text(scale.From()), kFaint, 2,
                     Canvas::Align::kRight);
    }

    void Draw(const Layout::Panel& panel, const Metric& metric, const MetricScale& scale, int top)
    {
        const int rows = static_cast<int>(y_.values.size());
        const int columns = static_cast<int>(x_.values.size());
        canvas_.Text(left_, top, panel.title, kFaint, 2);
        canvas_.Text(left_ - 10, top, y_.name, kInk, 2, Canvas::Align::kRight);
        top += kPanelHead;
        for (int j = 0; j < rows; ++j) {
            const int y = top + j * kCellHeight;
            canvas_.Text(left_ - 10, y + 10, y_.values[static_cast<std::size_t>(j)], kInk, 2,
                         Canvas::Align::kRight);
            for (int i = 0; i < columns; ++i) {
                const Row* row =
                    panel.lines[static_cast<std::size_t>(j)][static_cast<std::size_t>(i)];
                DrawCell(*row, metric, scale, left_ + i * cellWidth_, y);
            }
        }
        const int below = top + rows * kCellHeight;
        int free = 0;  // where the next label may begin
        for (int i = 0; i < columns; ++i) {
            const std::string& value = x_.values[static_cast<std::size_t>(i)];
            const int middle = left_ + i * cellWidth_ + cellWidth_ / 2;
            const int half = Canvas::TextWidth(value) / 2;
            if (middle - half < free) continue;
            canvas_.Text(middle, below + 6, value, kInk, 2, Canvas::Align::kCentre);
            free = middle + half + 10;
        }
        canvas_.Text(left_ + columns * cellWidth_ / 2, below + 28, x_.name, kInk, 2,
                     Canvas::Align::kCentre);
    }

    void DrawCell(const Row& row, const Metric& metric, const MetricScale& scale, int x, int y)
    {
        const auto value = metric.Of(row);
        const int gap = cellWidth_ > 12 ? 2 : 0;
        const Colour background = value ? scale.At(*value) : Colour{0.93, 0.94, 0.95};
        canvas_.Rectangle(x, y, cellWidth_ - gap, kCellHeight - 2, background);
        const std::string text = value                                ? metric.text(*value)
                                 : row.status == Row::Status::kFailed ? "x"
                                 : row.status == Row::Status::kOk     ? "!"
                                                                      : "-";
        // The largest letters in which all values fit; none rather than some that nobody can read.
        for (const int size : {2, 1}) {
            if (TextWidth(metric, size) > cellWidth_ - gap - 2) continue;
            canvas_.Text(x + (cellWidth_ - gap) / 2, y + (kCellHeight - 2 - 7 * size) / 2, text,
                         MetricScale::Ink(background), size, Canvas::Align::kCentre);
            break;
        }
    }

    const Table& table_;
    Layout layout_;
    const Setting &x_, &y_;
    int cellWidth_, left_, width_, panelHeight_, height_;
    Canvas canvas_;
};

}  // namespace

std::vector<double> Places(const Setting& axis)
{
    std::vector<double> places;
    for (const auto& text : axis.values) {
        double value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value)) {
            for (std::size_t i = 0; i < axis.values.size(); ++i)
                places.resize(i), places.push_back(static_cast<double>(i));
            return places;
        }
        places.push_back(value);
    }
    return places;
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

Canvas DrawSweep(const Table& table)
{
    return table.plan.axes.size() == 1 ? DrawCurves(table) : Maps(table).Draw();
}

}  // namespace amisim
