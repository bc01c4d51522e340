#include "platform/guard.h"

#include <cstdint>

#include <malloc.h>

// A frame handler on the stack and not a vectored one, which would see, and take for its own, the
// faults that a foreign library raises and handles itself.

namespace {

// A C++ exception of this compiler's, which an ordinary catch is waiting for. One of the other
// compiler's would find none and end the process.
bool is_cpp_exception(DWORD code) {
#ifdef _MSC_VER
    return code == 0xE06D7363;
#else
    return (code & 0xF8FFFFFF) == 0x20474343;
#endif
}

}  // namespace

#ifdef _MSC_VER

namespace {

// No object with a destructor may live in a function with __try.
std::uint64_t run_guarded(void (*body)(void*), void* context) {
    __try {
        body(context);
    } __except (is_cpp_exception(GetExceptionCode()) ? EXCEPTION_CONTINUE_SEARCH
                                                     : EXCEPTION_EXECUTE_HANDLER) {
        return GetExceptionCode() | std::uint64_t{1} << 32;
    }
    return 0;
}

}  // namespace

#else

// Calls `body(context)`; 0 when it returned, else the exception's code with bit 32 set. GCC has no
// __try, so the function's frame and its handler are spelled out.
extern "C" std::uint64_t oralib_run_guarded(void (*body)(void*), void* context);
extern "C" char oralib_guarded_exit;

asm(R"(
    .text
    .globl oralib_run_guarded
    .def oralib_run_guarded; .scl 2; .type 32; .endef
    .seh_proc oralib_run_guarded
oralib_run_guarded:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    .seh_handler oralib_guard_handler, @except
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    xorl %eax, %eax
    .globl oralib_guarded_exit
oralib_guarded_exit:
    addq $40, %rsp
    ret
    .seh_endproc
)");

extern "C" EXCEPTION_DISPOSITION __attribute__((used))
oralib_guard_handler(EXCEPTION_RECORD* record, void* frame, CONTEXT* context,
                     DISPATCHER_CONTEXT* dispatcher) {
    const bool unwinding = (record->ExceptionFlags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND));
    if (!unwinding && !is_cpp_exception(record->ExceptionCode)) {
        const std::uint64_t result = record->ExceptionCode | std::uint64_t{1} << 32;
        RtlUnwindEx(frame, &oralib_guarded_exit, record, reinterpret_cast<void*>(result), context,
                    dispatcher->HistoryTable);
    }
    return ExceptionContinueSearch;
}

namespace {

std::uint64_t run_guarded(void (*body)(void*), void* context) {
    return oralib_run_guarded(body, context);
}

}  // namespace

#endif

namespace platform {

bool call_guarded(void (*body)(void*), void* context, DWORD& fault_code) {
    const std::uint64_t result = run_guarded(body, context);
    if (result == 0) {
        return true;
    }
    fault_code = static_cast<DWORD>(result);
    if (fault_code == EXCEPTION_STACK_OVERFLOW) {
        // Puts the guard page back, without which the next overflow ends the process.
        _resetstkoflw();
    }
    return false;
}

}  // namespace platform
