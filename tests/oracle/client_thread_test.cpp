// Threads that may be given up on: the edge of the limit, and what one that was given up on may
// still do.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include <boost/make_shared.hpp>

#include "machine.h"
#include "oracle/connect/client_thread.h"
#include "oracle/connect/env.h"
#include "support/logging/log_file.h"
#include "support/logging/scope.h"

namespace {

using namespace specific::oracle;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

class memory_log_t : public logging::receiver::log_file_t {
  public:
    void write(const std::string& line) override { text += line; }
    void flush() override {}
    std::wstring get_path() const override { return L""; }
    std::uint64_t get_size() override { return text.size(); }
    void compress_to(util::zip_writer_t&) override {}

    std::string text;
};

class ClientThread : public testing::Test {
  protected:
    ClientThread() { logging::g_oralib_log.log()->install(log); }

    static bool is_gone(const std::weak_ptr<int>& held, milliseconds limit = milliseconds(5000)) {
        const auto end = steady_clock::now() + limit;
        while (!held.expired() && steady_clock::now() < end) {
            std::this_thread::sleep_for(milliseconds(1));
        }
        return held.expired();
    }

    std::string said() const {
        const auto held = logging::g_oralib_log.log()->hold();
        return log->text;
    }

    machine_t machine;
    boost::shared_ptr<memory_log_t> log = boost::make_shared<memory_log_t>();
};

void spin_until(steady_clock::time_point end) {
    while (steady_clock::now() < end) {
    }
}

// Logs and allocates all the time, so that it is given up on anywhere in that.
TEST_F(ClientThread, AnEndAroundTheLimitHarmsNobody) {
    constexpr int rounds = 100;
    constexpr milliseconds limit(20);
    int in_time = 0;
    std::vector<std::weak_ptr<int>> threads;
    for (int round = 0; round < rounds; ++round) {
        auto life = std::make_shared<int>(round);
        threads.push_back(life);
        const auto end =
            steady_clock::now() + limit + microseconds(2000 * round / (rounds - 1) - 1000);
        CClientThread thread([life = std::move(life), end](CClientThread::SSigns& signs) {
            while (steady_clock::now() < end) {
                logging::log_scope_t scope(logging::g_oralib_log, "round %1",
                                           std::to_string(*life));
                scope.ok();
            }
            signs.set_ready();
        });
        const auto begun = steady_clock::now();
        const bool is_ready = thread.wait_ready(limit.count());
        EXPECT_LT(steady_clock::now() - begun, limit + milliseconds(1000));
        in_time += is_ready;
        if (!is_ready) {
            thread.give_up("Terminating thread " + thread.number());
        }
    }
    EXPECT_GT(in_time, 0);
    EXPECT_LT(in_time, rounds);
    for (const auto& thread : threads) {
        EXPECT_TRUE(is_gone(thread));
    }
}

TEST_F(ClientThread, NoLimitAtAll) {
    constexpr int rounds = 300;
    std::vector<std::weak_ptr<int>> threads;
    for (int round = 0; round < rounds; ++round) {
        auto life = std::make_shared<int>(round);
        threads.push_back(life);
        CClientThread thread([life = std::move(life)](CClientThread::SSigns& signs) {
            logging::log_scope_t scope(logging::g_oralib_log, "round %1", std::to_string(*life));
            signs.set_ready();
            signs.stop.wait(INFINITE);
            scope.ok();
        });
        spin_until(steady_clock::now() + microseconds(round % 100));
        if (!thread.wait_ready(round % 2 == 0 ? 0 : -1)) {
            thread.give_up("Terminating thread " + thread.number());
        }
    }
    for (const auto& thread : threads) {
        EXPECT_TRUE(is_gone(thread));
    }
}

TEST_F(ClientThread, ReadyBeforeTheWaitIsReady) {
    CClientThread thread([](CClientThread::SSigns& signs) { signs.set_ready(); });
    std::this_thread::sleep_for(milliseconds(100));
    EXPECT_TRUE(thread.wait_ready(0));
}

TEST_F(ClientThread, OneThatComesBackIsMuteAndIsRefused) {
    struct result_t {
        win::win_manual_reset_event_t come_back;
        win::win_manual_reset_event_t done;
        std::string failure;
    };
    const auto result = std::make_shared<result_t>();
    {
        CClientThread thread([result](CClientThread::SSigns&) {
            logging::log_scope_t scope(logging::g_oralib_log, "before");
            result->come_back.wait(INFINITE);
            logging::g_oralib_log.error(std::string("behind"));
            { logging::log_scope_t inner(logging::g_oralib_log, "within"); }
            try {
                COracleEnv::create();
            } catch (const std::exception& e) {
                result->failure = e.what();
            }
            scope.ok();
            result->done.set();
        });
        EXPECT_FALSE(thread.wait_ready(50));
        thread.give_up("Terminating");
    }
    const std::string text = said();
    EXPECT_NE(text.find("before\n"), std::string::npos);
    result->come_back.set();
    ASSERT_EQ(result->done.wait(5000), WAIT_OBJECT_0);
    EXPECT_EQ(result->failure, "The session has been abandoned.");
    EXPECT_EQ(said(), text);
}

TEST_F(ClientThread, ManyThatHangAreTold) {
    struct signs_t {
        win::win_manual_reset_event_t come_back;
    };
    const auto shared = std::make_shared<signs_t>();
    std::vector<std::weak_ptr<int>> threads;
    for (int hanging = 1; hanging <= 11; ++hanging) {
        auto life = std::make_shared<int>(hanging);
        threads.push_back(life);
        CClientThread thread([shared, life = std::move(life)](CClientThread::SSigns&) {
            shared->come_back.wait(INFINITE);
        });
        EXPECT_FALSE(thread.wait_ready(0));
        thread.give_up("Terminating");
        const std::string words = std::to_string(hanging) + " threads hang in the Oracle client.";
        EXPECT_EQ(said().find(words) != std::string::npos, hanging >= 10) << hanging;
    }
    shared->come_back.set();
    for (const auto& thread : threads) {
        EXPECT_TRUE(is_gone(thread));
    }
}

}  // namespace
