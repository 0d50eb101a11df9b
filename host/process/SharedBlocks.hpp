#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/process/AmiModule.hpp"
#include "host/process/LinkedFiles.hpp"

namespace amisim {

/// What a model is started with.
struct ModelStart
{
    std::string modulePath;              // absolute: the worker runs in a folder of its own
    std::string parameters;              // the AMI parameter string
    std::vector<LinkedFile> files = {};  // that it finds in its folder
    double sampleInterval = 0;           // s
    double bitTime = 0;                  // s
    // Impulse responses, V/s: the signal's, then one from each aggressor; all of one length, at
    // least one sample.
    std::vector<std::vector<double>> impulses;
    AmiModule::Use use = AmiModule::Use::kTimeDomain;
    std::size_t blockSamples = 0;  // most samples in one block
    std::size_t room = 0;          // the same where now and then one is longer
    std::size_t clockRoom = 0;     // least room of a clock list, values
    static constexpr int kMostSlots = 14;
    std::size_t slots = kMostSlots;  // blocks in flight between host and model

    /// As many slots as keep the model at work while the host makes so many samples at once.
    void TakeSlotsFor(std::size_t samples)
    {
        slots = std::clamp<std::size_t>(2 + samples / LongestBlock(), 3, kMostSlots);
    }

    std::size_t LongestBlock() const { return std::max(blockSamples, room); }
};

/// Memory that the host and the worker process share: the texts and numbers for AMI_Init, and a
/// ring of slots, each with a block's input wave, its output wave and its clock list. The host owns
/// a slot until it submits it and again after the worker's reply; the socket between them orders
/// the accesses.
///
/// The clock list is given twice the room that one clock per bit needs and a guard behind it; both
/// are filled with a mark before each call, so that a list without its terminator and one that runs
/// over its end are recognised. Behind the guard, behind each output wave and behind the impulse
/// responses lies a page that must not be touched: what runs on ends there, before it reaches
/// anything else, and is known by it. The memory keeps its size whatever a model does.
class SharedBlocks
{
public:
    explicit SharedBlocks(const ModelStart& start);  // the host's side: creates the memory
    explicit SharedBlocks(int descriptor);           // the worker's side: maps what it was handed
    SharedBlocks(const SharedBlocks&) = delete;
    SharedBlocks& operator=(const SharedBlocks&) = delete;
    ~SharedBlocks();

    int Descriptor() const { return descriptor_; }

    const char* ModulePath() const;
    const char* Parameters() const;
    double SampleInterval() const { return header_.sampleInterval; }
    double BitTime() const { return header_.bitTime; }
    std::span<double> Impulses() const;  // one after the other
    AmiModule::Use Use() const { return header_.use; }
    std::size_t Aggressors() const { return header_.aggressors; }

    std::size_t Slots() const { return header_.slots; }
    std::span<double> Input(std::size_t slot) const;
    std::span<double> Output(std::size_t slot) const;

    /// The whole room for clock times, guard included.
    std::span<double> ClockRoom(std::size_t slot) const;
    /// @param from  of its values; those before it are handed to the model
    void MarkClocks(std::size_t slot, std::size_t from = 0) const;

    /// What the worker noted when its process was hit by a fault, for the host to read. The memory
    /// outlives the worker.
    enum class Fault : std::int32_t { kNone, kMatrix, kWave, kClockList, kStack };
    void Note(Fault fault) const;
    Fault Noted() const;
    /// What was written past its end when an access to this address failed.
    Fault FaultAt(const void* address) const;

    struct ClockList
    {
        std::vector<double> times;  // up to the terminator
        bool terminated = true;
        bool overrun = false;  // something was written into the guard
    };
    /// A copy of the list as the model left it: up to the first negative entry, the first one not
    /// written, or
    ///  the end of the room.
    ClockList Clocks(std::size_t slot) const;

private:
    struct Header
    {
        double sampleInterval;
        double bitTime;
        std::size_t total;
        std::size_t parametersAt, impulseAt,
            slotsAt;                // byte offsets; the module path follows the header
        std::size_t impulseLength;  // of all together
        std::size_t aggressors;
        AmiModule::Use use;
        std::size_t slots;
        std::size_t blockSamples;
        std::size_t clockRoom;  // doubles per slot, without the guard
        Fault fault;            // here only, not in the copies
    };

    void Map(std::size_t bytes);
    void Protect() const;
    double* Slot(std::size_t slot) const;
    std::byte* Forbidden(std::size_t page) const;  // 0 to 2 * Slots()
    static std::size_t SlotBytes(const Header& layout);
    static std::size_t WaveBytes(const Header& layout);  // of a slot's beginning

    int descriptor_ = -1;
    std::byte* memory_ = nullptr;
    Header header_{};  // a copy: a model that scribbles over the memory must not mislead the host
};

}  // namespace amisim
