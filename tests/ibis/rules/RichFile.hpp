#pragma once

#include <string>
#include <string_view>

/// Parts of good files for what the tables of a buffer do not cover.
namespace ibis {

/// [External Model] of a true differential type in buffer.sp.
std::string GoodExternalModel(std::string_view typeName);

/// The subcircuits that these files name.
std::string GoodCircuits();

/// The model SW of a series type, and the rows of its component.
std::string GoodSeriesModel(std::string_view typeName);
std::string GoodSeriesPins(std::string_view typeName);

/// An I/O with all that may be added to it: [Model Spec], [Receiver Thresholds], submodels, a
/// schedule of the model STAGE, an external circuit, test data, emissions.
std::string RichFile(std::string text, std::string_view stage);

}  // namespace ibis
