#include "host/jitter/JitterReport.hpp"

#include "host/jitter/Frequency.hpp"

namespace amisim {

std::string CsvNumber(const std::optional<double>& value)
{
    return value ? fmt::format("{:.6g}", *value) : "";
}

std::string VerdictText(const FrequencyMask& mask, std::optional<bool> meets,
                        const std::string& margin, double at)
{
    if (margin.empty()) return fmt::format("mask {}: not known", mask.name);
    return fmt::format("mask {}: {}, margin {} at {}", mask.name,
                       !meets   ? "not known yet"
                       : *meets ? "passed"
                                : "failed",
                       margin, FrequencyText(at));
}

plot::Curve MaskCurve(const FrequencyMask& mask, double from, double to)
{
    plot::Curve curve{{}, {}, {.colour = colours::kInk, .dash = 5}, mask.name};
    for (const auto& [frequency, value] : mask.Within(from, to)) {
        curve.x.push_back(frequency);
        curve.y.push_back(value);
    }
    return curve;
}

std::string PageHead(const std::string& title, const std::string& signal,
                     const std::string& verdict, std::optional<bool> meets)
{
    using html::Escaped;
    std::string text = html::Begin(title);
    const auto out = std::back_inserter(text);
    fmt::format_to(out, "<p class=\"faint\">{}</p>\n", Escaped(signal));
    if (!verdict.empty()) {
        fmt::format_to(out, "<p{}><strong>{}</strong></p>\n",
                       meets == false ? " class=\"alarm\"" : "", Escaped(verdict));
    }
    return text;
}

std::string PageLinks(const std::vector<std::string>& files, const std::string& name,
                      const PictureFormats& pictures, const std::vector<std::string>& notes)
{
    std::string text;
    const auto out = std::back_inserter(text);
    const auto link = [&](const std::string& file) {
        fmt::format_to(out, "{0}<a href=\"{1}\">{1}</a>", text.empty() ? "<p>" : ", ", file);
    };
    for (const std::string& file : files) link(file);
    for (const PictureFormat format : pictures) link(fmt::format("{}.{}", name, Name(format)));
    text += "</p>\n";
    for (const std::string& note : notes)
        fmt::format_to(out, "<p class=\"alarm\">{}</p>\n", html::Escaped(note));
    return text;
}

}  // namespace amisim
