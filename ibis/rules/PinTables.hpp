#pragma once

#include "ibis/rules/Check.hpp"

/// What the rules on the tables of a component share.
namespace ibis {

/// True for a pin of the component; otherwise it is reported, once for each table.
bool IsPin(const Component& component, const Word& word, const char* table, Report& report);

/// A model that may stand behind a pin, itself or through the first row of a selector; null for
/// none.
const Model* ModelOf(const IbisFile& file, const Pin* pin);

}  // namespace ibis
