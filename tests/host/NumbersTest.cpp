#include <gtest/gtest.h>

#include <algorithm>

#include "base/TextFile.hpp"
#include "host/results/ResultJson.hpp"

namespace amisim {
namespace {

TEST(Numbers, AreInTheJsonWhereTheySayAndInTheDocument)
{
    RunResult result;
    result.bits = 20000;
    result.seconds = 0.5;
    result.comparison = BitComparison{10'000, 3, 0, 0, 17, false, 5000, 2};
    result.eye.emplace();
    result.eye->vertical = {0.25, -0.5};
    result.clock.ppm = 100;
    const auto json = ToJson(result, {}, {});
    const nlohmann::ordered_json expected[] = {20000,   3,     3e-4,    0.75,
                                               nullptr, 100.0, 40000.0, nullptr};
    const char* const pointers[] = {
        "/bits",         "/errors", "/bit_error_ratio",  "/eye/height_v",
        "/eye/width_ui", "/ppm",    "/speed/bits_per_s", "/eq_level"};
    for (std::size_t i = 0; i < std::size(pointers); ++i) {
        EXPECT_EQ(json.at(nlohmann::ordered_json::json_pointer(pointers[i])), expected[i])
            << pointers[i];
        EXPECT_STREQ(NumberAt(pointers[i]).pointer, pointers[i]);
    }
    EXPECT_FALSE(json.contains("symbol_errors"));
    result.levels = 4;
    EXPECT_EQ(ToJson(result, {}, {}).at("symbol_error_ratio"), 4e-4);
    const std::string document = ReadTextFile(DOCS_FOLDER "/results.md");
    EXPECT_NE(document.find(DescribeNumbers()), std::string::npos)
        << "docs/results.md should have:\n"
        << DescribeNumbers();
}

TEST(Numbers, MeanInTheSchemaWhatTheyMean)
{
    using Json = nlohmann::ordered_json;
    const Json schema = Json::parse(ReadTextFile(DOCS_FOLDER "/result.schema.json"));
    for (const Number& number : Numbers()) {
        const Json* member = &schema;
        for (std::string place = number.pointer; !place.empty();) {
            const std::size_t next = std::min(place.find('/', 1), place.size());
            if (member->contains("$ref")) {
                const std::string name = member->at("$ref");
                member = &schema.at(Json::json_pointer(name.substr(1)));
            }
            member = &member->at("properties").at(place.substr(1, next - 1));
            place.erase(0, next);
        }
        const std::string text = member->at("description");
        EXPECT_NE(text.find(number.meaning), std::string::npos) << number.pointer << ": " << text;
        const bool counts = member->at("type").dump().find("integer") != std::string::npos;
        EXPECT_TRUE(counts || !number.counts) << number.pointer;
    }
}

}  // namespace
}  // namespace amisim
