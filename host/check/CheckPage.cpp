#include "host/check/CheckPage.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "host/check/FindingTexts.hpp"
#include "host/check/ModelPlots.hpp"
#include "host/pages/Html.hpp"

namespace amisim {
namespace {

using Findings = std::vector<const ibis::Finding*>;
using html::Escaped;

constexpr std::size_t kMostModels = 100;  // that are drawn: first those that something is found in

class Page
{
public:
    explicit Page(const std::vector<ibis::Finding>& findings) : findings_(findings) {}

    std::string Text(const std::vector<ibis::IbisFile>& files)
    {
        text_ = html::Begin(CheckPageTitle());
        Add("<p>{}</p>\n", FindingCounts(findings_).Text());
        Findings elsewhere;
        for (const ibis::Finding& finding : findings_) {
            if (std::ranges::none_of(files,
                                     [&](const auto& file) { return InModel(finding, file); }))
                elsewhere.push_back(&finding);
        }
        AddTable(elsewhere, true);
        for (const ibis::IbisFile& file : files) AddFile(file);
        return text_ + std::string(html::kEnd);
    }

private:
    static bool InModel(const ibis::Finding& finding, const ibis::IbisFile& file)
    {
        return !file.models.empty() && finding.file == file.document.path.string() &&
               finding.place.line >= file.models.front().place.line;
    }

    void AddTable(const Findings& findings, bool withFile)
    {
        if (findings.empty()) return;
        Add("<div class=\"wide\"><table class=\"cases\">\n");
        for (const ibis::Finding* finding : findings) {
            const bool alarm = finding->severity == ibis::Severity::Error;
            Add("<tr><td>{}{}</td><td{}>{}&nbsp;IB{}</td><td>{}</td></tr>\n",
                withFile ? Escaped(finding->file) + ":" : "line&nbsp;",
                finding->place ? std::to_string(finding->place.line) : "-",
                alarm ? " class=\"alarm\"" : "", ibis::Name(finding->severity), finding->number,
                Escaped(finding->Message()));
        }
        Add("</table></div>\n");
    }

    void AddFile(const ibis::IbisFile& file)
    {
        struct Drawn
        {
            const ibis::Model* model;
            Findings findings;
        };
        std::vector<Drawn> drawn;
        for (const ibis::Model& model : file.models) drawn.push_back({&model, {}});
        for (const ibis::Finding& finding : findings_) {
            if (!InModel(finding, file)) continue;
            const auto after =
                std::ranges::upper_bound(drawn, finding.place.line, {},
                                         [](const Drawn& one) { return one.model->place.line; });
            std::prev(after)->findings.push_back(&finding);
        }
        if (drawn.size() > kMostModels) {
            std::stable_partition(drawn.begin(), drawn.end(),
                                  [](const Drawn& one) { return !one.findings.empty(); });
            Add("<p class=\"faint\">{}: {} of its {} models are drawn.</p>\n",
                Escaped(file.document.path.string()), kMostModels, drawn.size());
            drawn.resize(kMostModels);
        }
        for (const Drawn& one : drawn) AddModel(file, *one.model, one.findings);
    }

    void AddModel(const ibis::IbisFile& file, const ibis::Model& model, const Findings& findings)
    {
        const auto plots = PlotsOf(model, findings);
        if (plots.empty() && findings.empty()) return;
        Add("<h2>{} <span class=\"faint\">{}, {}:{}</span></h2>\n", Escaped(model.name),
            Escaped(model.typeWord.Text()), Escaped(file.document.path.filename().string()),
            model.place.line);
        AddTable(findings, false);
        Add("<div class=\"eyes\">\n");
        for (const auto& [title, found, plot] : plots) {
            const plot::Heading heading{std::string(model.name), title, found};
            Add("<figure><img alt=\"{}\" src=\"{}\"></figure>\n",
                Escaped(fmt::format("{}: {}", model.name, title)),
                html::DataUri(plot::PlotsPicture({plot}, heading).File(PictureFormat::kPng),
                              "image/png"));
        }
        Add("</div>\n");
    }

    template <typename... Arguments>
    void Add(fmt::format_string<Arguments...> format, Arguments&&... arguments)
    {
        fmt::format_to(std::back_inserter(text_), format, std::forward<Arguments>(arguments)...);
    }

    const std::vector<ibis::Finding>& findings_;
    std::string text_;
};

}  // namespace

std::string CheckPageTitle()
{
    return "Check of IBIS files";
}

std::string CheckPage(const std::vector<ibis::Finding>& findings,
                      const std::vector<ibis::IbisFile>& files)
{
    return Page(findings).Text(files);
}

}  // namespace amisim
