#include "host/process/SharedBlocks.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <system_error>

namespace amisim {
namespace {

constexpr std::size_t kGuard = 512;                      // doubles behind each list and wave
constexpr std::uint64_t kMark = 0x7ff8a315'c10cf00dULL;  // a NaN that no arithmetic yields

bool IsMark(double value)
{
    return std::bit_cast<std::uint64_t>(value) == kMark;
}

[[noreturn]] void Throw(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

std::size_t Align(std::size_t bytes, std::size_t unit)
{
    return (bytes + unit - 1) / unit * unit;
}

std::size_t PageBytes()
{
    static const auto bytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return bytes;
}

}  // namespace

SharedBlocks::SharedBlocks(const ModelStart& start)
{
    Header layout{};
    layout.sampleInterval = start.sampleInterval;
    layout.bitTime = start.bitTime;
    layout.slots = start.slots;
    layout.blockSamples = start.LongestBlock();
    const double samplesPerBit = start.bitTime / start.sampleInterval;
    layout.clockRoom =
        static_cast<std::size_t>(2 * static_cast<double>(layout.blockSamples) / samplesPerBit) + 64;
    layout.clockRoom = std::max(layout.clockRoom, start.clockRoom);
    layout.impulseLength = start.impulses.size() * start.impulses[0].size();
    layout.use = start.use;
    layout.aggressors = start.impulses.size() - 1;
    layout.parametersAt = sizeof(Header) + start.modulePath.size() + 1;
    // Each guarded array ends right before a page that must not be touched.
    const std::size_t impulseBytes = sizeof(double) * layout.impulseLength;
    layout.slotsAt =
        Align(layout.parametersAt + start.parameters.size() + 1 + impulseBytes, PageBytes()) +
        PageBytes();
    layout.impulseAt = layout.slotsAt - PageBytes() - impulseBytes;
    layout.total = layout.slotsAt + layout.slots * SlotBytes(layout);

    descriptor_ = memfd_create("amisim", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (descriptor_ < 0) Throw("memfd_create");
    if (ftruncate(descriptor_, static_cast<off_t>(layout.total)) != 0) Throw("ftruncate");
    // A model that made it shorter would have the host end by SIGBUS.
    if (fcntl(descriptor_, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0)
        Throw("seals");
    Map(layout.total);
    header_ = layout;
    std::memcpy(memory_, &layout, sizeof layout);
    std::memcpy(memory_ + sizeof(Header), start.modulePath.c_str(), start.modulePath.size() + 1);
    std::memcpy(memory_ + layout.parametersAt, start.parameters.c_str(),
                start.parameters.size() + 1);
    auto to = Impulses().begin();
    for (const auto& impulse : start.impulses) to = std::ranges::copy(impulse, to).out;
    Protect();
}

SharedBlocks::SharedBlocks(int descriptor) : descriptor_(descriptor)
{
    struct stat status
    {
    };
    if (fstat(descriptor_, &status) != 0) Throw("fstat");
    Map(static_cast<std::size_t>(status.st_size));
    std::memcpy(&header_, memory_, sizeof header_);
    Protect();
}

SharedBlocks::~SharedBlocks()
{
    if (memory_) munmap(memory_, header_.total);
    if (descriptor_ >= 0) close(descriptor_);
}

void SharedBlocks::Map(std::size_t bytes)
{
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_, 0);
    if (memory == MAP_FAILED) Throw("mmap");
    memory_ = static_cast<std::byte*>(memory);
}

const char* SharedBlocks::ModulePath() const
{
    return reinterpret_cast<const char*>(memory_ + sizeof(Header));
}

const char* SharedBlocks::Parameters() const
{
    return reinterpret_cast<const char*>(memory_ + header_.parametersAt);
}

std::span<double> SharedBlocks::Impulses() const
{
    return {reinterpret_cast<double*>(memory_ + header_.impulseAt), header_.impulseLength};
}

void SharedBlocks::Protect() const
{
    for (std::size_t page = 0; page <= 2 * Slots(); ++page) {
        if (mprotect(Forbidden(page), PageBytes(), PROT_NONE) != 0) Throw("mprotect");
    }
}

std::size_t SharedBlocks::SlotBytes(const Header& layout)
{
    return WaveBytes(layout) + Align(sizeof(double) * (layout.clockRoom + kGuard), PageBytes()) +
           PageBytes();
}

std::size_t SharedBlocks::WaveBytes(const Header& layout)
{
    return Align(sizeof(double) * (2 * layout.blockSamples + kGuard), PageBytes()) + PageBytes();
}

double* SharedBlocks::Slot(std::size_t slot) const
{
    return reinterpret_cast<double*>(memory_ + header_.slotsAt + slot * SlotBytes(header_));
}

std::byte* SharedBlocks::Forbidden(std::size_t page) const
{
    std::byte* const slot = memory_ + header_.slotsAt + (page + 1) / 2 * SlotBytes(header_);
    // Behind the matrix and behind each slot, which is behind its clock list; behind its waves.
    return (page % 2 == 0 ? slot : slot - SlotBytes(header_) + WaveBytes(header_)) - PageBytes();
}

SharedBlocks::Fault SharedBlocks::FaultAt(const void* address) const
{
    const auto* const at = static_cast<const std::byte*>(address);
    for (std::size_t page = 0; page <= 2 * Slots(); ++page) {
        if (at < Forbidden(page) || at >= Forbidden(page) + PageBytes()) continue;
        return page == 0 ? Fault::kMatrix : page % 2 == 1 ? Fault::kWave : Fault::kClockList;
    }
    return Fault::kNone;
}

void SharedBlocks::Note(Fault fault) const
{
    std::memcpy(memory_ + offsetof(Header, fault), &fault, sizeof fault);
}

SharedBlocks::Fault SharedBlocks::Noted() const
{
    Fault fault;
    std::memcpy(&fault, memory_ + offsetof(Header, fault), sizeof fault);
    return fault;
}

std::span<double> SharedBlocks::Input(std::size_t slot) const
{
    return {Slot(slot), header_.blockSamples};
}

std::span<double> SharedBlocks::Output(std::size_t slot) const
{
    auto* const end = reinterpret_cast<double*>(Forbidden(2 * slot + 1));
    return {end - kGuard - header_.blockSamples, header_.blockSamples};
}

std::span<double> SharedBlocks::ClockRoom(std::size_t slot) const
{
    // Right up to the page that must not be touched.
    const std::size_t room = header_.clockRoom + kGuard;
    return {reinterpret_cast<double*>(Forbidden(2 * slot + 2)) - room, room};
}

void SharedBlocks::MarkClocks(std::size_t slot, std::size_t from) const
{
    std::ranges::fill(ClockRoom(slot).subspan(from), std::bit_cast<double>(kMark));
}

SharedBlocks::ClockList SharedBlocks::Clocks(std::size_t slot) const
{
    const std::span<const double> room = ClockRoom(slot);
    ClockList result{{room.begin(), room.end()}};
    const auto list = std::span(result.times).first(header_.clockRoom);
    const auto end = std::ranges::find_if(list, [](double t) { return t < 0 || IsMark(t); });
    result.terminated = end != list.end() && !IsMark(*end);
    result.overrun =
        !std::ranges::all_of(std::span(result.times).subspan(header_.clockRoom), IsMark);
    result.times.resize(static_cast<std::size_t>(end - list.begin()));
    return result;
}

}  // namespace amisim
