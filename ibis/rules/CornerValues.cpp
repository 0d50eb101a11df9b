#include "ibis/rules/CornerValues.hpp"

#include <fmt/format.h>

#include "ibis/reader/Number.hpp"

namespace ibis {
namespace {

std::string Text(double value)
{
    return std::isnan(value) ? "NA" : fmt::format("{:.4g}", value);
}

}  // namespace

bool TypIsNa(std::span<const Word> values)
{
    if (values.empty()) {
        return false;
    }
    const Number::Kind kind = ParseNumber(values[0].Text()).kind;
    return kind == Number::Kind::NotAvailable || kind == Number::Kind::OtherNa;
}

bool IsOrdered(const Corners& at)
{
    return !(at.min > at.typ) && !(at.typ > at.max) && !(at.min > at.max);
}

bool HasNegative(const Corners& at)
{
    return at.typ < 0 || at.min < 0 || at.max < 0;
}

std::string CornersText(const Corners& at, const char* unit)
{
    return fmt::format("typ {}, min {}, max {}{}{}", Text(at.typ), Text(at.min), Text(at.max),
                       *unit ? " " : "", unit);
}

}  // namespace ibis
