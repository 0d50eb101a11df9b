#include "base/Printable.hpp"

#include <gtest/gtest.h>

namespace base {
namespace {

TEST(PrintableTest, LettersStayAndWhatATerminalObeysIsWrittenOut)
{
    const std::pair<std::string_view, std::string_view> texts[] = {
        {"plain, 10 %\n\tnext", "plain, 10 %\n\tnext"},
        {"é µ Ω 日 😀 ±", "é µ Ω 日 😀 ±"},
        {"\x1b[31mred\x1b]0;title\x07", "\\u001b[31mred\\u001b]0;title\\u0007"},
        {"over\rwritten", "over\\u000dwritten"},
        {"two\r\nlines\r\n", "two\nlines\n"},
        {{"a\0b\x7f", 4}, "a\\u0000b\\u007f"},
        {"\xc2\x9b"
         "31m \xc2\xa0",
         "\\u009b31m \xc2\xa0"},
        {"\xe2\x80\xae"
         "gpj.exe",
         "\\u202egpj.exe"},
        {"8 bit \x9b, caf\xe9", "8 bit \xef\xbf\xbd, caf\xef\xbf\xbd"},
        // An escape in too many bytes, half a surrogate, past the last number, cut off.
        {"\xc0\x9b", "\xef\xbf\xbd\xef\xbf\xbd"},
        {"\xe0\x82\x9b", "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
        {"\xed\xa0\x80", "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
        {"\xf4\x90\x80\x80", "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
        {"\xe6\x97", "\xef\xbf\xbd\xef\xbf\xbd"},
    };
    for (const auto& [text, shown] : texts) EXPECT_EQ(Printable(text), shown);
}

TEST(PrintableTest, ALongTextKeepsItsBeginningItsEndAndItsCharacters)
{
    EXPECT_EQ(Shortened("0123456789", 10), "0123456789");
    EXPECT_EQ(Shortened("0123456789abcdefghij", 14), "012345 ... hij");
    std::string letters;
    for (int i = 0; i < 100; ++i) letters += "é日";
    for (std::size_t most = 20; most < 40; ++most) {
        const std::string text = Shortened(letters, most);
        EXPECT_LE(text.size(), most);
        EXPECT_EQ(Printable(text), text);
    }
    EXPECT_EQ(ErrorLine("a.ami:3:\n\x1b[1mno"), "a.ami:3:  [1mno");
    const std::string line = ErrorLine("a.s4p:2: " + std::string(480'000, 'x') + ": expected y");
    EXPECT_LT(line.size(), 700u);
    EXPECT_TRUE(line.starts_with("a.s4p:2: x") && line.ends_with("x: expected y")) << line;
}

}  // namespace
}  // namespace base
