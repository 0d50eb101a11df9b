#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "base/Error.hpp"
#include "tests/TemporaryFolder.hpp"

namespace amisim {

inline void Save(const std::string& file, const std::string& text)
{
    std::ofstream(file, std::ios::binary) << text;
}

inline std::string Read(const std::string& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// What an action finds wrong with its input, or "" when it throws nothing.
template <class Action>
std::string MessageOf(Action action)
{
    try {
        action();
    } catch (const Error& error) {
        EXPECT_EQ(error.Code(), ExitCode::kInput);
        return error.what();
    }
    return "";
}

/// Runs the program as a user does, in a folder of its own.
class ProgramTest : public testing::Test
{
protected:
    int Shell(const std::string& command)
    {
        const int status = std::system(("{ " + command + "; } >said 2>&1").c_str());
        output_ = Read("said");
        return WEXITSTATUS(status);
    }
    bool Says(const std::string& text) const { return output_.find(text) != std::string::npos; }

    TemporaryFolder folder_;
    std::string output_;
};

}  // namespace amisim
