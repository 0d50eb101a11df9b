#include "blocks/LogFile.hpp"

#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <climits>
#include <memory>

#include "tests/TemporaryFolder.hpp"
#include "tests/runtime/Support.hpp"

namespace {

TEST(LogFile, AppendsNumbersAsAStreamPrintsThem)
{
    const TemporaryFolder folder;
    std::ostringstream expected;
    auto other = std::make_unique<LogFile>("log");
    other->Touch();
    for (const double d : {0.0, -0.0, 1.0, -1.0, 0.5, 999999.0, 1e6, 1234567.0, 123456.5, 1e-5,
                           1e-4, 4e9, 1e300, 5e-324, HUGE_VAL, -HUGE_VAL, std::nan("")}) {
        LogFile log("log");
        log.Print(d);
        log.Print(INT_MIN);
        expected << d << INT_MIN;
    }
    other->Print("behind");  // what was written since it was opened
    other.reset();
    EXPECT_EQ(FileText("log"), expected.str() + "behind");
}

#ifndef _WIN32
TEST(LogFile, StaysUnwrittenWhereItCannotBeAPlainFile)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory("directory");
    for (const char* pPath : {"listened", "unheard"}) ASSERT_EQ(mkfifo(pPath, 0600), 0);
    const int iReader = open("listened", O_RDONLY | O_NONBLOCK);
    for (const char* pPath : {"directory", "listened", "unheard", "missing/log", "/dev/full", ""}) {
        LogFile log(pPath);
        log.Touch();
        log.Print(std::string(9000, 'x').c_str());
        log.Print(1.5);
    }
    char cByte = 0;
    EXPECT_EQ(read(iReader, &cByte, 1), 0);
    close(iReader);
    EXPECT_TRUE(std::filesystem::is_empty("directory"));
    EXPECT_FALSE(std::filesystem::exists("missing"));
}

TEST(LogFile, TakesNoStandardStreamsPlace)
{
    const TemporaryFolder folder;
    for (const int iFirst : {0, 1, 2})
        EXPECT_EXIT(
            {
                for (int iStream = iFirst; iStream < 3; ++iStream) close(iStream);
                LogFile log("log");
                log.Touch();
                for (int iStream = iFirst; iStream < 3; ++iStream)
                    if (write(iStream, "!", 1) >= 0) _exit(1);
                _exit(0);
            },
            testing::ExitedWithCode(0), "");
}
#endif

}  // namespace
