#include <fmt/format.h>

#include <numeric>

#include "host/pages/Html.hpp"
#include "host/sweep/MetricScale.hpp"
#include "host/sweep/SweepReport.hpp"

namespace amisim {
namespace {

using html::Escaped;

class Page
{
public:
    Page(const Table& table, const PictureFormats& pictures, const GridReport& report)
        : table_(table), layout_(table), plan_(table.plan), pictures_(pictures), report_(report)
    {
    }

    std::string Text()
    {
        text_ = html::Begin(report_.title + " of " + DescribeGrid(plan_)) + report_.summary;
        Summary();
        Failures();
        for (const auto& metric : report_.metrics) Show(metric);
        Cases();
        return text_ + std::string(html::kEnd);
    }

private:
    void Summary()
    {
        const int failed = table_.Count(Row::Status::kFailed);
        const int missing = table_.Count(Row::Status::kMissing);
        const double seconds =
            std::accumulate(table_.rows.begin(), table_.rows.end(), 0.0,
                            [](double sum, const Row& row) { return sum + row.seconds; });
        const std::string fixed = DescribeFixed(plan_);
        if (!fixed.empty()) Add("<p class=\"faint\">{}</p>\n", Escaped(fixed));
        Add("<p>{} cases: {} ok", table_.rows.size(), table_.Count(Row::Status::kOk));
        if (failed > 0) Add(", <span class=\"alarm\">{} failed</span>", failed);
        if (missing > 0) Add(", {} not run yet", missing);
        if (const std::string unranked = table_.Unranked(); !unranked.empty())
            Add("; not ranked, marked <span class=\"alarm\">!</span>: {}", Escaped(unranked));
        if (const int adapting = table_.Adapting())
            Add("; adapting in bits that count, marked *: {}", adapting);
        Add("; {0:.0f} s of runs. <a href=\"{1}.csv\">{1}.csv</a>, "
            "<a href=\"{1}.json\">{1}.json</a>",
            seconds, report_.data);
        for (const PictureFormat format : pictures_)
            Add(", <a href=\"{0}.{1}\">{0}.{1}</a>", report_.picture, Name(format));
        Add("</p>\n");
    }

    void Failures()
    {
        if (table_.Count(Row::Status::kFailed) == 0) return;
        Add("<h2 class=\"alarm\">Failures</h2>\n<div class=\"wide\"><table class=\"cases\">\n");
        for (const auto& row : table_.rows) {
            if (row.status != Row::Status::kFailed) continue;
            Add("<tr><th scope=\"row\"><a href=\"{}\">{}</a></th><td>{}</td></tr>\n",
                html::Link(row.aCase.folder + "/run.log"), Escaped(row.aCase.name),
                Escaped(row.reason));
        }
        Add("</table></div>\n");
    }

    void Show(const Metric& metric)
    {
        const MetricScale scale(metric, table_);
        Add("<h2>{}</h2>\n", metric.number.Heading());
        if (scale.IsEmpty()) {
            Add("<p class=\"faint\">No case has a result.</p>\n");
            return;
        }
        if (layout_.y != Layout::kNone && scale.From() < scale.To()) {
            std::string stops;
            for (int i = 0; i <= 8; ++i)
                stops += fmt::format("{}{}", i ? "," : "", html::Hex(scale.AtPlace(i / 8.0)));
            Add("<p class=\"faint\">{}<span class=\"scale\" "
                "style=\"background:linear-gradient(90deg,{})\"></span>{}{}</p>\n",
                metric.text(scale.From()), stops, metric.text(scale.To()),
                metric.counts ? " (logarithmic)" : "");
        }
        for (const auto& panel : layout_.panels) {
            Add("<div class=\"panel\">\n");
            if (!panel.title.empty()) Add("<h3>{}</h3>\n", Escaped(panel.title));
            if (layout_.y != Layout::kNone) Map(panel, metric, scale);
            // More curves than there are colours nobody tells apart.
            if (panel.lines.size() <= colours::kCurves.size() && panel.lines[0].size() > 2 &&
                scale.From() < scale.To())
                Curves(panel, metric);
            Add("</div>\n");
        }
    }

    std::string Target(const Row& row) const
    {
        if (row.status == Row::Status::kFailed) return html::Link(row.aCase.folder + "/run.log");
        const bool report = std::filesystem::exists(plan_.out / row.aCase.folder / "report.html");
        return html::Link(row.aCase.folder + (report ? "/report.html" : "/"));
    }

    void Map(const Layout::Panel& panel, const Metric& metric, const MetricScale& scale)
    {
        const Setting &x = plan_.axes[layout_.x], &y = plan_.axes[layout_.y];
        Add("<div class=\"wide\"><table class=\"map\">\n<thead><tr><th scope=\"col\">{} \\ {}</th>",
            Escaped(y.name), Escaped(x.name));
        for (const auto& value : x.values) Add("<th scope=\"col\">{}</th>", Escaped(value));
        Add("</tr></thead>\n<tbody>\n");
        for (std::size_t j = 0; j < panel.lines.size(); ++j) {
            Add("<tr><th scope=\"row\">{}</th>", Escaped(y.values[j]));
            for (const Row* row : panel.lines[j]) Cell(*row, metric, scale);
            Add("</tr>\n");
        }
        Add("</tbody></table></div>\n");
    }

