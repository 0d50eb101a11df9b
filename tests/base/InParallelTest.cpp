#include "base/InParallel.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace base {
namespace {

TEST(InParallelTest, DoesEachPieceOnce)
{
    for (const std::size_t size : {0u, 1u, 15u, 17u, 1000u}) {
        std::vector<int> done(size);  // by parts that do not overlap
        InParts(size, [&](std::size_t from, std::size_t to) {
            for (std::size_t i = from; i < to; ++i) ++done[i];
        });
        EXPECT_EQ(std::vector<int>(size, 1), done);
    }
}

TEST(InParallelTest, HandsOnWhatIsThrown)
{
    std::atomic<int> begun = 0;
    const auto fail = [&](int i) {
        ++begun;
        if (i == 3) throw std::runtime_error("the fourth");
    };
    EXPECT_THROW(InParallel(8, fail), std::runtime_error);
    EXPECT_GE(begun, 4);
}

}  // namespace
}  // namespace base
