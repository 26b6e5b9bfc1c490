# What the emulated processor runs first, in place of a BIOS: it enters long mode and jumps into
# the Linux kernel that lies in memory already. bochs.sh defines where everything lies:
# BOOT_PARAMS, HANDOVER (end of the memory image, kernel's entry point), TABLES, STACK.

        .set    BLOCK, 0x20000

        .text
        .code16
        .globl  start
start:  cli
        movb    $2, %al
        outb    %al, $0x92                      # address line 20 on
        lgdtl   %cs:gdt_pointer - start
        movl    %cr0, %eax
        orl     $1, %eax                        # protected mode
        movl    %eax, %cr0
        ljmpl   $0x10, $protected

        .code32
protected:
        movl    $0x18, %eax
        movl    %eax, %ds
        movl    %eax, %es
        movl    %eax, %ss

# Bochs gives a 128 KiB block of its own memory to a block of the guest's when that is first used,
# in the order of use, but it has loaded the memory image in one piece. So each block of the image
# must be touched first of all and in ascending order to get the part that belongs there.
        movl    $BOOT_PARAMS, %esi
        movl    (%esi), %eax
        movl    HANDOVER, %ecx
1:      movl    (%esi), %eax
        addl    $BLOCK, %esi
        cmpl    %ecx, %esi
        jb      1b

# One table of level 4, one of level 3, four of level 2: 4 GiB in pages of 2 MiB, each at its own
# address.
        movl    $TABLES, %edi
        movl    $0x6000 / 4, %ecx
        xorl    %eax, %eax
        rep stosl
        movl    $TABLES + 0x1003, TABLES
        movl    $TABLES + 0x2003, TABLES + 0x1000
        movl    $TABLES + 0x3003, TABLES + 0x1008
        movl    $TABLES + 0x4003, TABLES + 0x1010
        movl    $TABLES + 0x5003, TABLES + 0x1018
        movl    $TABLES + 0x2000, %edi
        movl    $0x83, %eax                     # present, writable, large
1:      movl    %eax, (%edi)
        addl    $8, %edi
        addl    $0x200000, %eax
        jnc     1b

        movl    %cr4, %eax
        orl     $0x20, %eax                     # physical address extension
        movl    %eax, %cr4
        movl    $TABLES, %eax
        movl    %eax, %cr3
        movl    $0xC0000080, %ecx               # EFER
        rdmsr
        orl     $0x100, %eax                    # long mode
        wrmsr
        movl    %cr0, %eax
        orl     $0x80000000, %eax               # paging
        movl    %eax, %cr0
        ljmpl   $0x20, $long

        .code64
long:   movl    $STACK, %esp
        movl    $BOOT_PARAMS, %esi              # where the kernel expects its parameters
        movl    HANDOVER + 4, %eax
        jmp     *%rax

        .balign 16
gdt:    .quad   0, 0
        .quad   0x00CF9B000000FFFF              # 10: 32-bit code
        .quad   0x00CF93000000FFFF              # 18: data
        .quad   0x00AF9B000000FFFF              # 20: 64-bit code
gdt_pointer:
        .word   . - gdt - 1
        .long   gdt

        .org    0xFFF0                          # where a processor begins
        .code16
        ljmp    $0xF000, $0
        .org    0x10000
