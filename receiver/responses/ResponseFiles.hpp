#pragma once

#include <filesystem>
#include <vector>

#include "receiver/responses/Response.hpp"

// Reads a model maker's own responses: a folder of exactly 32 text files, one per level. In the
// natural order of their names (runs of digits count as numbers) the first is level 0, the last
// level 31: level0.txt ... level31.txt or level00.txt ... level31.txt. Names that begin with '.'
// are passed over.
//
// Each line of a file holds a time in seconds and the impulse response in 1/s, parted by blanks,
// a tab or a comma; '#' begins a comment, and empty lines are skipped. A file needs at least 4
// points with rising times and lasts at most a microsecond.
//
// Returns the responses in the order of level. Throws std::runtime_error with a one-line text,
// "file:line: what is wrong" where a line is to blame.
std::vector<Response> ReadResponseFolder(const std::filesystem::path& folder);
