#include "tern/registers.h"

#include <cstddef>

// Written as a whole in assembly: a compiled prologue would change the registers before they are
// stored. The numbers are the offsets of the slots in ucontext_t, checked below it.
#ifdef __x86_64__

[[gnu::naked]] void tern_capture_context(ucontext_t* /*context*/) {
    asm(R"(
        movq %r8, 40(%rdi)
        movq %r9, 48(%rdi)
        movq %r10, 56(%rdi)
        movq %r11, 64(%rdi)
        movq %r12, 72(%rdi)
        movq %r13, 80(%rdi)
        movq %r14, 88(%rdi)
        movq %r15, 96(%rdi)
        movq %rdi, 104(%rdi)
        movq %rsi, 112(%rdi)
        movq %rbp, 120(%rdi)
        movq %rbx, 128(%rdi)
        movq %rdx, 136(%rdi)
        movq %rcx, 152(%rdi)
        leaq 8(%rsp), %rax
        movq %rax, 160(%rdi)
        movq (%rsp), %rax
        movq %rax, 168(%rdi)
        movw %fs, 188(%rdi)
        ret
    )");
}

namespace {
constexpr std::size_t slot(int number) {
    return offsetof(ucontext_t, uc_mcontext.gregs) + 8 * static_cast<std::size_t>(number);
}
static_assert(slot(REG_R8) == 40 && slot(REG_R15) == 96 && slot(REG_RDI) == 104 &&
              slot(REG_RSI) == 112 && slot(REG_RBP) == 120 && slot(REG_RBX) == 128 &&
              slot(REG_RDX) == 136 && slot(REG_RCX) == 152 && slot(REG_RSP) == 160 &&
              slot(REG_RIP) == 168 && slot(REG_CSGSFS) + 4 == 188);
}  // namespace

#else

[[gnu::naked]] void tern_capture_context(ucontext_t* /*context*/) {
    asm(R"(
        movl 4(%esp), %eax
        movl %edi, 36(%eax)
        movl %esi, 40(%eax)
        movl %ebp, 44(%eax)
        movl %ebx, 52(%eax)
        movl %edx, 56(%eax)
        movl %ecx, 60(%eax)
        xorl %ecx, %ecx
        movw %fs, %cx
        movl %ecx, 24(%eax)
        leal 4(%esp), %ecx
        movl %ecx, 48(%eax)
        movl (%esp), %ecx
        movl %ecx, 76(%eax)
        ret
    )");
}

namespace {
constexpr std::size_t slot(int number) {
    return offsetof(ucontext_t, uc_mcontext.gregs) + 4 * static_cast<std::size_t>(number);
}
static_assert(slot(REG_FS) == 24 && slot(REG_EDI) == 36 && slot(REG_ESI) == 40 &&
              slot(REG_EBP) == 44 && slot(REG_ESP) == 48 && slot(REG_EBX) == 52 &&
              slot(REG_EDX) == 56 && slot(REG_ECX) == 60 && slot(REG_EIP) == 76);
}  // namespace

#endif

std::uint64_t tern_get_stack_pointer() {
    std::uintptr_t pointer;
#ifdef __x86_64__
    asm volatile("movq %%rsp, %0" : "=r"(pointer));
#else
    asm volatile("movl %%esp, %0" : "=r"(pointer));
#endif
    return pointer;
}

void* tern_get_thread_pointer() {
    void* pointer;
#ifdef __x86_64__
    asm("movq %%fs:0, %0" : "=r"(pointer));
#else
    asm("movl %%gs:0, %0" : "=r"(pointer));
#endif
    return pointer;
}
