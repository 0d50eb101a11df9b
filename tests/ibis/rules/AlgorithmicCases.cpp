#include "base/TextFile.hpp"
#include "tests/ibis/rules/GoodFiles.hpp"
#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {
namespace {

using Files = std::vector<std::pair<std::string, std::string>>;

/// The good companions with another library.
Files WithLibrary(std::string library)
{
    return {GoodCompanions("AMI")[0], {"model.so", std::move(library)}};
}

std::string GoodLibrary()
{
    return GoodCompanions("AMI")[1].second;
}

/// The good companions with a promise of the .ami replaced.
Files WithPromise(std::string_view promise)
{
    Files files = GoodCompanions("AMI");
    std::string& ami = files[0].second;
    ami.replace(ami.find("Init_Returns_Impulse"), 20, promise);
    return files;
}

}  // namespace

std::vector<RuleCase> AlgorithmicCases()
{
    using enum Severity;
    const Files good = GoodCompanions("AMI");
    const std::string line = "Executable Linux_gcc12.2_64 model.so model.ami\n";
    // clang-format off
    return {
        {800, "AMI", {{"[End Algorithmic Model]\n", ""}}, Error, "[Algorithmic Model] is not closed"},
        {800, "I/O", {{"[Model]", "[Algorithmic Model]\n[Model]"}}, Error, "stands outside of [Model]"},
        {801, "AMI", {{line, ""}}, Error, "'BUF' has no Executable line"},
        {801, "AMI", {{"model.so", "my model.so"}}, Error, "has 4 values, expected 3"},
        {802, "AMI", {{"Linux_gcc12.2_64", "linux64"}}, Error, "'linux64' is no platform"},
        {802, "AMI", {{"Linux_gcc12.2_64", "Linux_gcc12.2_x64"}}, Error, "'Linux_gcc12.2_x64' is no platform"},
        {802, "AMI", {{"Linux_gcc12.2_64", "Linux_gcc12_2_64"}}, Warning, "has 3 underscores"},
        {802, "AMI", {{"Linux_gcc12.2_64", "Linx_gcc12.2_64"}}, Warning, "did you mean Linux?"},
        {803, "AMI", {}, Error, "parameter file model.ami is not beside the file", {{"model.so", ""}}},
        {803, "AMI", {{line, line + "Executable Linux_gcc5_64 other.so model.ami\n"}}, Warning, "library other.so is not beside the file", {good[0], good[1]}},
        {803, "AMI", {}, Note, "library model.so is not beside the file", {good[0]}},
        {803, "AMI", {{"Linux", "Windows"}}, Note, "library model.so is not beside the file", {good[0]}},
        {803, "AMI", {}, Note, "parameter file model.ami is not beside the file"},
        {803, "AMI", {}, Error, "Model.AMI is there", {{"Model.AMI", ""}, good[1]}},
        {804, "AMI", {{line, line + line}}, Warning, "a second line Executable Linux_gcc12.2_64; the first is in line"},
        {804, "AMI", {{line, line + "Executable Linux_gcc5_64 model.so other.ami\n"}}, Note, "different parameter files: model.ami and other.ami"},
        {805, "AMI", {}, Warning, "model.so is neither an ELF nor a Windows library", WithLibrary("text")},
        {805, "AMI", {{"12.2_64", "12.2_32"}}, Warning, "where the line says 32 bits", good},
        {805, "AMI", {{"Linux", "Windows"}}, Warning, "where the line says Windows", good},
        {805, "AMI", {}, Warning, "is cut off or damaged", WithLibrary(GoodLibrary().substr(0, 100))},
        {805, "AMI", {}, Warning, "model.so does not export AMI_Resolve, though model.ami has Resolve_Exists True", WithPromise("Resolve_Exists")},
        {805, "AMI", {}, Warning, "model.so needs DefinedByNobody, which no library that it asks for defines", {{"model.so", ReadWholeFile(RULES_UNFINISHED)}}},
        {806, "AMI", {{"Model_type Input\nVinl = 0.8V\nVinh = 2.0V", "Model_type Terminator"}}, Warning, "'BUF' is of type Terminator"},
        {807, "AMI", {{"Model_type Input", "Model_type I/O"}}, Warning, "does not tell which of its directions"},
        {807, "AMI", {{"Executable ", "Executable_Tx "}}, Warning, "is of type Input and has an Executable_Tx line"},
        {808, "AMI", {{"C_comp 5.0pF 4.0pF 6.0pF", "C_comp 0 0 0"}}, Warning, "C_comp of 'BUF' is 0 pF"},
        {808, "AMI", {{"132.0mA", "0.0mA"}}, Note, "'BUF' has no termination: a source of 50 ohm moves its pad by 100.0 %"},
        {808, "Output", {{"[End]", "[Algorithmic Model]\n" + line + "[End Algorithmic Model]\n[End]"}, {"[Pulldown]\n", "[Pulldown]\n-3.3V 0 0 0\n6.6V 0 0 0\n[ISSO PD]\n"}, {"[Pullup]\n", "[Pullup]\n-3.3V 0 0 0\n6.6V 0 0 0\n[ISSO PU]\n"}}, Warning, "'BUF' swings by 0 V into 50 ohm"},
    };
    // clang-format on
}

}  // namespace ibis
