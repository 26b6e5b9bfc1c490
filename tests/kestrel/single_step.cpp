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

namespace {

const std::uint8_t* instructionPointer(pid_t child) {
#ifdef __x86_64__
    constexpr std::size_t place = offsetof(user, regs.rip);
#else
    constexpr std::size_t place = offsetof(user, regs.eip);
#endif
    return reinterpret_cast<const std::uint8_t*>(ptrace(PTRACE_PEEKUSER, child, place, nullptr));
}

/// Where XSAVE's standard form holds a state component: CPUID leaf 0xD, subleaf of its number.
std::uint32_t offsetOf(std::uint32_t component) {
    std::uint32_t size = 0, offset = 0, c = 0, d = 0;
    __cpuid_count(0xD, component, size, offset, c, d);
    return size != 0 ? offset : 0;
}

}  // namespace

std::array<std::byte, 64> Executed::vectorRegister(std::size_t number) const {
    static const struct {
        std::uint32_t area, size, place;
    } parts[] = {{160, 16, 0}, {offsetOf(2), 16, 16}, {offsetOf(6), 32, 32}};
    static std::array<std::byte, 16384> areas;
    iovec transfer{areas.data(), areas.size()};
    EXPECT_EQ(ptrace(PTRACE_GETREGSET, child, NT_X86_XSTATE, &transfer), 0);
    std::array<std::byte, 64> value{};
    for (const auto& part : parts)
        if (part.area != 0)
            std::memcpy(&value[part.place], &areas[part.area + number * part.size], part.size);
    return value;
}

std::optional<VectorInstruction> Executed::asVectorInstruction() const {
    const std::uint8_t* rest = code;
    if (code[0] == 0xC5 || code[0] == 0xC4 || code[0] == 0x62) {  // VEX of 2 or 3 bytes, EVEX
        const std::uint32_t map = code[0] == 0xC5 ? 1 : code[1] & 7;
        const std::uint8_t fields = code[code[0] == 0xC5 ? 1 : 2];
        const std::uint32_t length = code[0] == 0x62 ? code[3] >> 5 & 3 : fields >> 2 & 1;
        rest += code[0] == 0xC5 ? 2 : code[0] == 0xC4 ? 3 : 4;
        return {{map, fields & 3u, fields >= 0x80, 16u << length, rest[0], rest[1]}};
    }
    const std::uint32_t prefix = *code == 0x66 ? 1 : *code == 0xF3 ? 2 : *code == 0xF2 ? 3 : 0;
    rest = skipRex(prefix != 0 ? code + 1 : code);
    if (rest[0] != 0x0F)
        return std::nullopt;
    return {{1, prefix, false, 16, rest[1], rest[2]}};
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
        look({code, child});
        code = instructionPointer(child);
    }
    kill(child, SIGKILL);
    int ended = 0;
    waitpid(child, &ended, 0);
    return *code == breakpoint ? 0 : WSTOPSIG(status);
}

int singleStepTimed(const std::function<void()>& kernel,
                    const std::function<void(const Executed&)>& look) {
    std::size_t readings = 0;
    const int signal = singleStep(kernel, [&](const Executed& executed) {
        readings += executed.code[0] == 0x0F && executed.code[1] == 0x31;
        if (readings == 1)
            look(executed);
    });
    EXPECT_EQ(readings, 2u);
    return signal;
}
