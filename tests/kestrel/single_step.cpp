#include "single_step.h"

#include <cpuid.h>
#include <elf.h>
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <vector>

namespace {

const std::uint8_t* instructionPointer(pid_t child) {
    user_regs_struct registers{};
    ptrace(PTRACE_GETREGS, child, nullptr, &registers);
#ifdef __x86_64__
    return reinterpret_cast<const std::uint8_t*>(registers.rip);
#else
    return reinterpret_cast<const std::uint8_t*>(registers.eip);
#endif
}

/// Where XSAVE's standard form holds a state component: CPUID leaf 0xD, subleaf of its number.
std::uint32_t offsetOf(std::uint32_t component) {
    std::uint32_t size = 0, offset = 0, c = 0, d = 0;
    __cpuid_count(0xD, component, size, offset, c, d);
    return size != 0 ? offset : 0;
}

}  // namespace

std::array<std::byte, 64> Executed::vectorRegister(std::size_t number) const {
    constexpr std::size_t xmmOffset = 160;
    static const std::size_t upperHalves = offsetOf(2), upper256Bits = offsetOf(6);
    std::vector<std::byte> area(16384);
    iovec transfer{area.data(), area.size()};
    std::array<std::byte, 64> value{};
    if (ptrace(PTRACE_GETREGSET, child, NT_X86_XSTATE, &transfer) != 0) {
        ADD_FAILURE() << "no vector registers to be had";
        return value;
    }
    std::memcpy(value.data(), &area[xmmOffset + number * 16], 16);
    if (upperHalves != 0)
        std::memcpy(&value[16], &area[upperHalves + number * 16], 16);
    if (upper256Bits != 0)
        std::memcpy(&value[32], &area[upper256Bits + number * 32], 32);
    return value;
}

int singleStep(const std::function<void()>& work,
               const std::function<void(const Executed&)>& look) {
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        asm volatile("int3" : : : "memory");
        work();
        asm volatile("int3" : : : "memory");
        _exit(0);
    }
    constexpr std::uint8_t breakpoint = 0xCC;
    int status = 0;
    waitpid(child, &status, 0);  // the first breakpoint
    const std::uint8_t* code = instructionPointer(child);
    while (*code != breakpoint && ptrace(PTRACE_SINGLESTEP, child, nullptr, nullptr) == 0 &&
           waitpid(child, &status, 0) == child && WIFSTOPPED(status) &&
           WSTOPSIG(status) == SIGTRAP) {
        look(Executed(code, child));
        code = instructionPointer(child);
    }
    kill(child, SIGKILL);
    int ended = 0;
    waitpid(child, &ended, 0);
    return *code == breakpoint ? 0 : WSTOPSIG(status);
}
