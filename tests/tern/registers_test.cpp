#include "tern/registers.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstring>
#include <span>

namespace {

mcontext_t trapped;  ///< the registers as the kernel shows them to a debugger

#ifdef __x86_64__
constexpr int slots[] = {REG_R8,  REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15,
                         REG_RDI, REG_RSI, REG_RBP, REG_RBX, REG_RDX, REG_RCX, REG_RSP};
constexpr int next = REG_RIP, fs_slot = REG_CSGSFS, fs_shift = 32;
#define CALL "subq $128, %%rsp; int3; call tern_capture_context; addq $128, %%rsp"
#else
constexpr int slots[] = {REG_EDI, REG_ESI, REG_EBP, REG_EBX, REG_EDX, REG_ECX, REG_ESP};
constexpr int next = REG_EIP, fs_slot = REG_FS, fs_shift = 0;
#define CALL "pushl %0; int3; call tern_capture_context; popl %0"
#endif

TEST(Registers, CaptureAgreesWithTheKernelsView) {
    struct sigaction action {
    }, before;
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = [](int /*signal*/, siginfo_t* /*info*/, void* registers) {
        trapped = static_cast<ucontext_t*>(registers)->uc_mcontext;
    };
    sigaction(SIGTRAP, &action, &before);
    ucontext_t context, untouched;
    std::memset(&context, 0xA5, sizeof context);
    untouched = context;
    auto* argument = &context;
    std::uint16_t fs = 0;
    asm volatile("movw %%fs, %0" : "=r"(fs));
    asm volatile(CALL : "+D"(argument) : : "eax", "memory");  // a trap, then a call of five bytes
    sigaction(SIGTRAP, &before, nullptr);

    auto& captured = context.uc_mcontext.gregs;
    EXPECT_EQ(static_cast<std::uint16_t>(captured[fs_slot] >> fs_shift), fs);
    EXPECT_EQ(captured[next], trapped.gregs[next] + 5);
    captured[fs_slot] = captured[next] = untouched.uc_mcontext.gregs[next];
    for (int slot : slots)
        EXPECT_EQ(std::exchange(captured[slot], captured[next]), trapped.gregs[slot]) << slot;
    EXPECT_TRUE(std::ranges::equal(std::as_bytes(std::span(&context, 1)),
                                   std::as_bytes(std::span(&untouched, 1))));
}

TEST(Registers, StackAndThreadPointers) {
    const auto frame = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    EXPECT_LT(frame - tern_get_stack_pointer(), 65536u);
    // The C library's thread handle is the thread pointer.
    EXPECT_EQ(tern_get_thread_pointer(), reinterpret_cast<void*>(pthread_self()));
}

}  // namespace
