// The same comes back whatever the blocks, the instances and the threads.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <thread>

#include "tests/Emulated.hpp"
#include "tests/survival/Model.hpp"

namespace {

constexpr bool Few = Sanitized || Emulated;

TEST(Survival, BlocksOfAnySize)
{
    const std::vector<double> wave = Data();
    const Whole whole = RunAlone();
    ASSERT_LT(whole.Clocks.size(), wave.size() / SamplesPerBit);  // none dropped
    ASSERT_GT(whole.Logs.find('\0'), 200u);
    const Library library;
    std::mt19937 random(1);
    const size_t sizes[] = {1, 2, 3, 7, 64, 1000, wave.size()};
    for (size_t i = 0; i < std::size(sizes) + (Few ? 40 : 1000); ++i) {
        const TemporaryFolder folder;
        Session session(library, Parameters());
        auto edge = whole.Clocks.begin();
        for (size_t from = 0; from < wave.size();) {
            const size_t wished =
                i < std::size(sizes) ? sizes[i] : random() % (1U << random() % 14);
            const size_t n = std::min(wished, wave.size() - from);
            std::vector<double> expected;
            for (; edge != whole.Clocks.end() &&
                   std::lround(*edge / (BitTime / SamplesPerBit)) < static_cast<long>(from + n);
                 ++edge)
                expected.push_back(*edge);
            const size_t most = std::min(expected.size(), n / SamplesPerBit);
            expected.erase(expected.begin(), expected.end() - static_cast<long>(most));
            ASSERT_EQ(session.Block(wave, from, n), expected) << i << ", from sample " << from;
            from += n;
        }
        ASSERT_EQ(session.Result, 1);
        ASSERT_TRUE(session.Wave == whole.Wave) << i;
        ASSERT_TRUE(Logs() == whole.Logs) << i;
    }
}

TEST(Survival, ManyInstancesAndThreads)
{
    const std::string kinds[] = {Parameters(), Parameters("(CTLEAdapt 0)"),
                                 Parameters("(EOMNbits 20)"), Parameters("(Factor 2)")};
    std::vector<std::uint64_t> alone;
    for (const std::string& kind : kinds) alone.push_back(RunAlone(kind).Hash);

    const TemporaryFolder folder;
    std::filesystem::copy_file(RETIMER_LIBRARY, "copy.so");
    const Library library, copy(std::filesystem::absolute("copy.so").string());
    const std::vector<double> wave = Data();
    for (const Library* other : {&library, &copy}) {
        Session first(library, kinds[0]), second(*other, kinds[1]);
        for (size_t i = 0; i < wave.size(); i += 4000) {
            first.Block(wave, i, 4000);
            second.Block(wave, i, 4000);
        }
        EXPECT_EQ(first.Hash(), alone[0]);
        EXPECT_EQ(second.Hash(), alone[1]);
    }

    std::vector<std::thread> threads;
    std::uint64_t hashes[16] = {};
    for (size_t i = 0; i < std::size(hashes); ++i)
        threads.emplace_back([&, i] {
            for (size_t k = 0; k < (Few ? 2 : 20); ++k)
                hashes[i] = Session(i % 3 ? library : copy, kinds[i % 4]).Run(wave).Hash();
        });
    for (std::thread& thread : threads) thread.join();
    for (size_t i = 0; i < std::size(hashes); ++i) EXPECT_EQ(hashes[i], alone[i % 4]) << i;

    std::unique_ptr<Session> session;
    std::thread([&] { session = std::make_unique<Session>(library, kinds[0]); }).join();
    for (size_t i = 0; i < wave.size(); i += 4000)
        std::thread([&] { session->Block(wave, i, 4000); }).join();
    EXPECT_EQ(session->Hash(), alone[0]);
    std::thread([&] { EXPECT_EQ(session->Close(), 1); }).join();
}

}  // namespace
