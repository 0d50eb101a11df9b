#include <algorithm>

#include "host/contract/Clauses.hpp"
#include "host/contract/Recording.hpp"

namespace amisim::contract {
namespace {

constexpr std::size_t kBits = 100;

/// What the model makes of a parameter string: its impulse response, and some bits of a waveform.
Recording Answer(Bench& bench, const std::string& parameters)
{
    Start start = Defaults(bench);
    start.parameters = parameters;
    Instance instance(bench, start);
    instance.Init();
    Recording recording;
    if (bench.GetTask().HasGetWave())
        recording = Record(instance, MakeWave(bench, kBits, start.samplesPerBit), {2000});
    // In the waveform's order of magnitude: outputs are compared in parts of the greatest value.
    for (const double value : instance.Impulse()) recording.output.push_back(value * start.bitTime);
    instance.Close();
    return recording;
}

void RequireFinite(const Bench& bench, const Recording& recording)
{
    const std::size_t at = FirstNotFinite(recording.output);
    Require(at == recording.output.size(),
            bench.GetTask().HasGetWave() ? "AMI_GetWave" : "AMI_Init",
            "returned {} V at sample {}{}",
            recording.output[std::min(at, recording.output.size() - 1)], at, After(bench));
}

std::string Count(std::size_t tried, std::size_t of)
{
    return tried == of ? fmt::format("{} settings", of)
                       : fmt::format("{} of {} settings", tried, of);
}

/// A setting in two strings that mean the same.
struct Pair
{
    std::string label, plain, other, how;
};

/// Has the model read as many of them as there is time for.
std::size_t RequireSameAnswers(Bench& bench, const std::vector<Pair>& pairs)
{
    std::size_t tried = 0;
    for (const auto& [label, plain, other, how] : pairs) {
        if (!bench.TimeLeft()) break;
        bench.SetCircumstance(label);
        const Recording expected = Answer(bench, plain);
        bench.SetCircumstance(label + how);
        const std::string difference =
            Difference(expected, Answer(bench, other), bench.GetTask().bitTime);
        Require(difference.empty(), "AMI_Init", "does not read it {}{}: {}", label, how,
                difference);
        ++tried;
    }
    return tried;
}

Verdict SameAnswers(Bench& bench, const Spellings& spellings)
{
    if (spellings.of == 0) return NotApplicable("the model has no such parameter");
    const std::string& defaults = bench.GetTask().parameters;
    std::vector<Pair> pairs;
    for (const auto& [label, plain, other, how] : spellings.list)
        pairs.push_back({label, plain.ApplyTo(defaults), other.ApplyTo(defaults), how});
    return Passed(Count(RequireSameAnswers(bench, pairs), spellings.of));
}

Verdict SameAnswers(Bench& bench, const std::vector<Pair>& pairs)
{
    return Passed(Count(RequireSameAnswers(bench, pairs), pairs.size()));
}

struct Setting
{
    std::string label, parameters;
};

/// Settings other than the defaults where there are any: a model that cannot read a string takes
/// the defaults, and only another value shows that.
std::vector<Setting> SomeSettings(const Bench& bench)
{
    constexpr std::size_t kMost = 8;
    const std::string& defaults = bench.GetTask().parameters;
    const auto& all = bench.GetTask().rangeEnds.list;
    if (all.empty()) return {{"the defaults", defaults}};
    std::vector<Setting> some;
    for (std::size_t i = 0; i < all.size(); i += 1 + (all.size() - 1) / kMost)
        some.push_back({all[i].label, all[i].edit.ApplyTo(defaults)});
    return some;
}

/// The string with other white space between its words.
std::string WithBlanks(const std::string& plain, const std::string& blanks)
{
    std::string other;
    bool quoted = false;
    for (const char c : plain) {
        quoted = quoted != (c == '"');
        other += c == ' ' && !quoted ? blanks : std::string(1, c);
    }
    return other;
}

/// Strings that no host should send and none can rule out.
std::vector<std::string> Garbage(Bench& bench)
{
    const std::string& root = bench.GetTask().root;
    const std::string& good = bench.GetTask().parameters;
    std::vector<std::string> texts = {"(",
                                      ")",
                                      "()",
                                      "))))((((",
                                      root,
                                      "(" + root,
                                      "(" + root + " (",
                                      "(" + root + " (x \"never closed))",
                                      "(" + root + " (x 1e999) (y nan) (z -))",
                                      "(Of_Another_Model (x 1))",
                                      "\"",
                                      "\x01\x02\xff\xfe",
                                      std::string(10000, 'a'),
                                      std::string(1000, '('),
                                      good + good,
                                      good.substr(0, good.size() / 2)};
    Random random = bench.MakeRandom(1000);
    for (int i = 0; i < 16; ++i) {
        std::string text = good;
        for (int change = 0; change < 4; ++change)
            text[random.Bits() % text.size()] = "()\" .-+9e\xff"[random.Bits() % 10];
        texts.push_back(text);
    }
    return texts;
}

}  // namespace

Verdict RangeEnds(Bench& bench)
{
    const Trials& trials = bench.GetTask().rangeEnds;
    if (trials.of == 0) return NotApplicable("no parameter has a range or a list");
    std::size_t tried = 0;
    for (const auto& [label, edit] : trials.list) {
        if (!bench.TimeLeft()) break;
        bench.SetCircumstance(label);
        RequireFinite(bench, Answer(bench, edit.ApplyTo(bench.GetTask().parameters)));
        ++tried;
    }
    return Passed(Count(tried, trials.of));
}

Verdict QuotedIntegers(Bench& bench)
{
    return SameAnswers(bench, bench.GetTask().quotedIntegers);
}

Verdict DecimalIntegers(Bench& bench)
{
    return SameAnswers(bench, bench.GetTask().decimalIntegers);
}

Verdict WhiteSpace(Bench& bench)
{
    std::vector<Pair> pairs;
    for (const auto& [label, parameters] : SomeSettings(bench)) {
        pairs.push_back(
            {label, parameters, WithBlanks(parameters, "\r\n\t"), ", with line breaks and tabs"});
        pairs.push_back({label, parameters, WithBlanks(parameters, std::string(200, ' ')),
                         ", with 200 blanks at once"});
    }
    return SameAnswers(bench, pairs);
}

Verdict UnknownParameters(Bench& bench)
{
    std::vector<Pair> pairs;
    for (const auto& [label, parameters] : SomeSettings(bench)) {
        std::string last = parameters, first = parameters;
        last.insert(last.size() - 1, " (Unknown_Parameter 17)");
        first.insert(bench.GetTask().root.size() + 1,
                     " (Unknown_Branch (Leaf \"text\") (Other 1.5e-3))");
        pairs.push_back({label, parameters, last, ", an unknown parameter behind it"});
        pairs.push_back({label, parameters, first, ", an unknown branch before it"});
    }
    return SameAnswers(bench, pairs);
}

Verdict MissingParameters(Bench& bench)
{
    const Trials& trials = bench.GetTask().missing;
    if (trials.of <= 1) return NotApplicable("the model has no parameters");
    std::size_t refused = 0, tried = 0;
    for (const auto& [label, edit] : trials.list) {
        if (!bench.TimeLeft()) break;
        bench.SetCircumstance(label);
        ++tried;
        Start start = Defaults(bench);
        start.parameters = edit.ApplyTo(start.parameters);
        Instance instance(bench, start);
        const bool taken = instance.TryInit() != 0;
        instance.Close();
        if (taken)
            RequireFinite(bench, Answer(bench, start.parameters));
        else
            ++refused;
    }
    return Passed(fmt::format("{}, {} of them refused", Count(tried, trials.of), refused));
}

Verdict GarbageString(Bench& bench)
{
    std::size_t refused = 0, tried = 0;
    for (const std::string& text : Garbage(bench)) {
        if (!bench.TimeLeft()) break;
        bench.SetCircumstance(
            fmt::format("with '{}'{}", text.substr(0, 100), text.size() > 100 ? "..." : ""));
        Start start = Defaults(bench);
        start.parameters = text;
        Instance instance(bench, start);
        refused += instance.TryInit() == 0;
        instance.Close();
        ++tried;
    }
    return Passed(fmt::format("{} strings, {} of them refused", tried, refused));
}

Verdict EmptyString(Bench& bench)
{
    Start start = Defaults(bench);
    start.parameters.clear();
    Instance instance(bench, start);
    const bool taken = instance.TryInit() != 0;
    instance.Close();
    return Passed(taken ? "taken" : "refused");
}

}  // namespace amisim::contract
