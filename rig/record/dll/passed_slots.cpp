/// The exports that pass calls on unseen, whatever their arguments are.
#include <atomic>
#include <cstdint>

#include <windows.h>

#include "real_dlls.h"
#include "recording_setup.h"

namespace {

/// What a call meets whose DLL is gone: the bits of a port where nothing answers, and of a status
/// that says failure.
std::uint64_t NobodyAnswers() {
    return ~std::uint64_t{0};
}

} // namespace

extern "C" {

extern std::atomic<void*> solvane_slot_targets[rig::record::kSlots];

/// Where each slot leads; null before its first call.
std::atomic<void*> solvane_slot_targets[rig::record::kSlots];

void* solvane_find_slot(std::uint32_t slot) noexcept;

void* solvane_find_slot(std::uint32_t slot) noexcept {
    const DWORD lastError = GetLastError();
    const rig::record::HostCallScope scope; // of the DLL that is being loaded
    void* target = nullptr;
    try {
        target = rig::record::RealExport(slot);
    } catch (...) { // no memory
    }
    if (target == nullptr) {
        target = reinterpret_cast<void*>(&NobodyAnswers);
    }
    solvane_slot_targets[slot] = target;
    SetLastError(lastError);
    return target;
}

} // extern "C"

#define TEXT_OF(number) TEXT_OF_EXPANDED(number)
#define TEXT_OF_EXPANDED(number) #number

// A slot jumps to its target with the stack and every register as the host set them, but for r10
// and r11, in which no argument is passed. Before the first call the target is looked for, and the
// registers are kept meanwhile that may have arguments: those of the x64 calling convention and of
// __vectorcall.
asm(R"(
    .text
solvane_pass:
    leaq solvane_slot_targets(%rip), %r10
    movq (%r10,%r11,8), %r10
    testq %r10, %r10
    jz solvane_pass_first
    jmp *%r10

    .def solvane_pass_first; .scl 3; .type 32; .endef
    .seh_proc solvane_pass_first
solvane_pass_first:
    subq $0xA8, %rsp
    .seh_stackalloc 0xA8
    .seh_endprologue
    movaps %xmm0, 0x20(%rsp)
    movaps %xmm1, 0x30(%rsp)
    movaps %xmm2, 0x40(%rsp)
    movaps %xmm3, 0x50(%rsp)
    movaps %xmm4, 0x60(%rsp)
    movaps %xmm5, 0x70(%rsp)
    movq %rcx, 0x80(%rsp)
    movq %rdx, 0x88(%rsp)
    movq %r8, 0x90(%rsp)
    movq %r9, 0x98(%rsp)
    movq %rax, 0xA0(%rsp)
    movl %r11d, %ecx
    call solvane_find_slot
    movq %rax, %r10
    movaps 0x20(%rsp), %xmm0
    movaps 0x30(%rsp), %xmm1
    movaps 0x40(%rsp), %xmm2
    movaps 0x50(%rsp), %xmm3
    movaps 0x60(%rsp), %xmm4
    movaps 0x70(%rsp), %xmm5
    movq 0x80(%rsp), %rcx
    movq 0x88(%rsp), %rdx
    movq 0x90(%rsp), %r8
    movq 0x98(%rsp), %r9
    movq 0xA0(%rsp), %rax
    addq $0xA8, %rsp
    jmp *%r10
    .seh_endproc

    .altmacro
    .macro slot number
    .globl solvane_slot_\number
    .def solvane_slot_\number; .scl 2; .type 32; .endef
solvane_slot_\number:
    movl $\number, %r11d
    jmp solvane_pass
    .endm
    .set next, 0
    .rept )" TEXT_OF(SOLVANE_RECORD_SLOTS) R"(
    slot %next
    .set next, next + 1
    .endr
    .noaltmacro
)");
