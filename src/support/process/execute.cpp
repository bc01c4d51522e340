#include "support/process/execute.h"

#include <algorithm>
#include <exception>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include "platform/platform.h"
#include "platform/system.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/process/pipe.h"
#include "support/process/starter.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/win/path.h"

namespace process_subsystem {

using boost::chrono::milliseconds;
using boost::chrono::seconds;
using boost::chrono::steady_clock;
using logging::g_unnamed_log;
using pipe::CWinPipe;
using process::CWinProcess;
using util::to_string;

namespace {

void log_command(const SCommand& command) {
    g_unnamed_log.line("[Command to execute: %1 %2]", command.command, command.arguments);
    for (const util::CEnvironmentVariable& variable : command.environment) {
        g_unnamed_log.line("Environmental variable %1", variable.assignment());
    }
}

// The parent's ends: a child that held them would never see the end of its own.
void keep_to_parent(const win::win_handle_t& handle, const char* failure) {
    if (!SetHandleInformation(handle.get(), HANDLE_FLAG_INHERIT, 0)) {
        const DWORD error = GetLastError();
        throw exc::runtime_exc_t(std::string(failure), error);
    }
}

std::wstring environment_block(const std::vector<util::CEnvironmentVariable>& environment) {
    try {
        std::wstring block;
        for (const util::CEnvironmentVariable& variable : environment) {
            block += util::from_ansi(variable.assignment());
            block += L'\0';
        }
        block += L'\0';
        return block;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to prepare Unicode environment", e);
    }
}

boost::shared_ptr<CWinProcess> create_process(const SCommand& command,
                                              const boost::shared_ptr<CWinPipe>& input,
                                              const boost::shared_ptr<CWinPipe>& output) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input->read_handle.get();
    startup.hStdOutput = output->write_handle.get();
    startup.hStdError = output->write_handle.get();

    const std::wstring environment =
        command.environment.empty() ? std::wstring() : environment_block(command.environment);
    std::wstring application;
    std::string program = command.command;
    if (command.command.find('\\') != std::string::npos) {
        application = util::from_ansi(command.command);
        std::string folder;
        win::split_path(command.command, folder, program);
    }
    PROCESS_INFORMATION information{};
    process::CNonLogonProcessStarter starter;
    if (!starter.start(application.empty() ? nullptr : application.c_str(),
                       util::from_ansi(program + " " + command.arguments),
                       environment.empty() ? nullptr : environment.data(), startup, information)) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("Failed to create child process for: %1", command.command, error);
    }
    return boost::make_shared<CWinProcess>(information.hProcess, information.hThread, input,
                                           output);
}

boost::shared_ptr<CWinProcess> start(const SCommand& command,
                                     const boost::shared_ptr<CWinPipe>& input,
                                     const boost::shared_ptr<CWinPipe>& output) {
    try {
        keep_to_parent(input->write_handle,
                       "Unable to write handle of stdin pipe: failed to remove inheritance flag");
        keep_to_parent(output->read_handle,
                       "Unable to read handle of stdout pipe: failed to remove inheritance flag");
        const auto child = create_process(command, input, output);
        output->write_handle.close();
        input->read_handle.close();
        return child;
    } catch (const exc::runtime_exc_t& e) {
        exc::rethrow_with_trace("Failed to start process. Command: %1, arguments: %2",
                                command.command, command.arguments, e);
    }
}

// One after the other: a child that another thread starts meanwhile would inherit the ends of these
// pipes, and the output would not end with its own child.
boost::shared_ptr<CWinProcess> start_alone(const SCommand& command,
                                           boost::shared_ptr<CWinPipe>& output_pipe) {
    const boost::lock_guard<boost::mutex> lock(platform::process_start_mutex());
    const auto input_pipe = boost::make_shared<CWinPipe>();
    output_pipe = boost::make_shared<CWinPipe>();
    log_command(command);
    return start(command, input_pipe, output_pipe);
}

std::uint32_t wait_for_end(CWinProcess& child, std::uint32_t limit_seconds) {
    try {
        return child.wait(limit_seconds);
    } catch (const exc::runtime_exc_t& e) {
        exc::rethrow_with_trace("Unable to execute command because it was terminated", e);
    }
}

}  // namespace

SCommand make_command(const std::string& path) {
    SCommand command;
    if (boost::algorithm::ends_with(path, ".bat")) {
        command.command = "cmd.exe";
        command.arguments = " /C " + path;
    } else {
        command.command = path;
    }
    command.environment.push_back(util::CEnvironmentVariable::read("SystemRoot"));
    return command;
}

void execute(const SCommand& command, std::string& output, std::uint32_t limit_seconds) {
    try {
        boost::shared_ptr<CWinPipe> output_pipe;
        const auto child = start_alone(command, output_pipe);
        const auto end = steady_clock::now() + seconds(limit_seconds);
        const std::uint32_t exit_code = wait_for_end(*child, limit_seconds);
        const milliseconds left = boost::chrono::ceil<milliseconds>(end - steady_clock::now());
        const std::string text = output_pipe->read_to_end(std::max<milliseconds>(left, seconds(1)));
        if (exit_code != 0) {
            g_unnamed_log.error("Command: %1, arguments: %2, error: %3, exit code: %4",
                                command.command, command.arguments, text, to_string(exit_code));
            throw exc::runtime_exc_t("Command: %1, arguments: %2, error: %3, exit code: %3",
                                     command.command, command.arguments, to_string(exit_code));
        }
        g_unnamed_log.line(text);
        output = text;
    } catch (const std::exception& e) {
        exc::rethrow_with("Failed to execute command", e);
    }
}

}  // namespace process_subsystem
