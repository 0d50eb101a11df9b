// Every allocation of AMI_Init, AMI_GetWave and AMI_Close refused, once and from then on: the calls
// end as documented and lose nothing. The allocator below stands before the C library's.

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/TemporaryFolder.hpp"
#include "tests/survival/Model.hpp"

namespace {

struct Ledger
{
    bool Open = false;     ///< a call of the library is under way
    long Asked = 0;        ///< allocations asked for
    long Refused = -1;     ///< the number of the one refused; none below zero
    bool Onwards = false;  ///< and all after it
    long Held = 0;         ///< allocations not freed

    bool Grants()
    {
        if (!Open) return true;
        const long number = Asked++;
        const bool grants = Refused < 0 || (Onwards ? number < Refused : number != Refused);
        if (!grants) errno = ENOMEM;
        return grants;
    }
    void* Keep(void* block)
    {
        if (Open && block) ++Held;
        return block;
    }
} ledger;

}  // namespace

#pragma GCC visibility push(default)
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);

void* malloc(size_t size)
{
    return ledger.Grants() ? ledger.Keep(__libc_malloc(size)) : nullptr;
}
void* calloc(size_t count, size_t size)
{
    return ledger.Grants() ? ledger.Keep(__libc_calloc(count, size)) : nullptr;
}
void* realloc(void* block, size_t size)
{
    if (!ledger.Grants()) return nullptr;
    return block ? __libc_realloc(block, size) : ledger.Keep(__libc_malloc(size));
}
void* aligned_alloc(size_t alignment, size_t size)
{
    return ledger.Grants() ? ledger.Keep(__libc_memalign(alignment, size)) : nullptr;
}
void free(void* block)
{
    if (ledger.Open && block) --ledger.Held;
    __libc_free(block);
}
}
#pragma GCC visibility pop

namespace {

constexpr size_t BlockSize = 4000;

struct Attempt
{
    long Init = -1, Close = -1;
    bool Handle = false;
    std::string Message;
    std::vector<std::string> Blocks;  ///< waveform and clock times, empty where the result was 0
};

Attempt Try(const Library& library, std::string parameters, const std::vector<double>& wave)
{
    Attempt attempt;
    void* memory = &attempt;
    char* message = nullptr;
    ledger.Open = true;
    attempt.Init = library.Init(nullptr, 0, 0, BitTime / SamplesPerBit, BitTime, parameters.data(),
                                nullptr, &memory, &message);
    ledger.Open = false;
    if (message) attempt.Message = message;
    attempt.Handle = memory;
    if (!memory) return attempt;
    for (size_t i = 0; i < wave.size() && attempt.Init == 1; i += BlockSize) {
        std::vector<double> block(wave.begin() + static_cast<long>(i),
                                  wave.begin() + static_cast<long>(i + BlockSize));
        std::vector<double> clocks(BlockSize / SamplesPerBit + 2, 7.0);
        ledger.Open = true;
        const long result =
            library.GetWave(block.data(), BlockSize, clocks.data(), nullptr, memory);
        ledger.Open = false;
        block.insert(block.end(), clocks.begin(), clocks.end());
        EXPECT_NE(std::find(clocks.begin(), clocks.end(), -1.0), clocks.end());
        attempt.Blocks.emplace_back();
        if (result == 1)
            attempt.Blocks.back().assign(reinterpret_cast<const char*>(block.data()),
                                         block.size() * sizeof(double));
    }
    ledger.Open = true;
    attempt.Close = library.Close(memory);
    ledger.Open = false;
    return attempt;
}

/// The parameter string without the parameters that a message names.
std::string WithoutThoseIn(const std::string& message, std::string parameters)
{
    for (const char* name :
         {"RX_Config", "Factor", "VCO_Sensitivity", "EQ_Level", "CTLEAdapt", "EOMNbits"})
        if (message.find(std::string("parameter ") + name + " ") != std::string::npos) {
            const size_t at = parameters.find(std::string("(") + name);
            parameters.erase(at, parameters.find(')', at) + 1 - at);
        }
    return parameters;
}

TEST(Memory, AnyAllocationMayFail)
{
    const TemporaryFolder folder;
    const Library library;
    const std::vector<double> wave = Data(1500);
    ledger.Asked = 0;
    const Attempt whole = Try(library, Parameters(), wave);
    const long allocations = ledger.Asked;
    ASSERT_EQ(ledger.Held, 0);
    ASSERT_EQ(whole.Message, "");
    ASSERT_GT(allocations, 40);
    long counts[4] = {};  // of how it ended

    for (const bool onwards : {false, true}) {
        for (long refused = 0; refused < allocations; ++refused) {
            SCOPED_TRACE(testing::Message()
                         << "allocation " << refused << (onwards ? " and on" : ""));
            testing::internal::CaptureStdout();  // the parser reports there
            ledger = {.Refused = refused, .Onwards = onwards};
            const Attempt attempt = Try(library, Parameters(), wave);
            const long held = ledger.Held;
            ledger = {};
            testing::internal::GetCapturedStdout();
            EXPECT_EQ(held, 0);
            if (!attempt.Handle) {
                ++counts[0];
                EXPECT_EQ(attempt.Init, 0);
                EXPECT_EQ(attempt.Message, "");
                continue;
            }
            EXPECT_EQ(attempt.Close, 1);
            if (attempt.Init == 0) {
                ++counts[1];
                continue;
            }
            const Attempt reference =
                attempt.Message.empty()
                    ? whole
                    : Try(library, WithoutThoseIn(attempt.Message, Parameters()), wave);
            EXPECT_EQ(reference.Message, attempt.Message);
            bool cut = false;
            for (size_t i = 0; i < wave.size() / BlockSize && !cut; ++i) {
                cut = attempt.Blocks[i].empty();
                EXPECT_TRUE(cut || attempt.Blocks[i] == reference.Blocks[i]) << "block " << i;
            }
            ++counts[cut ? 3 : 2];
            EXPECT_TRUE(cut || !attempt.Message.empty()) << "unnoticed";
        }
    }
    std::printf(
        "%ld allocations, each refused in two ways: no handle %ld, AMI_Init 0 %ld, "
        "defaults %ld, AMI_GetWave 0 %ld\n",
        allocations, counts[0], counts[1], counts[2], counts[3]);
    for (const long count : counts) EXPECT_GT(count, 0);
}

}  // namespace
