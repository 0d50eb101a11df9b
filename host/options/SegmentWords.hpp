#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "host/options/RunOptions.hpp"

namespace amisim {

/// A word of the command line of `amisim run`: an option with its value ("--loss=10"), or a value
/// by itself.
struct Word
{
    std::string text;
    std::string where;  // that it comes from, for messages; "": the command line
};

/// What is said of one segment of a link.
struct SegmentWords
{
    std::vector<Word> words;
    Repeater repeater = Repeater::kNone;
    std::string where;
};

/// Whether the option is of a single segment, not of the link as a whole.
bool IsOfSegment(const CLI::Option& option);

/// The option with a value; of a flag the option alone.
std::string WordOf(const CLI::Option& option, const std::string& value);

/// Those of the segments in the order of the command line: `--retimer` or `--redriver` ends
/// one, and its parameters belong to it. The last has what is said of the model.
std::vector<SegmentWords> SplitSegments(const CLI::App& run);

/// Puts words in the place of those in the segment that say the same of it.
void Replace(SegmentWords& segment, const std::vector<Word>& words);

/// Those of the link as a whole, on the command line of a command that runs links.
/// @param run  `amisim run`: what the command has of its own is none of these
std::vector<std::string> WordsOfLink(const CLI::App& command, const CLI::App& run);

/// What the words of the link as a whole say. @throws as TakeSegments
RunOptions OptionsOf(const std::vector<Word>& words);

/// Has the words of each segment understood, as those of a run of its own.
/// @param options  in: those of the link as a whole. out: with all segments
/// @throws Error (kUsage) that names the place, CLI::ParseError without one
void TakeSegments(const std::vector<SegmentWords>& segments, RunOptions& options);

}  // namespace amisim
