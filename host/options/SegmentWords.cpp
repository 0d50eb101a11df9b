#include "host/options/SegmentWords.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <map>

#include "base/Error.hpp"
#include "host/options/RunCommand.hpp"
#include "host/options/SignalCommandLine.hpp"

namespace amisim {
namespace {

/// A command line of `run` that is parsed once.
struct Line
{
    CLI::App app;
    RunOptions options;
    CLI::App* run = AddRunCommand(app, options);

    void Parse(std::vector<std::string> words)
    {
        std::ranges::reverse(words);
        words.emplace_back("run");
        app.parse(words);
    }
};

constexpr const char* kAnyModel = "model";  // which the words of an option do not look at

/// An option may be wrong by itself, which is told with its place, or only beside others.
void CheckAlone(const Word& word)
{
    if (word.where.empty() || !word.text.starts_with('-')) return;
    Line line;
    try {
        line.Parse({kAnyModel, word.text});
    } catch (const CLI::RequiresError&) {
    } catch (const CLI::ExcludesError&) {
    } catch (const CLI::ParseError& error) {
        throw Error(ExitCode::kUsage, fmt::format("{}: {}", word.where, error.what()));
    }
}

/// The first of these that is given; null: none.
const char* FirstGiven(const CLI::App& run, std::initializer_list<const char*> names)
{
    const auto* const found =
        std::ranges::find_if(names, [&](const char* name) { return run.count(name) > 0; });
    return found == names.end() ? nullptr : *found;
}

/// What a segment behind another cannot be told, and why.
void CheckBehind(const CLI::App& run)
{
    if (run.count("--wave") > 0)
        throw CLI::ValidationError("--wave", "a waveform is for the link's first segment");
    if (const char* const name =
            FirstGiven(run, {"--prbs", "--pattern", "--clock-pattern", "--phase", "--ppm"})) {
        throw CLI::ValidationError(
            name, "is for the link's first segment: those behind it send on what comes");
    }
}

std::vector<std::string> Checked(const std::vector<Word>& words)
{
    std::vector<std::string> texts;
    for (const Word& word : words) {
        CheckAlone(word);
        if (!word.text.starts_with('-') && word.text.ends_with(".toml")) {
            throw Error(ExitCode::kUsage,
                        fmt::format("{}{}: is a link: expected the model of a receiver",
                                    word.where.empty() ? "" : word.where + ": ", word.text));
        }
        texts.push_back(word.text);
    }
    return texts;
}

/// @param place  for messages, "" of the link's first segment
SegmentOptions Understood(const SegmentWords& segment, const std::string& place)
{
    Line line;
    line.Parse(Checked(segment.words));
    SegmentOptions own = line.options;
    own.repeater = segment.repeater;
    if (place.empty()) return own;
    CheckBehind(*line.run);
    if (const char* const name =
            FirstGiven(*line.run, {"--amplitude", "--rise-time", "--rj", "--sj-amplitude", "--dcd",
                                   "--tx-pre", "--tx-post"}))
        own.senderOption = place + name;
    return own;
}

/// What is the same in the whole link.
void TakeCommon(const SignalOptions& all, const SignalOptions& first, SignalOptions& own)
{
    own.bits = all.bits;
    own.bitRate = all.bitRate;
    own.samplesPerBit = all.samplesPerBit;
    own.findBitRate = all.findBitRate;
    own.levels = all.levels;
    own.seed = all.seed;
    if (&first == &own) return;
    own.prbs = first.prbs;
    own.pattern = first.pattern;
    own.clockPattern = first.clockPattern;
    own.ppm = first.wave.empty() ? first.ppm : 0;
}

}  // namespace

bool IsOfSegment(const CLI::Option& option)
{
    static constexpr std::array kNames = {"--model", "--param", "--corner", "--sampler-noise"};
    const auto named = [&](const char* name) { return option.check_lname(name + 2); };
    if (option.check_lname("seed")) return false;
    const std::string& group = option.get_group();
    return option.get_positional() || std::ranges::any_of(kNames, named) || group == kSignalGroup ||
           group == kChannelGroup || group == kWaveGroup || group == kTransmitterGroup;
}

std::string WordOf(const CLI::Option& option, const std::string& value)
{
    if (option.get_positional()) return value;
    const std::string name = "--" + option.get_lnames().front();
    return option.get_items_expected_max() == 0 ? name : name + "=" + value;
}

std::vector<SegmentWords> SplitSegments(const CLI::App& run)
{
    std::vector<SegmentWords> segments(1);
    std::vector<Word> end;
    std::map<const CLI::Option*, std::size_t> taken;
    const auto behind = [&](const CLI::Option& option) -> SegmentWords& {
        if (segments.size() > 1) return segments[segments.size() - 2];
        throw CLI::ValidationError(option.get_name(),
                                   "belongs behind a repeater such as --retimer");
    };
    for (const CLI::Option* option : run.parse_order()) {
        const std::size_t at = taken[option]++;
        if (at >= option->results().size()) continue;
        const std::string& value = option->results()[at];
        const bool redriver = option->check_lname("redriver");
        if (redriver || option->check_lname("retimer")) {
            segments.back().words.push_back({value, ""});
            segments.back().repeater = redriver ? Repeater::kRedriver : Repeater::kRetimer;
            segments.emplace_back();
        } else if (option->check_lname("retimer-param") || option->check_lname("redriver-param")) {
            behind(*option).words.push_back({"--param=" + value, ""});
        } else if (option->check_lname("retimer-model") || option->check_lname("redriver-model")) {
            behind(*option).words.push_back({"--model=" + value, ""});
        } else if (option->check_lname("retimer-corner")) {
            behind(*option).words.push_back({"--corner=" + value, ""});
        } else if (option->get_positional() || option->check_lname("model") ||
                   option->check_lname("param") || option->check_lname("corner")) {
            end.push_back({WordOf(*option, value), ""});
        } else if (IsOfSegment(*option)) {
            segments.back().words.push_back({WordOf(*option, value), ""});
        }
    }
    segments.back().words.insert(segments.back().words.end(), end.begin(), end.end());
    return segments;
}

void Replace(SegmentWords& segment, const std::vector<Word>& words)
{
    // "--loss", "--param=EQ_Level"; "" for the model itself.
    const auto saying = [](const Word& word) {
        if (!word.text.starts_with('-')) return std::string();
        const bool named =
            word.text.starts_with("--param=") || word.text.starts_with("--tx-param=");
        return word.text.substr(0, word.text.find('=', named ? word.text.find('=') + 1 : 0));
    };
    std::erase_if(segment.words, [&](const Word& old) {
        return std::ranges::any_of(words,
                                   [&](const Word& word) { return saying(word) == saying(old); });
    });
    segment.words.insert(segment.words.end(), words.begin(), words.end());
}

std::vector<std::string> WordsOfLink(const CLI::App& command, const CLI::App& run)
{
    std::vector<std::string> words;
    for (const CLI::Option* option : command.get_options()) {
        if (IsOfSegment(*option) || option->get_group() == kLinkGroup) continue;
        const CLI::Option* const same =
            option->get_lnames().empty()
                ? nullptr
                : run.get_option_no_throw("--" + option->get_lnames().front());
        if (!same || same->get_group() != option->get_group()) continue;
        const auto& values = option->results();
        if (option->get_delimiter() != '\0' && !values.empty()) {
            words.push_back(WordOf(*option, CLI::detail::join(values, ",")));
        } else {
            for (const std::string& value : values) words.push_back(WordOf(*option, value));
        }
    }
    return words;
}

RunOptions OptionsOf(const std::vector<Word>& words)
{
    Line line;
    auto texts = Checked(words);
    texts.emplace_back(kAnyModel);
    line.Parse(texts);
    return line.options;
}

void TakeSegments(const std::vector<SegmentWords>& segments, RunOptions& options)
{
    std::vector<SegmentOptions> all;
    for (const SegmentWords& segment : segments) {
        const std::string place = fmt::format("{}{}segment {}: ", segment.where,
                                              segment.where.empty() ? "" : ": ", all.size() + 1);
        try {
            all.push_back(Understood(segment, all.empty() ? "" : place));
        } catch (const CLI::ParseError& error) {
            if (segments.size() == 1 && segment.where.empty()) throw;
            throw Error(ExitCode::kUsage, place + error.what());
        }
    }
    for (SegmentOptions& own : all) TakeCommon(options.signal, all.front().signal, own.signal);
    static_cast<SegmentOptions&>(options) = std::move(all.back());
    all.pop_back();
    options.earlier = std::move(all);
}

}  // namespace amisim
