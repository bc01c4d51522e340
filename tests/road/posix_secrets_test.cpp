// What of a password is left in this process's memory.
#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "road/road.h"

namespace road {
namespace {

// Made where it is needed, so that it does not stand in the program; long, since a short one is
// found by chance.
template <typename Char>
struct password_t {
    static constexpr std::size_t length = 40;
    Char text[length + 1];

    password_t() {
        for (std::size_t i = 0; i < length; ++i) {
            text[i] = static_cast<Char>('!' + (i * i * 7 + i * 13 + 5) % 90);
        }
        text[length] = 0;
    }
    ~password_t() {
        for (volatile Char& unit : text) {
            unit = 0;
        }
    }
    password_t(const password_t&) = delete;
    password_t& operator=(const password_t&) = delete;
};

// How often it stands in what the process may write to, but for `own` itself.
template <typename Char>
std::size_t count_in_memory() {
    const password_t<Char> own;
    // Its first half: what is freed may be written over at its end.
    constexpr std::size_t half = password_t<Char>::length / 2;
    const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    std::ifstream maps("/proc/self/maps");
    static std::vector<Char> page(1 << 18);
    std::size_t found = 0;
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0, end = 0;
        char dash = 0;
        std::string rights;
        std::istringstream(line) >> std::hex >> begin >> dash >> end >> rights;
        if (rights.compare(0, 2, "rw") != 0) {
            continue;
        }
        const std::size_t step = page.size() * sizeof(Char);
        for (; begin < end; begin += step) {
            const std::size_t wanted = std::min<std::size_t>(step, end - begin);
            const ssize_t read = pread(memory, page.data(), wanted, static_cast<off_t>(begin));
            const auto last = page.begin() + (read > 0 ? read : 0) / static_cast<int>(sizeof(Char));
            for (auto at = page.begin();; ++at) {
                at = std::search(at, last, own.text, own.text + half);
                if (at == last) {
                    break;
                }
                const std::uintptr_t address =
                    begin + static_cast<std::size_t>(at - page.begin()) * sizeof(Char);
                const auto is_in = [address](const void* object, std::size_t size) {
                    const auto first = reinterpret_cast<std::uintptr_t>(object);
                    return address >= first && address < first + size;
                };
                found += !is_in(own.text, sizeof own.text) &&
                         !is_in(page.data(), page.size() * sizeof(Char));
            }
            std::fill(page.begin(), page.end(), Char());
        }
    }
    close(memory);
    return found;
}

std::size_t count_all() {
    return count_in_memory<char>() + count_in_memory<char16_t>() + count_in_memory<wchar_t>();
}

class Secrets : public Road {
  protected:
    // The calls are made with texts of our own: the other tests' helpers leave copies.
    template <typename Call>
    void call(const module_t& module, const char* user, const Call& body) const {
        const auto free_text = module.function<decltype(OracleLibStrFree)>("OracleLibStrFree");
        oralib_char* result = nullptr;
        oralib_char* error = nullptr;
        {
            const password_t<oralib_char> password;
            body(to_utf16(user).c_str(), password.text, &result, &error);
        }
        free_text(result);
        free_text(error);
    }
};

TEST_F(Secrets, NoPasswordStaysInMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "what was freed is kept as it was, and far more memory is mapped than there is";
#endif
    expect_in_log("");
    sandbox::set_environment("ORALIB_OCI_KEEP_NO_PASSWORD", "1");
    server.add_home(home19());
    sandbox::instance_t made = instance("ORCL");
    made.users = {{"KEEPER", "kept by nobody", true}, {"PLAIN", "kept by nobody", false}};
    server.add_instance(home19(), made);
    set("OracleConnectionTimeout", 1);
    write();
    module_t module;
    ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    {
        const password_t<char> control;
        const std::unique_ptr<std::string> kept(new std::string(control.text));
        EXPECT_EQ(count_in_memory<char>(), 2u) << "on the stack and on the heap";
    }
    ASSERT_EQ(count_all(), 0u);

    const auto explore =
        module.function<decltype(OracleExploreInstances)>("OracleExploreInstances");
    const auto prepare =
        module.function<decltype(OraclePrepareDbsForBackup)>("OraclePrepareDbsForBackup");
    const auto list = module.function<decltype(OracleBackupLogs)>("OracleBackupLogs");
    const text_t home = to_utf16(home19().path);
    const text_t sid = to_utf16("ORCL");
    const text_t none;
    const auto run = [&](const char* user) {
        call(module, user, [&](auto name, auto password, auto result, auto error) {
            explore(false, name, password, none.c_str(), result, error);
        });
        EXPECT_EQ(count_all(), 0u) << user << ", explore";
        call(module, user, [&](auto name, auto password, auto result, auto error) {
            prepare(none.c_str(), name, password, name, password, result, error);
        });
        EXPECT_EQ(count_all(), 0u) << user << ", prepare";
        call(module, user, [&](auto name, auto password, auto result, auto error) {
            list(home.c_str(), sid.c_str(), none.c_str(), none.c_str(), name, password, result,
                 error);
        });
        EXPECT_EQ(count_all(), 0u) << user << ", logs";
    };
    for (const char* const user : {"KEEPER", "PLAIN", "NOBODY"}) {
        run(user);
    }
    // Given up on: what is not yet handed over stays until the client comes back.
    for (const auto& [target, left] : {std::pair<const char*, bool>{"OCIServerAttach", true},
                                       std::pair<const char*, bool>{"OCISessionBegin", true}}) {
        sandbox::set_fault(folder, "ORCL", sandbox::wait(target));
        call(module, "KEEPER", [&](auto name, auto password, auto result, auto error) {
            explore(false, name, password, none.c_str(), result, error);
        });
        EXPECT_EQ(count_all() > 0, left) << target;
        sandbox::release(folder);
        for (int i = 0; i < 3000 && count_all() > 0; ++i) {
            usleep(1000);
        }
        EXPECT_EQ(count_all(), 0u) << target;
        sandbox::clear_faults(folder);
    }
    sandbox::set_environment("ORALIB_OCI_KEEP_NO_PASSWORD", "");
}

}  // namespace
}  // namespace road
