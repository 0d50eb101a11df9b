#pragma once

#include <string>
#include <vector>

#include "ibis/ami/AmiFile.hpp"

namespace ibis {

/// One parameter in words, as `amisim params` lists it.
struct ParameterRow
{
    std::string name, usage, type, defaultValue, allowed, description;
    bool reserved = false;
};

/// One row for each parameter: model-specific ones first, as those are what a user sets.
std::vector<ParameterRow> ParameterRows(const AmiFile& file);

/// The rows as a text table with a heading, columns aligned, descriptions wrapped so that no line
/// is longer than width characters where the columns leave room for that.
std::string ParameterTable(const AmiFile& file, std::size_t width = 100);

}  // namespace ibis
