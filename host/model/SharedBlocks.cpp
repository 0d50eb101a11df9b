#include "host/model/SharedBlocks.hpp"

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

constexpr std::size_t kGuard = 512;                      // doubles behind each clock list
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
    layout.blockSamples = start.blockSamples;
    const double samplesPerBit = start.bitTime / start.sampleInterval;
    layout.clockRoom =
        static_cast<std::size_t>(2 * static_cast<double>(start.blockSamples) / samplesPerBit) + 64;
    layout.impulseLength = start.impulses.size() * start.impulses[0].size();
    layout.aggressors = start.impulses.size() - 1;
    layout.parametersAt = sizeof(Header) + start.modulePath.size() + 1;
    layout.impulseAt = Align(layout.parametersAt + start.parameters.size() + 1, 64);
    layout.slotsAt = Align(layout.impulseAt + sizeof(double) * layout.impulseLength, PageBytes());
    layout.total = layout.slotsAt + layout.slots * SlotBytes(layout);

    descriptor_ = memfd_create("amisim", MFD_CLOEXEC);
    if (descriptor_ < 0) Throw("memfd_create");
    if (ftruncate(descriptor_, static_cast<off_t>(layout.total)) != 0) Throw("ftruncate");
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
    for (std::size_t slot = 0; slot < Slots(); ++slot) {
        if (mprotect(Forbidden(slot), PageBytes(), PROT_NONE) != 0) Throw("mprotect");
    }
}

std::size_t SharedBlocks::SlotBytes(const Header& layout)
{
    const std::size_t doubles = 2 * layout.blockSamples + layout.clockRoom + kGuard;
    return Align(sizeof(double) * doubles, PageBytes()) + PageBytes();
}

double* SharedBlocks::Slot(std::size_t slot) const
{
    return reinterpret_cast<double*>(memory_ + header_.slotsAt + slot * SlotBytes(header_));
}

std::byte* SharedBlocks::Forbidden(std::size_t slot) const
{
    return memory_ + header_.slotsAt + (slot + 1) * SlotBytes(header_) - PageBytes();
}

bool SharedBlocks::IsForbidden(const void* address) const
{
    const auto* const at = static_cast<const std::byte*>(address);
    for (std::size_t slot = 0; slot < Slots(); ++slot) {
        if (at >= Forbidden(slot) && at < Forbidden(slot) + PageBytes()) return true;
    }
    return false;
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
    return {Slot(slot) + header_.blockSamples, header_.blockSamples};
}

std::span<double> SharedBlocks::ClockRoom(std::size_t slot) const
{
    // Right up to the page that must not be touched.
    const std::size_t room = header_.clockRoom + kGuard;
    return {reinterpret_cast<double*>(Forbidden(slot)) - room, room};
}

void SharedBlocks::MarkClocks(std::size_t slot) const
{
    std::ranges::fill(ClockRoom(slot), std::bit_cast<double>(kMark));
}

SharedBlocks::ClockList SharedBlocks::Clocks(std::size_t slot) const
{
    const std::span<const double> room = ClockRoom(slot);
    const auto list = room.first(header_.clockRoom);
    const auto end = std::ranges::find_if(list, [](double t) { return t < 0 || IsMark(t); });
    ClockList result;
    result.times = list.first(static_cast<std::size_t>(end - list.begin()));
    result.terminated = end != list.end() && !IsMark(*end);
    result.overrun = !std::ranges::all_of(room.subspan(header_.clockRoom), IsMark);
    return result;
}

}  // namespace amisim
