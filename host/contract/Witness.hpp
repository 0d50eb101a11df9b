#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace amisim::contract {

/// Memory shared with the worker: its task, and what it was doing last. The latter outlives the
/// worker, so that its end can be told with the call it came in.
class Witness
{
public:
    /// The host's side. The first phase is the name of the check to be run.
    Witness(const std::string& task, std::string_view check);
    explicit Witness(int descriptor);  // the worker's side
    Witness(const Witness&) = delete;
    Witness& operator=(const Witness&) = delete;
    ~Witness();

    int Descriptor() const { return descriptor_; }
    std::string Task() const;

    /// The call that is under way: "AMI_GetWave 3 with EQ_Level = 31".
    void SetPhase(std::string_view text) { Write(0, text); }
    std::string Phase() const { return Read(0); }

    /// What is known about a fault: "ran out of stack and ". May be called in a signal handler.
    void SetFault(std::string_view text) { Write(1, text); }
    std::string Fault() const { return Read(1); }

private:
    static constexpr std::size_t kText = 256;

    void Map(std::size_t bytes);
    void Write(std::size_t which, std::string_view text);
    std::string Read(std::size_t which) const;

    int descriptor_ = -1;
    std::size_t size_ = 0;
    char* memory_ = nullptr;  // two texts, then the task
};

}  // namespace amisim::contract
