#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

/// How many nodes the files that an IBIS file refers to offer. Files that cannot be read, or do not
/// tell, give nothing.
namespace ibis {

/// Ports of a Touchstone file: of its name (.s4p), else of its [Number of Ports].
std::optional<int> TouchstonePorts(const std::filesystem::path& path);

/// Nodes of the subcircuit of this name in a file of a SPICE dialect: words of its .subckt line up
/// to the first parameter, with the lines that go on with +. Case does not count.
std::optional<int> SubcircuitNodes(const std::filesystem::path& path, std::string_view name);

}  // namespace ibis
