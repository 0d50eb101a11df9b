#include "ibis/reader/Number.hpp"

#include <charconv>
#include <cmath>

#include "base/TextFile.hpp"

namespace ibis {
namespace {

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsUnitLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '%' || c == '/' || c == '*' ||
           static_cast<unsigned char>(c) >= 0x80;
}

double Factor(char scale)
{
    switch (scale) {
        case 'T':
            return 1e12;
        case 'G':
            return 1e9;
        case 'M':
            return 1e6;
        case 'k':
            return 1e3;
        case 'm':
            return 1e-3;
        case 'u':
            return 1e-6;
        case 'n':
            return 1e-9;
        case 'p':
            return 1e-12;
        case 'f':
            return 1e-15;
        default:
            return 0;
    }
}

Number NotANumber(std::string_view text)
{
    Number number;
    number.value = NAN;
    if (text == "NA") {
        number.kind = Number::Kind::NotAvailable;
    } else if (text == "-" || Lowercase(text) == "na" || Lowercase(text) == "n/a") {
        number.kind = Number::Kind::OtherNa;
    }
    return number;
}

/// The decimal number that both digits and exponent make up, scaled once: 26.0m is the double
/// nearest to 0.026, which 26.0 * 1e-3 need not be.
double Scaled(double value, char scale)
{
    const double factor = Factor(scale);
    return factor < 1 ? value / std::round(1 / factor) : value * factor;
}

void ReadUnit(std::string_view rest, bool hasExponent, Number& number)
{
    if (rest.empty()) {
        return;
    }
    number.unit = rest;
    if (Factor(rest.front()) != 0) {
        const std::string lower = rest.size() < 3 ? "" : Lowercase(rest.substr(0, 3));
        number.scale = rest.front();
        number.unit.remove_prefix(1);
        number.value = Scaled(number.value, number.scale);
        if (lower.starts_with("meg") || lower.starts_with("mil")) {
            number.doubt = Number::Doubt::ScaleLooksOther;
        } else if (hasExponent) {
            number.doubt = Number::Doubt::ScaleAndExponent;
        }
    } else if (rest.front() == 'K' || rest.starts_with("\xC2\xB5") ||
               rest.starts_with("\xCE\xBC") || rest.front() == '\xB5') {
        number.doubt = Number::Doubt::ScaleUnknown;
    }
}

}  // namespace

Number ParseNumber(std::string_view text)
{
    std::string_view digits = text;
    if (digits.starts_with('+')) {
        digits.remove_prefix(1);
    }
    const size_t first = digits.starts_with('-') && digits.data() == text.data() ? 1 : 0;
    if (digits.size() <= first || !(IsDigit(digits[first]) || digits[first] == '.')) {
        return NotANumber(text);
    }
    Number number;
    const char* const last = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), last, number.value);
    if (error != std::errc()) {
        return NotANumber(text);
    }
    number.kind = Number::Kind::Number;
    const std::string_view rest(end, static_cast<size_t>(last - end));
    for (const char c : rest) {
        if (!IsUnitLetter(c)) {
            return NotANumber(text);
        }
    }
    const std::string_view mantissa(digits.data(), static_cast<size_t>(end - digits.data()));
    ReadUnit(rest, !rest.empty() && mantissa.find_first_of("eE") != mantissa.npos, number);
    if (!std::isfinite(number.value)) {
        return NotANumber(text);
    }
    return number;
}

const char* UnitName(Quantity quantity)
{
    switch (quantity) {
        case Quantity::Volt:
            return "V";
        case Quantity::Ampere:
            return "A";
        case Quantity::Second:
            return "s";
        case Quantity::Farad:
            return "F";
        case Quantity::Henry:
            return "H";
        case Quantity::Ohm:
            return "ohm";
        case Quantity::Any:
            break;
    }
    return "";
}

namespace {

/// Of the symbols, which stand behind nearly every number of a table.
Quantity QuantityOfSymbol(char symbol)
{
    switch (symbol) {
        case 'V':
        case 'v':
            return Quantity::Volt;
        case 'A':
        case 'a':
            return Quantity::Ampere;
        case 's':
        case 'S':
            return Quantity::Second;
        case 'F':
        case 'f':
            return Quantity::Farad;
        case 'H':
        case 'h':
            return Quantity::Henry;
        default:
            return Quantity::Any;
    }
}

}  // namespace

Quantity QuantityOf(std::string_view unit)
{
    if (unit.size() == 1) {
        return QuantityOfSymbol(unit[0]);
    }
    struct Row
    {
        std::string_view name;
        Quantity quantity;
    };
    constexpr Row kUnits[] = {
        {"volt", Quantity::Volt},   {"volts", Quantity::Volt},   {"amp", Quantity::Ampere},
        {"amps", Quantity::Ampere}, {"sec", Quantity::Second},   {"secs", Quantity::Second},
        {"farad", Quantity::Farad}, {"farads", Quantity::Farad}, {"henry", Quantity::Henry},
        {"ohm", Quantity::Ohm},     {"ohms", Quantity::Ohm},
    };
    const std::string lower = Lowercase(unit);
    for (const Row& row : kUnits) {
        if (row.name == lower) {
            return row.quantity;
        }
    }
    return Quantity::Any;
}

}  // namespace ibis
