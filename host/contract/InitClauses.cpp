#include <algorithm>
#include <chrono>
#include <cstring>
#include <set>

#include "host/contract/Clauses.hpp"
#include "host/contract/Recording.hpp"
#include "ibis/ami/AmiTree.hpp"

namespace amisim::contract {
namespace {

/// Dotted paths of the leaves. A table's rows are lists too: a list whose path the .ami declares is
/// a leaf whatever it holds.
void AddLeaves(const ibis::AmiNode& node, const std::string& path,
               const std::set<std::string>& declared, std::set<std::string>& leaves)
{
    for (const auto& child : node.children) {
        const std::string below = path.empty() ? child.name : path + "." + child.name;
        if (child.children.empty() || declared.contains(below))
            leaves.insert(below);
        else
            AddLeaves(child, below, declared, leaves);
    }
}

std::string FirstMissing(const std::set<std::string>& wanted, const std::set<std::string>& given)
{
    for (const auto& name : wanted) {
        if (!given.contains(name)) return name;
    }
    return "";
}

/// Holds one string against the .ami.
void TryParametersOut(const Task& task, const std::string& text, const char* function)
{
    ibis::Findings findings("AMI_parameters_out");
    const ibis::AmiTree parsed = ibis::ParseAmiTree(text, findings);
    if (parsed.fault) {
        throw Broken(function, fmt::format("returned no parameter tree: AMI_parameters_out:{}: {}",
                                           parsed.fault->place.line, parsed.fault->text));
    }
    const ibis::AmiNode& tree = parsed.root;
    Require(tree.name == task.root, function, "returned a tree with root '{}' instead of '{}'",
            tree.name, task.root);
    const std::set<std::string> declared(task.outputs.begin(), task.outputs.end());
    std::set<std::string> given;
    AddLeaves(tree, "", declared, given);
    const std::string missing = FirstMissing(declared, given),
                      surplus = FirstMissing(given, declared);
    Require(missing.empty(), function, "returned no '{}', which is an output in the .ami", missing);
    Require(surplus.empty(), function, "returned '{}', which is no output in the .ami", surplus);
}

}  // namespace

Verdict InitDefaults(Bench& bench)
{
    Instance instance(bench, Defaults(bench));
    bench.Module();
    const auto begin = std::chrono::steady_clock::now();
    instance.Init();
    Verdict verdict = Passed();
    verdict.figures.initSeconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    instance.Close();
    return verdict;
}

Verdict OutPointers(Bench& bench)
{
    constexpr const char* kText = "the host's own text";
    for (const bool preset : {false, true}) {
        std::string mine = kText;
        Start start = Defaults(bench);
        start.before = preset ? mine.data() : nullptr;
        Instance instance(bench, start);
        instance.Init();
        if (instance.Message() != start.before)
            ReadText(bench, instance.Message(), "the message of AMI_Init");
        if (instance.ParametersOut() != start.before)
            ReadText(bench, instance.ParametersOut(), "the parameters_out of AMI_Init");
        Require(mine == kText, "AMI_Init", "wrote to the text that its out-pointers led to before");
        instance.Close();
    }
    return Passed();
}

Verdict InputString(Bench& bench)
{
    const Start start = Defaults(bench);
    Instance instance(bench, start);
    const auto requireUntouched = [&](const char* function) {
        const std::string_view now = instance.InputString();
        const std::string_view before(start.parameters.c_str(), start.parameters.size() + 1);
        const auto at = std::ranges::mismatch(now, before).in1 - now.begin();
        Require(now == before, function, "wrote to its parameter string, at byte {}", at);
        const std::string damage = instance.InputGuard().Damage();
        Require(damage.empty(), function, "{}", damage);
    };
    instance.Init();
    requireUntouched("AMI_Init");
    if (bench.GetTask().HasGetWave()) {
        instance.GetWave(MakeWave(bench, 20, start.samplesPerBit));
        requireUntouched("AMI_GetWave");
    }
    instance.Close();
    requireUntouched("AMI_Close");
    return Passed();
}

Verdict ParametersOut(Bench& bench)
{
    const Task& task = bench.GetTask();
    if (!task.hasAmi) return NotApplicable("there is no .ami file");
    Instance instance(bench, Defaults(bench));
    instance.Init();
    int strings = 0;
    const auto attempt = [&](const std::string& text, const char* function) {
        if (text.empty()) return;
        TryParametersOut(task, text, function);
        ++strings;
    };
    if (const char* text = instance.ParametersOut())
        attempt(ReadText(bench, text, "the parameters_out of AMI_Init"), "AMI_Init");
    for (int block = 0; task.HasGetWave() && block < 4; ++block) {
        const auto wave = MakeWave(bench, 50, instance.GetStart().samplesPerBit);
        attempt(instance.GetWave(wave).parametersOut, "AMI_GetWave");
    }
    instance.Close();
    if (strings == 0) return NotApplicable("the model returns none");
    return Passed(fmt::format("{} strings with {} outputs", strings, task.outputs.size()));
}

Verdict CloseAnswers(Bench& bench)
{
    Instance instance(bench, Defaults(bench));
    instance.Init();
    if (!instance.HasHandle()) return NotApplicable("AMI_Init returned no handle");
    Require(instance.Close() != 0, "AMI_Close", "returned 0");
    return Passed();
}

Verdict Unloads(Bench& bench)
{
    Instance instance(bench, Defaults(bench));
    instance.Init();
    instance.Close();
    return Passed();
}

Verdict CloseAfterFailedInit(Bench& bench)
{
    int failed = 0;
    const auto attempt = [&](double bitTime, double samplesPerBit, const char* circumstance) {
        Start start = Defaults(bench);
        start.bitTime = bitTime;
        start.samplesPerBit = samplesPerBit;
        bench.SetCircumstance(circumstance);
        Instance instance(bench, start);
        if (instance.TryInit() != 0) return static_cast<void>(instance.Close());
        ++failed;
        instance.Close();
        bench.SetCircumstance("behind a failed one");
        Instance next(bench, Defaults(bench));
        next.Init();
        next.Close();
    };
    attempt(0, 64, "with a bit time of 0");
    attempt(bench.GetTask().bitTime, 0.25, "with four bits in a sample");
    if (failed == 0)
        return NotApplicable("AMI_Init takes a bit time of 0, and four bits in a sample");
    return Passed();
}

}  // namespace amisim::contract
