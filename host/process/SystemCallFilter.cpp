#include "host/process/SystemCallFilter.hpp"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace amisim {
namespace {

// Those that the headers of older systems lack have their numbers.
constexpr std::uint32_t kRefused[] = {SYS_socket,
                                      SYS_io_uring_setup,  // which makes sockets too
                                      SYS_chmod,
                                      SYS_fchmod,
                                      SYS_fchmodat,
                                      452 /* fchmodat2 */,
                                      SYS_chown,
                                      SYS_fchown,
                                      SYS_lchown,
                                      SYS_fchownat,
                                      SYS_setxattr,
                                      SYS_lsetxattr,
                                      SYS_fsetxattr,
                                      463 /* setxattrat */,
                                      SYS_removexattr,
                                      SYS_lremovexattr,
                                      SYS_fremovexattr,
                                      466 /* removexattrat */,
                                      469 /* file_setattr */};

constexpr std::uint32_t kOtherInterface = 0x40000000;  // of the x32 kind
constexpr std::uint32_t kTypeOfSocket = 0xf;           // without its flags

sock_filter Load(std::size_t offset)
{
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
}
sock_filter Return(std::uint32_t what)
{
    return BPF_STMT(BPF_RET | BPF_K, what);
}
/// Skips so many instructions where the value is, or is not, this one.
sock_filter Jump(int how, std::uint32_t value, std::uint8_t ifSo, std::uint8_t ifNot)
{
    return BPF_JUMP(static_cast<std::uint16_t>(BPF_JMP | BPF_K | how), value, ifSo, ifNot);
}

std::vector<sock_filter> Program()
{
    const auto error = [](int number) {
        return Return(SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(number));
    };
    std::vector<sock_filter> program = {
        Load(offsetof(seccomp_data, arch)),
        Jump(BPF_JEQ, AUDIT_ARCH_X86_64, 1, 0),
        error(ENOSYS),  // 32-bit system calls
        Load(offsetof(seccomp_data, nr)),
        Jump(BPF_JGE, kOtherInterface, 0, 1),
        error(ENOSYS),
    };
    for (const std::uint32_t number : kRefused) {
        program.push_back(Jump(BPF_JEQ, number, 0, 1));
        program.push_back(error(EACCES));
    }
    // Pairs only of the kinds that stay connected to each other.
    program.insert(program.end(), {
                                      Jump(BPF_JEQ, SYS_socketpair, 1, 0),
                                      Return(SECCOMP_RET_ALLOW),
                                      Load(offsetof(seccomp_data, args[1])),
                                      BPF_STMT(BPF_ALU | BPF_AND | BPF_K, kTypeOfSocket),
                                      Jump(BPF_JEQ, SOCK_STREAM, 1, 0),
                                      Jump(BPF_JEQ, SOCK_SEQPACKET, 0, 1),
                                      Return(SECCOMP_RET_ALLOW),
                                      error(EACCES),
                                  });
    return program;
}

}  // namespace

bool FilterSystemCalls()
{
    std::vector<sock_filter> program = Program();
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    // Without the flag older kernels slow the whole process down.
    return syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_SPEC_ALLOW, &filter) ==
           0;
}

}  // namespace amisim
