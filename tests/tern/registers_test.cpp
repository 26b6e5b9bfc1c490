#include "tern/registers.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstring>
#include <map>
#include <span>

namespace {

/// Fills the registers with known numbers, calls tern_capture_context(context) and returns; tells
/// the stack pointer before the call's own push and the address after the call.
#ifdef __x86_64__
[[gnu::naked]] void capture_at_known_place(ucontext_t* /*context*/, std::uintptr_t* /*stack*/,
                                           std::uintptr_t* /*next*/) {
    asm(R"(
        pushq %rbx
        pushq %rbp
        pushq %r12
        pushq %r15
        movq %rsp, (%rsi)
        leaq 1f(%rip), %rax
        movq %rax, (%rdx)
        movq $0x11, %rbx
        movq $0x12, %rcx
        movq $0x13, %rdx
        movq $0x14, %rsi
        movq $0x15, %rbp
        movq $0x18, %r8
        movq $0x1C, %r12
        movq $0x1F, %r15
        call tern_capture_context
     1: popq %r15
        popq %r12
        popq %rbp
        popq %rbx
        ret
    )");
}
#else
[[gnu::naked]] void capture_at_known_place(ucontext_t* /*context*/, std::uintptr_t* /*stack*/,
                                           std::uintptr_t* /*next*/) {
    asm(R"(
        pushl %ebx
        pushl %ebp
        pushl %esi
        pushl %edi
        movl 20(%esp), %eax
        movl 24(%esp), %ecx
        movl 28(%esp), %edx
        call 2f
     2: popl %esi
        addl $(1f - 2b), %esi
        movl %esi, (%edx)
        pushl %eax
        movl %esp, (%ecx)
        movl $0x11, %ebx
        movl $0x12, %ecx
        movl $0x13, %edx
        movl $0x14, %esi
        movl $0x15, %ebp
        movl $0x16, %edi
        call tern_capture_context
     1: popl %eax
        popl %edi
        popl %esi
        popl %ebp
        popl %ebx
        ret
    )");
}
#endif

TEST(Registers, CaptureAtAKnownPlace) {
    ucontext_t context, untouched;
    std::memset(&context, 0xA5, sizeof context);
    untouched = context;
    std::uintptr_t stack = 0, next = 0;
    capture_at_known_place(&context, &stack, &next);
    std::uint16_t fs = 0;
    asm("movw %%fs, %0" : "=r"(fs));
#ifdef __x86_64__
    const std::map<int, std::uintptr_t> known{
        {REG_RBX, 0x11},
        {REG_RCX, 0x12},
        {REG_RDX, 0x13},
        {REG_RSI, 0x14},
        {REG_RBP, 0x15},
        {REG_R8, 0x18},
        {REG_R12, 0x1C},
        {REG_R15, 0x1F},
        {REG_RSP, stack},
        {REG_RIP, next},
        {REG_RDI, reinterpret_cast<std::uintptr_t>(&context)},
        {REG_CSGSFS, 0xA5A50000A5A5A5A5 | std::uint64_t{fs} << 32}};
    const std::vector<int> unknown{REG_R9, REG_R10, REG_R11, REG_R13, REG_R14};
#else
    const std::map<int, std::uintptr_t> known{{REG_EBX, 0x11}, {REG_ECX, 0x12},  {REG_EDX, 0x13},
                                              {REG_ESI, 0x14}, {REG_EBP, 0x15},  {REG_EDI, 0x16},
                                              {REG_FS, fs},    {REG_ESP, stack}, {REG_EIP, next}};
    const std::vector<int> unknown;
#endif
    for (const auto& [slot, value] : known) {
        EXPECT_EQ(static_cast<std::uintptr_t>(context.uc_mcontext.gregs[slot]), value) << slot;
        context.uc_mcontext.gregs[slot] = untouched.uc_mcontext.gregs[slot];
    }
    for (int slot : unknown)
        context.uc_mcontext.gregs[slot] = untouched.uc_mcontext.gregs[slot];
    EXPECT_TRUE(std::ranges::equal(std::as_bytes(std::span(&context, 1)),
                                   std::as_bytes(std::span(&untouched, 1))))
        << "nothing else is written";
}

TEST(Registers, StackAndThreadPointers) {
    const std::uint64_t here = tern_get_stack_pointer();
    const auto frame = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    EXPECT_LT(here, frame);
    EXPECT_GT(here, frame - 65536);
    EXPECT_EQ(tern_get_thread_pointer(), reinterpret_cast<void*>(pthread_self()))
        << "the C library's thread handle is the thread pointer";
}

}  // namespace
