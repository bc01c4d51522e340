#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>

#include <windows.h>
// behind windows.h
#include <psapi.h>
#include <tlhelp32.h>

#include "watchdog.h"

namespace {

struct module_entry_t {
    std::uintptr_t begin;
    std::uintptr_t end;
    char name[64];
};

// No memory is asked for: a thread that is stopped may hold the heap.
module_entry_t g_modules[256];
std::size_t g_module_count = 0;
std::uintptr_t g_stack[8192];

void say(const char* text) {
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(std::strlen(text)), &written,
              nullptr);
}

// By reading the process's memory, so that nobody waits for the loader.
void find_modules() {
    HMODULE modules[256];
    DWORD size = 0;
    const HANDLE process = GetCurrentProcess();
    if (!EnumProcessModules(process, modules, sizeof modules, &size)) {
        return;
    }
    for (std::size_t i = 0; i < size / sizeof modules[0] && i < std::size(modules); ++i) {
        MODULEINFO info = {};
        module_entry_t& entry = g_modules[g_module_count];
        if (GetModuleInformation(process, modules[i], &info, sizeof info)) {
            entry.begin = reinterpret_cast<std::uintptr_t>(info.lpBaseOfDll);
            entry.end = entry.begin + info.SizeOfImage;
            GetModuleBaseNameA(process, modules[i], entry.name, sizeof entry.name);
            ++g_module_count;
        }
    }
}

const module_entry_t* find_module(std::uintptr_t address) {
    for (std::size_t i = 0; i < g_module_count; ++i) {
        if (address >= g_modules[i].begin && address < g_modules[i].end) {
            return &g_modules[i];
        }
    }
    return nullptr;
}

// Whether the instruction before is a call: E8 with four bytes, or FF /2 in its common lengths.
bool is_return_address(std::uintptr_t address) {
    unsigned char code[7] = {};
    const auto* const before = reinterpret_cast<const void*>(address - sizeof code);
    if (!find_module(address) ||
        !ReadProcessMemory(GetCurrentProcess(), before, code, sizeof code, nullptr)) {
        return false;
    }
    const auto is_call = [&](std::size_t length) {
        const unsigned char* const at = code + sizeof code - length;
        return at[0] == 0xFF && (at[1] & 0x38) == 0x10;
    };
    return code[2] == 0xE8 || is_call(2) || is_call(3) || is_call(6) || is_call(7);
}

void say_address(std::uintptr_t address) {
    char line[128];
    const module_entry_t* const module = find_module(address);
    std::snprintf(line, sizeof line, "  %s+0x%llx\n", module ? module->name : "?",
                  static_cast<unsigned long long>(address - (module ? module->begin : 0)));
    say(line);
}

void print_stack(DWORD tid) {
    const HANDLE thread = OpenThread(
        THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT | THREAD_QUERY_INFORMATION, FALSE, tid);
    if (!thread || SuspendThread(thread) == static_cast<DWORD>(-1)) {
        say("  cannot be stopped\n");
        return;
    }
    CONTEXT context = {};
    context.ContextFlags = CONTEXT_CONTROL;
    const bool known = GetThreadContext(thread, &context) != 0;
    std::size_t count = 0;
    // By pages, since a stack ends somewhere.
    constexpr std::size_t page = 4096 / sizeof g_stack[0];
    for (std::uintptr_t at = context.Rsp; known && count < std::size(g_stack);) {
        const std::size_t left = page - at / sizeof g_stack[0] % page;
        const std::size_t wanted =
            left < std::size(g_stack) - count ? left : std::size(g_stack) - count;
        if (!ReadProcessMemory(GetCurrentProcess(), reinterpret_cast<const void*>(at),
                               g_stack + count, wanted * sizeof g_stack[0], nullptr)) {
            break;
        }
        count += wanted;
        at += wanted * sizeof g_stack[0];
    }
    ResumeThread(thread);
    CloseHandle(thread);
    if (known) {
        say_address(context.Rip);
    }
    constexpr int most = 40;
    for (std::size_t i = 0, said = 0; i < count && said < most; ++i) {
        if (is_return_address(g_stack[i])) {
            say_address(g_stack[i]);
            ++said;
        }
    }
}

}  // namespace

void print_stacks() {
    say("\nThe test hangs. Its threads, with what may be return addresses on their stacks:\n");
    find_modules();
    const HANDLE threads = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(threads, &entry); more; more = Thread32Next(threads, &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId() &&
            entry.th32ThreadID != GetCurrentThreadId()) {
            char line[32];
            std::snprintf(line, sizeof line, "\nthread %lu\n", entry.th32ThreadID);
            say(line);
            print_stack(entry.th32ThreadID);
        }
    }
    CloseHandle(threads);
}

void end_hung_process() {
    // An orderly end would wait for what hangs.
    TerminateProcess(GetCurrentProcess(), hung_exit_code);
    for (;;) {
        Sleep(INFINITE);
    }
}
