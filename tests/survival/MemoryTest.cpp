// Every allocation of AMI_Init, AMI_GetWave and AMI_Close refused, once and from then on: the calls
// end as documented and lose nothing. The allocator below stands before the C library's.

#include <gtest/gtest.h>

#include <array>
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

const Library real;

/// A call of the library with the ledger open.
template <auto Function, class... Arguments>
long Counted(Arguments... arguments)
{
    ledger.Open = true;
    const long result = (real.*Function)(arguments...);
    ledger.Open = false;
    return result;
}

struct Attempt
{
    bool Handle;
    long Init;
    std::string Message;
    std::vector<std::uint64_t> Blocks = {};  ///< after each until one had the result 0
    long Close = -1;
};

Attempt Try(const Library& library, const std::string& parameters, const std::vector<double>& wave)
{
    Session session(library, parameters);
    Attempt attempt = {session.IsOpen(), session.Result, session.Message};
    bool cut = false;
    for (size_t i = 0; i < wave.size(); i += 4000) {
        session.Result = attempt.Init;
        session.Block(wave, i, 4000);
        cut = cut || session.Result != 1;
        if (!cut) attempt.Blocks.push_back(session.Hash());
    }
    attempt.Close = session.Close();
    return attempt;
}

/// The parameter string without the parameters that a message names.
std::string WithoutThoseIn(const std::string& message, std::string parameters)
{
    for (const char* name :
         {"RX_Config", "Factor", "VCO_Sensitivity", "EQ_Level", "CTLEAdapt", "EOMNbits"})
        if (message.find(std::string("parameter ") + name + " ") != std::string::npos) {
            const size_t at = parameters.find(std::string("(") + name);
            if (at != std::string::npos) parameters.erase(at, parameters.find(')', at) + 1 - at);
        }
    return parameters;
}

/// Each allocation of a run with these parameters refused: how often it ended without a handle, in
/// AMI_Init, with a parameter's default, in AMI_GetWave.
std::array<long, 4> RefuseEach(const std::string& parameters)
{
    const TemporaryFolder folder;
    Library library;
    library.Init = Counted<&Library::Init>;
    library.GetWave = Counted<&Library::GetWave>;
    library.Close = Counted<&Library::Close>;
    const std::vector<double> wave = Data();
    ledger.Asked = 0;
    const Attempt whole = Try(library, parameters, wave);
    const long allocations = ledger.Asked;
    EXPECT_EQ(ledger.Held, 0);
    EXPECT_GT(allocations, 40);
    std::array<long, 4> counts = {};

    for (const bool onwards : {false, true}) {
        for (long refused = 0; refused < allocations; ++refused) {
            SCOPED_TRACE(testing::Message()
                         << "allocation " << refused << (onwards ? " and on" : ""));
            testing::internal::CaptureStdout();  // the parser reports there
            ledger = {.Refused = refused, .Onwards = onwards};
            const Attempt attempt = Try(library, parameters, wave);
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
                attempt.Message == whole.Message
                    ? whole
                    : Try(library, WithoutThoseIn(attempt.Message, parameters), wave);
            EXPECT_EQ(reference.Message, attempt.Message);
            EXPECT_TRUE(
                std::equal(attempt.Blocks.begin(), attempt.Blocks.end(), reference.Blocks.begin()));
            const bool cut = attempt.Blocks.size() < reference.Blocks.size();
            ++counts[cut ? 3 : 2];
            EXPECT_TRUE(cut || !attempt.Message.empty()) << "unnoticed";
        }
    }
    std::printf(
        "%ld allocations, each refused in two ways: no handle %ld, AMI_Init 0 %ld, "
        "defaults %ld, AMI_GetWave 0 %ld\n",
        allocations, counts[0], counts[1], counts[2], counts[3]);
    return counts;
}

TEST(Memory, AnyAllocationMayFail)
{
    const auto counts = RefuseEach(Parameters());
    for (const long count : counts) EXPECT_GT(count, 0);
    // What AMI_Init says of a parameter that is not there takes memory too.
    const auto noted = RefuseEach(WithoutThoseIn("parameter EQ_Level ", Parameters()));
    EXPECT_GT(noted[1], counts[1]);
}

}  // namespace
