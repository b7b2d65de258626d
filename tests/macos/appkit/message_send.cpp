#include "message_send.h"

#include <CoreGraphics/CGGeometry.h>

using appkit::Method;
using appkit::methodFor;
using appkit::Result;

extern "C" {

[[gnu::used, gnu::visibility("hidden")]] Method method_in_registers(const void* receiver,
                                                                    const char* selector) noexcept {
    return methodFor(receiver, selector, Result::kRegisters);
}

[[gnu::used, gnu::visibility("hidden")]] Method method_in_memory(const void* receiver,
                                                                 const char* selector) noexcept {
    return methodFor(receiver, selector, Result::kMemory);
}

[[gnu::visibility("hidden")]] void return_zero();
}

// Names in assembly are those of the object file: macOS's begin with an underscore. ELF alone keeps
// a type and a size with them.
#ifdef __APPLE__
#define NAME(name) "_" #name
#define TYPED(name)
#define SIZED(name)
#else
#define NAME(name) #name
#define TYPED(name) ".type " name ", @function\n"
#define SIZED(name) ".size " name ", . - " name "\n"
#endif

// Six integer registers, the number of vector registers in al, and eight vector registers carry
// arguments. At the call the stack is aligned to 16: return address, rbp, and 192 bytes below them.
asm(R"(
    .text
    .macro send_message name, receiver, selector, lookup
    .globl \name
)" TYPED("\\name") R"(
\name:
    .cfi_startproc
    endbr64
    pushq %rbp
    .cfi_def_cfa_offset 16
    .cfi_offset %rbp, -16
    movq %rsp, %rbp
    .cfi_def_cfa_register %rbp
    subq $192, %rsp
    movq %rdi, 128(%rsp)
    movq %rsi, 136(%rsp)
    movq %rdx, 144(%rsp)
    movq %rcx, 152(%rsp)
    movq %r8, 160(%rsp)
    movq %r9, 168(%rsp)
    movq %rax, 176(%rsp)
    movaps %xmm0, (%rsp)
    movaps %xmm1, 16(%rsp)
    movaps %xmm2, 32(%rsp)
    movaps %xmm3, 48(%rsp)
    movaps %xmm4, 64(%rsp)
    movaps %xmm5, 80(%rsp)
    movaps %xmm6, 96(%rsp)
    movaps %xmm7, 112(%rsp)
    movq \receiver(%rsp), %rdi
    movq \selector(%rsp), %rsi
    call \lookup
    movq %rax, %r11
    movq 128(%rsp), %rdi
    movq 136(%rsp), %rsi
    movq 144(%rsp), %rdx
    movq 152(%rsp), %rcx
    movq 160(%rsp), %r8
    movq 168(%rsp), %r9
    movq 176(%rsp), %rax
    movaps (%rsp), %xmm0
    movaps 16(%rsp), %xmm1
    movaps 32(%rsp), %xmm2
    movaps 48(%rsp), %xmm3
    movaps 64(%rsp), %xmm4
    movaps 80(%rsp), %xmm5
    movaps 96(%rsp), %xmm6
    movaps 112(%rsp), %xmm7
    leave
    .cfi_def_cfa %rsp, 8
    jmp *%r11
    .cfi_endproc
)" SIZED("\\name") R"(
    .endm

    send_message )" NAME(objc_msgSend) ", 128, 136, " NAME(method_in_registers) R"(
    send_message )" NAME(objc_msgSend_stret) ", 136, 144, " NAME(method_in_memory) R"(
)" TYPED(NAME(return_zero)) NAME(return_zero) R"(:
    .cfi_startproc
    endbr64
    xorl %eax, %eax
    xorl %edx, %edx
    xorps %xmm0, %xmm0
    xorps %xmm1, %xmm1
    ret
    .cfi_endproc
)" SIZED(NAME(return_zero)));

namespace appkit {

namespace {

CGRect nonsense(const void* /*receiver*/, const char* /*selector*/) {
    return CGRectMake(-4711, -4712, -4713, -4714);
}

}  // namespace

Method zeroMethod() {
    return &return_zero;
}

Method nonsenseMethod() {
    return reinterpret_cast<Method>(&nonsense);
}

}  // namespace appkit
