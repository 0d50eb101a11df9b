#include <fmt/format.h>

#include <cmath>
#include <functional>
#include <sstream>

#include "tests/ibis/rules/GoodFiles.hpp"
#include "tests/ibis/rules/RuleCases.hpp"

/// One slip each in files with the tables of an extraction.
namespace ibis {
namespace {

/// What becomes of a row of four columns, by its number in the table.
using Slip = std::function<std::string(int row, const std::string& line)>;

/// Replaces the rows below a keyword (and its settings).
std::vector<std::pair<std::string, std::string>> InTable(std::string_view kind,
                                                         const std::string& keyword,
                                                         const Slip& slip)
{
    const std::string file = GoodFile(kind);
    const size_t begin = file.find("[" + keyword + "]");
    const std::string table = file.substr(begin, file.find("\n[", begin) + 1 - begin);
    std::istringstream lines(table);
    std::string edited;
    int row = 0;
    for (std::string line; std::getline(lines, line);) {
        const bool isRow = line[0] == '-' || (line[0] >= '0' && line[0] <= '9');
        edited += isRow ? slip(row++, line) : line + "\n";
    }
    return {{table, edited}};
}

/// The unit of one row forgotten.
Slip WithoutUnit(int at, const std::string& unit)
{
    return [=](int row, std::string line) {
        for (size_t i = row == at ? line.find(unit) : line.npos; i != line.npos;
             i = line.find(unit)) {
            line.replace(i, unit.size(), unit.substr(1));
        }
        return line + "\n";
    };
}

/// The typical value of a row made of its old one.
Slip WithTypical(const std::function<double(int row, double volts)>& change)
{
    return [=](int row, const std::string& line) {
        std::istringstream words(line);
        std::string time, min, max;
        double typ = 0;
        words >> time >> typ >> min >> max;
        return fmt::format("{} {:.5g} {} {}\n", time, change(row, typ), min, max);
    };
}

}  // namespace

std::vector<RuleCase> RealisticCases()
{
    using enum Severity;
    const char* const io = "realistic I/O";
    const auto cutOff = [](int row, const std::string& line) {
        return row <= 17 ? line + "\n" : "";
    };
    const auto spike = [](int row, double volts) { return row == 30 ? volts + 3.5 : volts; };
    const auto steps = [](int, double volts) { return std::floor(volts * 4) / 4; };
    const auto slow = [](int row, const std::string& line) {
        return fmt::format("{}n {}\n", row * 0.25, line.substr(line.find(' ')));
    };
    return {
        {418, io, InTable(io, "Pulldown", WithoutUnit(50, "mA")), Warning,
         "[Pulldown] of 'BUF' has"},
        {418, io, InTable(io, "GND Clamp", WithoutUnit(5, "mA")), Warning, "[GND Clamp] of 'BUF'"},
        {418, "realistic Series_switch",
         InTable("realistic Series_switch", "Series MOSFET", WithoutUnit(40, "mA")), Warning,
         "[Series MOSFET] of 'SW'"},
        {455, io, {{"n\nR_load", "\nR_load"}}, Warning, "dV/dt_f of 'BUF' is"},
        {456, io, InTable(io, "Rising Waveform", slow), Warning, "dV/dt_r of 'BUF' takes"},
        {509, io, InTable(io, "Rising Waveform", cutOff), Warning, "still moves by"},
        {512, io, InTable(io, "Rising Waveform", WithTypical(spike)), Warning, "overshoots its"},
        {516, io, InTable(io, "Rising Waveform", WithTypical(steps)), Warning, "on the edge of"},
    };
}

}  // namespace ibis
