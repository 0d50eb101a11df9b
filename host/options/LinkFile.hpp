#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <string>
#include <vector>

#include "host/options/SegmentWords.hpp"

namespace amisim {

/// A link in a file of TOML (docs/link.md), in the words of the command line of `amisim run`:
///
///     [link]                # options of the whole, by their long names with _ for -
///     bits = 1_000_000
///     [[segment]]           # in the link's order; options of a segment stand here or in a table
///     tx = { ibis = "tx.ibs", model = "drv", set = { Post1 = 3 } }  # or { swing = 0.8, ... }
///     channel = "backplane.s4p"                                     # or { loss = 10 }
///     rx = { ibis = "retimer.ibs", as = "retimer", set = { EQ_Level = 10 } }
struct LinkFile
{
    std::vector<Word> link;
    std::vector<SegmentWords> segments;
};

/// Whether the file is a link's by its name and, where it can be read, its contents.
bool IsLinkFile(const std::filesystem::path& path);

/// @param run   defines the options
/// @param sets  "SEGMENT.KEY=VALUE" each, which replace what stands there: "2.loss=6",
///              "1.rx.set.EQ_Level=10"
/// @throws Error (kInput) for a file that cannot be read, (kUsage) that names line and key and what
/// was expected
LinkFile ReadLinkFile(const std::filesystem::path& path, const CLI::App& run,
                      const std::vector<std::string>& sets);

/// What such sets say of each segment of a link that is told on the command line.
/// @throws as ReadLinkFile
std::vector<std::vector<Word>> ReadSets(const std::vector<std::string>& sets, std::size_t segments,
                                        const CLI::App& run);

}  // namespace amisim
