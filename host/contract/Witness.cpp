#include "host/contract/Witness.hpp"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace amisim::contract {
namespace {

[[noreturn]] void Throw(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

Witness::Witness(const std::string& task, std::string_view check)
{
    descriptor_ = memfd_create("amisim", MFD_CLOEXEC);
    if (descriptor_ < 0) Throw("memfd_create");
    const std::size_t size = 2 * kText + task.size();
    if (ftruncate(descriptor_, static_cast<off_t>(size)) != 0) Throw("ftruncate");
    Map(size);
    std::ranges::copy(task, memory_ + 2 * kText);
    SetPhase(check);
}

Witness::Witness(int descriptor) : descriptor_(descriptor)
{
    struct stat status
    {
    };
    if (fstat(descriptor_, &status) != 0) Throw("fstat");
    Map(static_cast<std::size_t>(status.st_size));
}

Witness::~Witness()
{
    if (memory_) munmap(memory_, size_);
    if (descriptor_ >= 0) close(descriptor_);
}

void Witness::Map(std::size_t bytes)
{
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_, 0);
    if (memory == MAP_FAILED) Throw("mmap");
    memory_ = static_cast<char*>(memory);
    size_ = bytes;
}

std::string Witness::Task() const
{
    return {memory_ + 2 * kText, size_ - 2 * kText};
}

void Witness::Write(std::size_t which, std::string_view text)
{
    char* to = memory_ + which * kText;
    const std::size_t length = std::min(text.size(), kText - 1);
    std::memcpy(to, text.data(), length);
    to[length] = '\0';
}

std::string Witness::Read(std::size_t which) const
{
    const char* from = memory_ + which * kText;
    return {from, strnlen(from, kText)};
}

}  // namespace amisim::contract
