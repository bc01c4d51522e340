#include "platform/posix/debugger.h"

#include <sys/stat.h>

#include <fstream>

#include "platform/posix/sandbox.h"

void OutputDebugStringA(LPCSTR text) {
    const std::string directory = platform::sandbox_directory();
    if (directory.empty()) return;
    mkdir((directory + "/run").c_str(), 0777);
    std::ofstream(directory + "/run/debugger.log", std::ios::app) << text;
}
