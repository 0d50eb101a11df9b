#include "host/network/LimitFile.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "base/Error.hpp"
#include "base/TextFile.hpp"
#include "base/Toml.hpp"

namespace amisim {
namespace {

using base::TomlText;

/// The curves that a channel may have.
const std::vector<std::string> kCurves{"insertion_loss_db",         "fitted_loss_db",
                                       "loss_deviation_db",         "return_loss_source_db",
                                       "return_loss_load_db",       "crosstalk_ratio_db",
                                       "fitted_crosstalk_ratio_db", "conversion_scd21_db",
                                       "conversion_sdc21_db",       "conversion_scd11_db"};

using Points = std::vector<std::pair<double, double>>;

double Between(const Points& points, double f)
{
    const auto after = std::ranges::upper_bound(points, f, {}, &Points::value_type::first);
    if (after == points.begin()) return points.front().second;
    if (after == points.end()) return points.back().second;
    const auto& [x, y] = *std::prev(after);
    return y + (after->second - y) * (f - x) / (after->first - x);
}

class Reader
{
public:
    explicit Reader(const std::filesystem::path& path) : path_(path) {}

    LimitSet Read()
    {
        const toml::table root = base::ReadTomlFile(path_);
        RequireKnown(root, {"name", "fit", "limit"});
        LimitSet set{path_.filename().string(), {}, {}};
        if (const toml::node* name = root.get("name")) set.name = Text(*name, "name");
        if (const toml::node* fit = root.get("fit")) set.fit = Fit(*fit);
        const toml::array* limits = root["limit"].as_array();
        if (!limits || limits->empty()) Fail(root, "expected one [[limit]] or more");
        for (const toml::node& one : *limits) set.limits.push_back(ReadLimit(one));
        return set;
    }

private:
    [[noreturn]] void Fail(const toml::node& node, const std::string& text) const
    {
        throw Error(path_, static_cast<int>(std::max(1U, node.source().begin.line)), text);
    }

    void RequireKnown(const toml::table& table, const std::vector<std::string>& names) const
    {
        for (const auto& [key, node] : table) {
            const std::string name = TomlText(key.str());
            if (std::ranges::find(names, name) == names.end()) {
                Fail(node,
                     fmt::format("unknown name '{}': expected {}", name, Joined(names, ", ")));
            }
        }
    }

    double Number(const toml::node& node, const char* what) const
    {
        const auto value = node.value<double>();
        if (!value || !std::isfinite(*value))
            Fail(node, fmt::format("expected a number for {}", what));
        return *value;
    }

    std::string Text(const toml::node& node, const char* what) const
    {
        const auto value = node.value<std::string>();
        if (!value) Fail(node, fmt::format("expected a text for {}", what));
        return TomlText(*value);
    }

    FitChoice Fit(const toml::node& node) const
    {
        const toml::table* const table = node.as_table();
        if (!table) Fail(node, "expected a table [fit]");
        RequireKnown(*table, {"terms", "from_hz", "to_hz"});
        FitChoice fit;
        if (const toml::node* terms = table->get("terms")) {
            const toml::array* const list = terms->as_array();
            if (!list || list->empty()) Fail(*terms, "expected a list of a0, a1, a2, a4");
            fit.terms = {};
            for (const toml::node& term : *list) {
                const auto found = std::ranges::find(kFitTerms, Text(term, "a term"));
                if (found == kFitTerms.end()) Fail(term, "expected a0, a1, a2 or a4");
                fit.terms[static_cast<std::size_t>(found - kFitTerms.begin())] = true;
            }
        }
        if (const toml::node* from = table->get("from_hz")) fit.from = Number(*from, "from_hz");
        if (const toml::node* to = table->get("to_hz")) fit.to = Number(*to, "to_hz");
        if (fit.from < 0.0 || (fit.to != 0.0 && fit.to <= fit.from))
            Fail(node, "expected 0 <= from_hz < to_hz");
        return fit;
    }

    Limit ReadLimit(const toml::node& node) const
    {
        const toml::table* const table = node.as_table();
        if (!table) Fail(node, "expected a table [[limit]]");
        RequireKnown(*table, {"curve", "most", "least"});
        const toml::node* const curve = table->get("curve");
        Limit limit;
        if (curve) limit.curve = Text(*curve, "curve");
        if (std::ranges::find(kCurves, limit.curve) == kCurves.end()) {
            Fail(curve ? *curve : node,
                 fmt::format("expected as curve one of {}", Joined(kCurves, ", ")));
        }
        const toml::node *const most = table->get("most"), *const least = table->get("least");
        if (!most == !least) Fail(node, "expected either most or least");
        limit.isMost = most != nullptr;
        const toml::node& list = most ? *most : *least;
        Points points;
        for (const toml::node& point : Array(list, 1)) {
            const toml::array& pair = Array(point, 2);
            points.emplace_back(Number(pair[0], "a frequency"), Number(pair[1], "a level"));
            if (points.size() > 1 && points.back().first <= std::prev(points.end(), 2)->first)
                Fail(point, "expected a frequency above the one before");
        }
        if (points.size() < 2) Fail(list, "expected two points or more of [Hz, dB]");
        limit.from = points.front().first;
        limit.to = points.back().first;
        limit.db = [points](double f) { return Between(points, f); };
        return limit;
    }

    const toml::array& Array(const toml::node& node, std::size_t least) const
    {
        const toml::array* const array = node.as_array();
        if (!array || array->size() < least) Fail(node, "expected points of [Hz, dB]");
        return *array;
    }

    const std::filesystem::path& path_;
};

}  // namespace

LimitSet ReadLimitFile(const std::filesystem::path& path)
{
    std::error_code error;
    if (!std::filesystem::exists(path, error)) {
        throw Error(path, fmt::format("is neither a file nor one of the built-in limits: {}",
                                      Joined(LimitNames(), ", ")));
    }
    return Reader(path).Read();
}

}  // namespace amisim
