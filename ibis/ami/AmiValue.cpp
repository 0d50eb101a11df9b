#include "ibis/ami/AmiValue.hpp"

#include <charconv>
#include <cmath>

#include "base/TextFile.hpp"

namespace ibis {
namespace {

constexpr double kGreatestWhole = 1e15;  // every integer up to here is exact in a double

bool SameValue(Type type, const std::string& listed, const std::string& wanted)
{
    if (type == Type::String || type == Type::Boolean) {
        return listed == wanted;
    }
    const double a = AsNumber(listed).value_or(NAN);
    const double b = AsNumber(wanted).value_or(NAN);
    return std::abs(a - b) <= 1e-9 * std::abs(a);
}

/// On the lattice typ + n delta between min and max, but for rounding errors.
bool OnLattice(double value, double typ, double min, double max, double delta)
{
    const double slack = 1e-6 * std::abs(delta);
    const double steps = delta == 0.0 ? 0.0 : std::round((value - typ) / delta);
    return std::abs(typ + steps * delta - value) <= slack && value >= min - slack &&
           value <= max + slack;
}

}  // namespace

std::optional<double> AsNumber(std::string_view text)
{
    if (text.starts_with('+') && !text.starts_with("+-")) {
        text.remove_prefix(1);
    }
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::string> AsType(Type type, std::string_view text)
{
    switch (type) {
        case Type::String:
            return std::string(text);
        case Type::Boolean: {
            const std::string lower = Lowercase(text);
            if (lower == "true" || lower == "false") {
                return lower == "true" ? "True" : "False";
            }
            return std::nullopt;
        }
        case Type::Integer: {
            const auto number = AsNumber(text);
            if (!number || *number != std::floor(*number) || std::abs(*number) > kGreatestWhole) {
                return std::nullopt;
            }
            return fmt::format("{}", static_cast<long long>(*number));
        }
        case Type::Float:
        case Type::Tap:
        case Type::UI:
            break;
    }
    if (!AsNumber(text)) {
        return std::nullopt;
    }
    return std::string(text.starts_with('+') ? text.substr(1) : text);
}

std::optional<std::string> Admitted(const AmiParameter& parameter, std::string_view text)
{
    const auto value = AsType(parameter.type, text);
    const auto number = [&](size_t i) { return AsNumber(parameter.values[i]).value_or(NAN); };
    switch (parameter.format) {
        case Format::List:
        case Format::Corner:
            for (size_t i = 0; i < parameter.tips.size(); ++i) {
                if (Lowercase(parameter.tips[i]) == Lowercase(text)) {
                    return parameter.values[i];
                }
            }
            for (const std::string& listed : parameter.values) {
                if (value && SameValue(parameter.type, listed, *value)) {
                    return listed;
                }
            }
            return std::nullopt;
        case Format::Range:
        case Format::Increment:
        case Format::Steps: {
            const auto wanted = value ? AsNumber(*value) : std::nullopt;
            if (!wanted) {
                return std::nullopt;
            }
            const double delta = parameter.format == Format::Increment ? number(3)
                                 : parameter.format == Format::Steps
                                     ? (number(2) - number(1)) / number(3)
                                     : 0.0;
            const bool inside = parameter.format == Format::Range
                                    ? *wanted >= number(1) && *wanted <= number(2)
                                    : OnLattice(*wanted, number(0), number(1), number(2), delta);
            return inside ? value : std::nullopt;
        }
        case Format::Value:
        case Format::None:
            return value;
        case Format::Table:
        case Format::Gaussian:
        case Format::DualDirac:
        case Format::DjRj:
            break;
    }
    return std::nullopt;  // a table or a distribution is not set by one value
}

}  // namespace ibis
