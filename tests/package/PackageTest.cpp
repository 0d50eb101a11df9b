// The files that go out with the library, against the library.

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <random>

#include "ibis/ResolveModel.hpp"
#include "ibis/VersionMark.hpp"
#include "ibis/ami/CheckAmi.hpp"
#include "ibis/rules/CheckFile.hpp"
#include "receiver/Retimer_RX_RT.hpp"
#include "tests/TemporaryFolder.hpp"
#include "tests/survival/Model.hpp"

namespace {

/// The result of a short run with one parameter, or two, set.
long ResultWith(const std::string& parameters)
{
    const TemporaryFolder folder;
    const Library library;
    testing::internal::CaptureStderr();
    Session session(library, Parameters(parameters));
    EXPECT_EQ(session.Message, "");
    session.Run(Data(200));
    testing::internal::GetCapturedStderr();
    return session.Result;
}

TEST(Library, TellsItsVersion)
{
    EXPECT_EQ(ibis::VersionMark(RETIMER_LIBRARY), "Retimer_RX_RT " RETIMER_VERSION);
    EXPECT_EQ(ibis::VersionMark(PACKAGE_FOLDER "/retimer.ibs"), "");
    EXPECT_EQ(ibis::VersionMark("none.so"), "");
}

TEST(AmiFile, HasTheLibrarysDefaultsAndOnlyValuesItTakes)
{
    const auto rx = std::make_unique<Retimer_RX_RT>();
    // Eyes are drawn from the equalised waveform: there the file differs on purpose.
    ASSERT_EQ(rx->RX_Config, 0);
    const std::map<std::string, double> defaults = {
        {"RX_Config", 2},           {"Factor", rx->Factor},
        {"EQ_Level", rx->EQ_Level}, {"VCO_Sensitivity", rx->VCO_Sensitivity},
        {"EOMNbits", rx->EOMNbits}, {"CTLEAdapt", rx->CTLEAdapt}};

    ibis::Findings findings("Retimer_RX_RT.ami");
    const ibis::AmiFile file = ibis::ReadAmiFile(PACKAGE_FOLDER "/Retimer_RX_RT.ami", findings);
    ibis::CheckAmi(file, {70, ibis::AmiDirection::Rx, {}, PACKAGE_FOLDER}, findings);
    for (const ibis::Finding& finding : findings.Take()) {
        ADD_FAILURE() << finding.Line();
    }
    EXPECT_EQ(file.rootName, "Retimer_RX_RT");
    size_t inputs = 0;
    for (const ibis::AmiParameter& parameter : file.parameters) {
        SCOPED_TRACE(parameter.name);
        EXPECT_NE(parameter.description, "");
        if (parameter.reserved || !parameter.IsInput()) continue;
        ++inputs;
        ASSERT_TRUE(defaults.contains(parameter.name));
        EXPECT_EQ(std::stod(parameter.defaultValue), defaults.at(parameter.name));
        EXPECT_EQ(parameter.values[0], parameter.defaultValue);
        EXPECT_EQ(parameter.type == ibis::Type::Float, parameter.name == "VCO_Sensitivity");
        EXPECT_EQ(parameter.values.size(),
                  parameter.format == ibis::Format::List ? parameter.tips.size() : 3U);
        for (const std::string& value : parameter.values)
            EXPECT_EQ(ResultWith("(CTLEAdapt 0)(" + parameter.name + " " + value + ")"), 1)
                << value;
    }
    EXPECT_EQ(inputs, defaults.size());

    // Where the library has an end of its own, the file's is the same.
    for (const char* outside : {"(RX_Config -1)", "(RX_Config 3)", "(CTLEAdapt 0)(EQ_Level -1)",
                                "(CTLEAdapt 0)(EQ_Level 32)", "(CTLEAdapt -1)", "(CTLEAdapt 2)"})
        EXPECT_EQ(ResultWith(outside), 0) << outside;

    EXPECT_EQ(file.parameters[0].name, "AMI_Version");
    EXPECT_EQ(file.Reserved("Init_Returns_Impulse"), "False");
    EXPECT_EQ(file.Reserved("GetWave_Exists"), "True");
    EXPECT_GT(std::stoi(file.Reserved("Ignore_Bits").value_or("0")), 0);
}

TEST(IbsFile, DescribesADifferentialInputAndIsSilentWhenChecked)
{
    const std::filesystem::path path = BUILT_PACKAGE "/retimer.ibs";
    ibis::Findings findings(path.string());
    const ibis::IbisFile file = ibis::ReadIbisFile(path, findings);
    ibis::CheckFile(file, findings);
    for (const ibis::Finding& finding : findings.Take()) ADD_FAILURE() << finding.Line();
    const ibis::ResolvedModel model = ibis::ResolveModel(path);
    EXPECT_EQ(file.FindModel(model.modelName)->type, ibis::ModelType::Input);
    EXPECT_EQ(model.ami->path, BUILT_PACKAGE "/Retimer_RX_RT.ami");
    EXPECT_EQ(model.library, RETIMER_LIBRARY);
    ASSERT_EQ(file.components.size(), 1U);
    EXPECT_EQ(file.components[0].diffPins.size(), 1U);
}

// The library takes the exponential of any system; it must not matter that it is the old one.
TEST(OldSymbols, GiveWhatTheNewOnesGive)
{
    const auto version = [](const char* name) {
        return reinterpret_cast<double (*)(double)>(dlvsym(RTLD_DEFAULT, "exp", name));
    };
    const auto now = version("GLIBC_2.29"), then = version("GLIBC_2.2.5");
    if (!now || !then) GTEST_SKIP() << "no two versions here";
    std::mt19937_64 random(1);
    std::vector<double> special = {0.0, -0.0, HUGE_VAL, -HUGE_VAL, 709.79, -745.14, -1e308, 1e308};
    for (long i = 0; i < 10'000'000; ++i) {
        // All numbers there are; and what the loop filter asks for, from long steps to short ones.
        const double any = std::bit_cast<double>(random());
        const double decay = -std::exp2(-60 + static_cast<double>(random() >> 11) * 0x1p-53 * 70);
        for (const double x : {any, decay, special[random() % special.size()]})
            ASSERT_TRUE(std::isnan(x) ||
                        std::bit_cast<long>(now(x)) == std::bit_cast<long>(then(x)))
                << x;
    }
}

}  // namespace
