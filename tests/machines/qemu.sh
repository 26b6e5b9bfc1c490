# Boots the machine in QEMU, by its own translation: KVM is not to be had in every guest.

boot() {
    need_tools qemu-system-x86_64
    local node size cpus total=0 options=()
    for node in "${!nodes[@]}"; do
        read -r size cpus <<<"${nodes[node]}"
        if [ "$size" != - ]; then
            options+=(-object "memory-backend-ram,id=m$node,size=${size}M"
                -numa "node,nodeid=$node,memdev=m$node${cpus:+,cpus=$cpus}")
            total=$((total + size))
        else
            options+=(-numa "node,nodeid=$node,cpus=$cpus")
        fi
    done
    for node in "${distances[@]}"; do
        options+=(-numa "$(printf 'dist,src=%s,dst=%s,val=%s' $node)")
    done
    emulate qemu-system-x86_64 -accel tcg -cpu "$processor" -smp "$topology" -m "$total" \
        "${options[@]}" -kernel "$kernel" -initrd "$work/ramdisk" -append "${parameters[*]}" \
        -nodefaults -no-user-config -display none -no-reboot \
        -serial "file:$work/console" -serial "file:$work/output"
}
