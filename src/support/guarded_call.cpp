#include "support/guarded_call.h"

#include "support/windows_api.h"

// The compilers of this toolchain have no statement for structured exceptions, so the frame is made by hand, as each
// processor's ABI has it.

#if defined(__i386__)

// The registration record stands on the stack and heads the thread's list while the code runs: the previous record,
// then the handler. Below %ebp: %ebx, %esi, %edi, the handler, the previous record. The handler unwinds the frames
// above its own, takes %ebp from its record (unwinding keeps no register) and leaves as the call would, with 0.
asm(R"(
    .text
    .globl _KivGuardedCall
_KivGuardedCall:
    pushl %ebp
    movl %esp, %ebp
    pushl %ebx
    pushl %esi
    pushl %edi
    pushl $kivGuardHandler
    pushl %fs:0
    movl %esp, %fs:0
    subl $16, %esp
    andl $-16, %esp
    movl 12(%ebp), %eax
    movl %eax, (%esp)
    call *8(%ebp)
    movl $1, %eax
kivGuardLeave:
    leal -20(%ebp), %esp
    popl %fs:0
    addl $4, %esp
    popl %edi
    popl %esi
    popl %ebx
    popl %ebp
    ret

kivGuardHandler:
    movl 4(%esp), %eax
    testl $6, 4(%eax)
    jnz kivGuardPass
    cld
    pushl $0
    pushl %eax
    pushl $kivGuardUnwound
    pushl 20(%esp)
    call *__imp__RtlUnwind@16
kivGuardUnwound:
    movl 8(%esp), %ebp
    addl $20, %ebp
    xorl %eax, %eax
    jmp kivGuardLeave
kivGuardPass:
    movl $1, %eax
    ret
)");

#elif defined(__x86_64__)

// The handler is named in the function's unwind data. It unwinds to the frame of the call and goes on at its end, with
// 0 as the result.
asm(R"(
    .text
    .globl KivGuardedCall
    .globl KivGuardLeave
    .seh_proc KivGuardedCall
    .seh_handler KivGuardHandler, @except
KivGuardedCall:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    movl $1, %eax
KivGuardLeave:
    addq $40, %rsp
    ret
    .seh_endproc
)");

extern "C" void KivGuardLeave();

extern "C" EXCEPTION_DISPOSITION KivGuardHandler(EXCEPTION_RECORD* record, void* frame, CONTEXT*,
                                                 DISPATCHER_CONTEXT* dispatcher) {
    constexpr DWORD kUnwinding = 0x2 | 0x4;
    if ((record->ExceptionFlags & kUnwinding) == 0)
        ::RtlUnwindEx(frame, reinterpret_cast<void*>(&KivGuardLeave), record, nullptr, dispatcher->ContextRecord,
                      dispatcher->HistoryTable);
    return ExceptionContinueSearch;
}

#endif
