#pragma once

#include <filesystem>
#include <string>

namespace ibis {

/// What a library says of its version without being loaded: the text behind the mark "@(#)" that
/// the tool `what` of Unix looks for, up to 100 characters; "" where there is none, or no file.
std::string VersionMark(const std::filesystem::path& library);

}  // namespace ibis
