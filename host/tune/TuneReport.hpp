#pragma once

#include <optional>
#include <string>
#include <utility>

#include "host/tune/Ranking.hpp"

namespace amisim {

/// The best settings of a grid: what was searched, what was found, and what was run bit by bit.
struct Tuning
{
    const Figure& figure;
    bool computed;  // the figure is that of computed eyes
    Table searched;
    Ranking ranking;       // of it
    Table confirmed = {};  // the first of the ranking, and then the adaptation where there is one
    std::string adaptation = {};  // its settings: "CTLEAdapt=1"; empty: none

    /// @param table  of the search, to which the figures are added
    Tuning(const Figure& of, Table table)
        : figure(of),
          computed(AllComputed(table, of)),
          searched(WithFigures(std::move(table), of, computed)),
          ranking(searched, of)
    {
    }
    Tuning(const Tuning&) = delete;  // the ranking refers to the table
    Tuning& operator=(const Tuning&) = delete;

    const Row* Best() const { return ranking.rows.empty() ? nullptr : ranking.rows[0]; }
    const Row* Adapted() const { return adaptation.empty() ? nullptr : &confirmed.rows.back(); }
};

/// For the terminal.
std::string ToText(const Tuning& tuning);

/// For the head of the page.
std::string ToHtml(const Tuning& tuning);

/// A line for each case, in the order of the grid, with its rank.
std::string ToCsv(const Tuning& tuning);
nlohmann::ordered_json ToJson(const Tuning& tuning);

}  // namespace amisim
