#include "ibis/reader/NumberCheck.hpp"

#include <fmt/format.h>

#include "ibis/reader/SyntaxRules.hpp"

namespace ibis {
namespace {

/// 15MF and 50mOhm are legal and never meant. Small resistances are meant where they are parasitic.
bool LooksMisread(const Number& number, const NumberPlace& place)
{
    if (place.quantity == Quantity::Farad || place.quantity == Quantity::Henry) {
        return number.scale == 'M';
    }
    const bool isLoad = place.of.starts_with("R_fixture") || place.of.starts_with("R_load") ||
                        place.of.starts_with("Rref");
    return isLoad && number.scale == 'm';
}

}  // namespace

void CheckNumber(const Number& number, const Word& word, const NumberPlace& place,
                 Findings& findings)
{
    const auto say = [&](const Rule& rule, std::string text, std::string remedy) {
        findings.Count(rule, place.key, word.Place(), std::move(text), std::move(remedy));
    };
    const std::string_view text = word.Text().substr(0, 40);
    if (number.kind == Number::Kind::None) {
        say(syntax::kNumber, fmt::format("'{}' is no number; {} expects one", text, place.of),
            "write digits, a scale factor and a unit, such as 3.3V or 26.0mA");
        return;
    }
    if (number.kind == Number::Kind::OtherNa) {
        say(syntax::kOtherNa, fmt::format("'{}' of {} is taken for NA", text, place.of),
            "write NA");
        return;
    }
    if (number.kind == Number::Kind::NotAvailable) {
        return;
    }
    switch (number.doubt) {
        case Number::Doubt::ScaleUnknown:
            say(syntax::kScale,
                fmt::format("'{}' of {} has no known scale factor and is read as {:g}", text,
                            place.of, number.value),
                "scale factors are T G M k m u n p f, in this case");
            break;
        case Number::Doubt::ScaleLooksOther:
            say(syntax::kScale,
                fmt::format("'{}' of {} is read by its first letter as {:g}", text, place.of,
                            number.value),
                "scale factors are the single letters T G M k m u n p f");
            break;
        case Number::Doubt::ScaleAndExponent:
            say(syntax::kScaleAndExponent,
                fmt::format("'{}' of {} has an exponent and a scale factor; it is read as {:g}",
                            text, place.of, number.value),
                "use one of the two");
            break;
        case Number::Doubt::None:
            break;
    }
    if (LooksMisread(number, place)) {
        say(syntax::kMisreadScale,
            fmt::format("'{}' of {} is {:g} {}: M is mega and m is milli", text, place.of,
                        number.value, UnitName(place.quantity)),
            "check the scale factor");
    }
    const Quantity stated = QuantityOf(number.unit);
    if (stated != Quantity::Any && place.quantity != Quantity::Any && stated != place.quantity) {
        say(syntax::kUnit,
            fmt::format("'{}' of {} is in {}, expected {}", text, place.of, UnitName(stated),
                        UnitName(place.quantity)),
            "check the column and the unit");
    }
}

}  // namespace ibis
