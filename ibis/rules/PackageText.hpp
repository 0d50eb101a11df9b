#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>

#include "ibis/reader/Grammar.hpp"
#include "ibis/records/PackageModel.hpp"

/// How findings speak of a package's matrices.
namespace ibis {

inline std::string Of(const Matrix& matrix, const PackageModel& model)
{
    return fmt::format("[{}] of package model '{}'", matrix.section->keyword->name, model.name);
}

inline std::string Amount(double value, Key key)
{
    return key == Key::ResistanceMatrix   ? fmt::format("{:.4g} ohm", value)
           : key == Key::InductanceMatrix ? fmt::format("{:.4g} nH", value * 1e9)
                                          : fmt::format("{:.4g} pF", value * 1e12);
}

inline std::string Amount(double value, const Matrix& matrix)
{
    return Amount(value, matrix.section->keyword->key);
}

inline std::string_view PinName(const PackageModel& model, size_t pin)
{
    return model.pins[pin].Text();
}

}  // namespace ibis