    void Cell(const Row& row, const Metric& metric, const MetricScale& scale)
    {
        const auto value = metric.Of(row);
        const bool failed = row.status == Row::Status::kFailed;
        const bool unranked = row.status == Row::Status::kOk && !row.ranked;
        const std::string title = Escaped(fmt::format("{}: {}", row.aCase.name,
                                                      failed     ? row.reason
                                                      : unranked ? row.verdict
                                                      : value    ? Exact(metric, *value)
                                                                 : "no result")) +
                                  (row.Adapting() ? ", " + row.state : "");
        if (row.status == Row::Status::kMissing) {
            Add("<td class=\"none\" title=\"{}: not run yet\">–</td>", Escaped(row.aCase.name));
        } else if (!value || failed) {
            Add("<td class=\"{}\"><a href=\"{}\" title=\"{}\">{}</a></td>",
                failed || unranked ? "failed" : "none", Target(row), title,
                failed     ? "✕"
                : unranked ? "!"
                           : "–");
        } else {
            const Colour colour = scale.At(*value);
            Add("<td style=\"background:{};color:{}\"><a href=\"{}\" title=\"{}\">{}{}</a></td>",
                html::Hex(colour), html::Hex(MetricScale::Ink(colour)), Target(row), title,
                metric.text(*value), row.Adapting() ? "*" : "");
        }
    }

    static std::string Exact(const Metric& metric, double value)
    {
        return fmt::format("{:.4g}{}{}", value, *metric.number.unit ? " " : "", metric.number.unit);
    }

    /// The plot as the picture has it, and upon each of its points a link.
    void Curves(const Layout::Panel& panel, const Metric& metric)
    {
        const plot::LinePlot curves = CurvesOf(table_, layout_, panel, metric);
        const Area whole{0, 0, plot::kWidth, 260};
        const plot::Panel places = curves.PanelIn(whole, curves.Aside());
        const Picture picture{whole.width, whole.height,
                              [&](Canvas& canvas) { curves.Draw(canvas, whole, curves.Aside()); }};
        Add("<svg viewBox=\"0 0 {0} {1}\" role=\"img\" aria-label=\"{2} against {3}\">\n"
            "<image width=\"{0}\" height=\"{1}\" href=\"{4}\"/>\n",
            whole.width, whole.height, metric.number.Heading(), Escaped(curves.across),
            html::DataUri(picture.File(PictureFormat::kSvg), "image/svg+xml"));
        for (std::size_t j = 0; j < panel.lines.size(); ++j) {
            for (std::size_t i = 0; i < panel.lines[j].size(); ++i) {
                const Row& row = *panel.lines[j][i];
                const auto value = metric.Of(row);
                if (!value) continue;
                Add("<a href=\"{}\"><circle cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"5\"><title>{}: {}"
                    "</title></circle></a>\n",
                    Target(row), places.X(curves.curves[j].x[i]), places.Y(*value),
                    Escaped(row.aCase.name), Exact(metric, *value));
            }
        }
        Add("</svg>\n");
    }

    void Cases()
    {
        Add("<h2>All cases</h2>\n<div class=\"wide\"><table class=\"cases\">\n<thead><tr>"
            "<th scope=\"col\">Case</th>");
        for (const auto& axis : plan_.axes)
            Add("<th scope=\"col\" class=\"n\">{}</th>", Escaped(axis.name));
        std::vector<const amisim::Number*> columns = table_.KnownColumns();
        std::erase_if(columns, [this](const amisim::Number* number) {
            return std::ranges::none_of(
                table_.rows, [&](const Row& row) { return row.At(*number).has_value(); });
        });
        for (const amisim::Number* number : columns)
            Add("<th scope=\"col\" class=\"n\">{}</th>", number->Heading());
        Add("<th scope=\"col\" class=\"n\">Seconds</th>");
        Add("<th scope=\"col\">Status</th></tr></thead>\n<tbody>\n");
        for (const auto& row : table_.rows) {
            Add("<tr><td><a href=\"{}\">{}</a></td>", Target(row), row.aCase.number);
            for (const auto& value : row.aCase.values) Number(value);
            for (const amisim::Number* number : columns) {
                const auto value = row.At(*number);
                Number(value ? number->Text(*value) : "");
            }
            const bool ran = row.status != Row::Status::kMissing;
            Number(ran ? fmt::format("{:.1f}", row.seconds) : "");
            const bool locked = row.ranked || row.status != Row::Status::kOk;
            const bool alarm = row.status == Row::Status::kFailed || !locked || row.Adapting();
            Add("<td{}>{}</td></tr>\n", alarm ? " class=\"alarm\"" : "",
                !locked          ? std::string_view(row.verdict)
                : row.Adapting() ? std::string_view(row.state)
                                 : Name(row.status));
        }
        Add("</tbody></table></div>\n");
    }

    void Number(const std::string& text) { Add("<td class=\"n\">{}</td>", Escaped(text)); }

    template <typename... Arguments>
    void Add(fmt::format_string<Arguments...> format, Arguments&&... arguments)
    {
        fmt::format_to(std::back_inserter(text_), format, std::forward<Arguments>(arguments)...);
    }

    const Table& table_;
    Layout layout_;
    const Plan& plan_;
    const PictureFormats& pictures_;
    const GridReport& report_;
    std::string text_;
};

}  // namespace

std::string SweepPage(const Table& table, const PictureFormats& pictures, const GridReport& report)
{
    return Page(table, pictures, report).Text();
}

}  // namespace amisim
