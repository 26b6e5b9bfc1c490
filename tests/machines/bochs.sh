# Boots the machine in Bochs, which has AVX-512. One CPU and one node; $processor is Bochs's name.
#
# There is no BIOS, boot loader or disk. The kernel, its parameters and the RAM disk are laid out
# here in one file, which Bochs loads as memory; boot.s jumps into the kernel.

memory=${nodes[0]%% *} # MiB
image=$work/memory
# Where things lie in the guest. The image begins at 1 MiB; below that are holes without memory.
image_base=$((0x100000)) boot_params=$((0x100000)) command_line=$((0x101000))
handover=$((0x102000)) tables=$((0x104000)) stack=$((0x110000))

# number FILE OFFSET BYTES: a little-endian number
number() { od -An -v -tu"$3" -j "$2" -N "$3" "$1" | tr -d ' '; }

# A kernel file holds the compressed ELF file; its header says where (Linux, x86 boot protocol:
# setup_sects, payload_offset, payload_length).
unpack_kernel() {
    local start length tool
    start=$((($(number "$kernel" $((0x1F1)) 1) + 1) * 512 + $(number "$kernel" $((0x248)) 4)))
    length=$(number "$kernel" $((0x24C)) 4)
    payload() { tail -c +$((start + 1)) "$kernel" 2>/dev/null | head -c "$length"; }
    case $(payload | head -c 4 | od -An -tx1 | tr -d ' ') in
        02214c18) tool=lz4 ;;
        fd377a58) tool=xz ;;
        28b52ffd) tool=zstd ;;
        1f8b*) tool=gzip ;;
        *) fail "unknown compression of $kernel" ;;
    esac
    need_tools $tool
    payload | $tool -dc >"$work/vmlinux" 2>/dev/null || true # four bytes behind the end irritate it
    readelf -hW "$work/vmlinux" >/dev/null 2>&1 || fail "cannot unpack $kernel"
}

# words NUMBER...: 32-bit little-endian
words() {
    local n
    for n; do
        printf "$(printf '\\x%02x' $((n & 255)) $((n >> 8 & 255)) $((n >> 16 & 255)) $((n >> 24 & 255)))"
    done
}

# at ADDRESS: writes what comes in to that place of the image
at() { dd of="$image" bs=1 seek=$(($1 - image_base)) conv=notrunc status=none; }

# copy FILE BLOCK ADDRESS BLOCKS: whole pages of 4 KiB
copy() {
    dd if="$1" of="$image" bs=4096 conv=notrunc,sparse status=none \
        skip="$2" seek=$((($3 - image_base) / 4096)) count="$4"
}

lay_out_memory() {
    local end=0 ramdisk size entry_point type offset address file_size memory_size _
    while read -r type offset _ address file_size memory_size _; do
        [ "$type" = LOAD ] || continue
        copy "$work/vmlinux" $((offset / 4096)) $((address)) $(((file_size + 4095) / 4096))
        ((address + memory_size <= end)) || end=$((address + memory_size))
    done < <(readelf -lW "$work/vmlinux")
    entry_point=$(readelf -hW "$work/vmlinux" | sed -n 's/.*Entry point address: *//p')
    ramdisk=$(((end + 0x3FFFFF) & ~0x1FFFFF))
    size=$(stat -c %s "$work/ramdisk")
    ((ramdisk + 3 * size + (64 << 20) < memory << 20)) || fail "the programs are too large"
    copy "$work/ramdisk" 0 $ramdisk $(((size + 4095) / 4096))

    # Linux, x86 boot protocol: the kernel file's own header, then the fields that a loader sets.
    dd if="$kernel" bs=1 skip=$((0x1F1)) count=$((0x268 - 0x1F1)) status=none |
        at $((boot_params + 0x1F1))
    printf '\xff' | at $((boot_params + 0x210))                 # type_of_loader: unknown
    words $ramdisk "$size" | at $((boot_params + 0x218))        # ramdisk_image, ramdisk_size
    words $command_line | at $((boot_params + 0x228))           # cmd_line_ptr
    printf '%s\0' "${parameters[*]}" | at $command_line
    printf '\x02' | at $((boot_params + 0x1E8))                 # two ranges of memory
    words 0 0 $((0x9F000)) 0 1 $image_base 0 $(((memory - 1) << 20)) 0 1 |
        at $((boot_params + 0x2D0))
    words $((memory << 20)) "$entry_point" | at $handover
}

build_boot_rom() {
    as --32 "$here/boot.s" -o "$work/boot.o" --defsym BOOT_PARAMS=$boot_params \
        --defsym HANDOVER=$handover --defsym TABLES=$tables --defsym STACK=$stack
    ld -m elf_i386 -Ttext 0xF0000 -e start --oformat binary "$work/boot.o" -o "$work/boot.rom"
    head -c 2048 /dev/zero >"$work/vga.rom"                     # Bochs insists on one
    # IA32_MISC_ENABLE with fast strings, which Linux then uses and Bochs runs fast.
    echo '0x1a0 0 00000000 00000001 00000000 00000000 00000000 00000000' >"$work/msrs"
}

configure() {
    cat >"$work/bochsrc" <<END
display_library: term
cpu: model=$processor, count=1, ips=100000000, reset_on_triple_fault=0, ignore_bad_msrs=1, msrs="$work/msrs"
memory: guest=$memory, host=$memory
romimage: file="$work/boot.rom"
vgaromimage: file="$work/vga.rom"
optramimage1: file="$image", address=$(printf 0x%x $image_base)
clock: sync=none, time0=utc
pci: enabled=0
vga: extension=none, update_freq=1
floppya: type=none
ata0: enabled=0
ata1: enabled=0
plugin_ctrl: biosdev=0, gameport=0, speaker=0, parallel=0
com1: enabled=1, mode=file, dev="$work/console"
com2: enabled=1, mode=file, dev="$work/output"
log: "$work/bochs.log"
panic: action=fatal
END
    echo c >"$work/debugger"            # Debian builds Bochs with its debugger: continue
}

boot() {
    need_tools bochs-bin as ld readelf
    parameters+=(
        nokaslr pci=off acpi=off nosmp
        # Bochs 2.7 gives wrong sizes for XSAVEC, XSAVES and protection keys, upon which Linux
        # would switch AVX off.
        clearcpuid=321,323,515,516
        # And its SYSRET leaves the stack segment's attributes alone, as AMD's does, which Linux
        # allows for on AMD processors only: 32-bit programs must enter by INT 80.
        vdso32=0
        tsc_early_khz=100000 tsc=reliable # CPUID claims another rate
        # The rest saves time.
        mitigations=off init_on_alloc=0 cryptomgr.notests rodata=off)
    unpack_kernel
    lay_out_memory
    build_boot_rom
    configure
    # The machine ends with a triple fault, which Bochs calls a panic.
    TERM=vt100 emulate bochs-bin -q -f "$work/bochsrc" -rc "$work/debugger"
}
