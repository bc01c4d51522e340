#include "sandbox/oci/handles.h"

#include <atomic>
#include <mutex>
#include <unordered_map>

#include "sandbox/oci/call.h"

namespace sandbox::oci {

namespace {

struct register_t {
    std::mutex mutex;
    std::unordered_map<const void*, std::unique_ptr<handle_t>> handles;

    void report() const {
        for (const auto& [address, handle] : handles) {
            if (handle->type == OCI_HTYPE_ENV) {
                const auto* env = static_cast<const OCIEnv*>(handle.get());
                const std::string children = children_of(env);
                note_leak(*env, children.empty() ? "ENV 1" : "ENV 1, " + children);
            }
        }
        write_times();
    }

    std::string children_of(const OCIEnv* env) const {
        // By type. No object: this also runs when the statics of the client are being destroyed.
        static const char* const names[] = {"",     "ENV",    "ERROR", "SVCCTX", "STMT",
                                            "BIND", "DEFINE", "",      "SERVER", "SESSION"};
        std::map<ub4, int> counts;
        for (const auto& [address, handle] : handles) {
            if (handle->env == env && handle.get() != env) {
                ++counts[handle->type];
            }
        }
        std::string list;
        for (const auto& [type, count] : counts) {
            list +=
                (list.empty() ? "" : ", ") + std::string(names[type]) + " " + std::to_string(count);
        }
        return list;
    }

    void erase_if_of(const OCIEnv* env) {
        for (auto entry = handles.begin(); entry != handles.end();) {
            const bool child = entry->second->env == env && entry->first != env;
            entry = child ? handles.erase(entry) : std::next(entry);
        }
    }
};

template <typename Map, typename Handle>
void forget(Map& map, const Handle* handle) {
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        if (entry->second == handle) {
            map.erase(entry);
            return;
        }
    }
}

register_t& g_register = *new register_t;
std::atomic<int> g_inside{0};

// The client goes. What is left was leaked, or belongs to sessions that were given up on; a thread
// that is still in a call when the process ends finds its handles.
struct end_t {
    ~end_t() {
        g_register.report();
        if (g_inside == 0) {
            delete &g_register;
        }
    }
} const g_end;

}  // namespace

inside_t::inside_t() {
    ++g_inside;
}
inside_t::~inside_t() {
    --g_inside;
}

void register_handle(std::unique_ptr<handle_t> handle) {
    const std::lock_guard<std::mutex> lock(g_register.mutex);
    const void* const address = handle.get();
    g_register.handles[address] = std::move(handle);
}

handle_t* find_handle(const void* address, ub4 type) {
    const std::lock_guard<std::mutex> lock(g_register.mutex);
    const auto found = g_register.handles.find(address);
    return found != g_register.handles.end() && found->second->type == type ? found->second.get()
                                                                            : nullptr;
}

void free_handle(handle_t* handle) {
    const std::lock_guard<std::mutex> lock(g_register.mutex);
    if (handle->type == OCI_HTYPE_ENV) {
        g_register.erase_if_of(static_cast<OCIEnv*>(handle));
    } else if (handle->type == OCI_HTYPE_STMT) {
        for (const auto& [position, define] : static_cast<OCIStmt*>(handle)->defines) {
            g_register.handles.erase(define);
        }
        for (const auto& [name, bind] : static_cast<OCIStmt*>(handle)->binds) {
            g_register.handles.erase(bind);
        }
    } else if (handle->type == OCI_HTYPE_DEFINE) {
        auto* const define = static_cast<OCIDefine*>(handle);
        forget(define->statement->defines, define);
    } else if (handle->type == OCI_HTYPE_BIND) {
        auto* const bind = static_cast<OCIBind*>(handle);
        forget(bind->statement->binds, bind);
    } else if (handle->type == OCI_HTYPE_SERVER || handle->type == OCI_HTYPE_SESSION) {
        for (const auto& [address, other] : g_register.handles) {
            // Another environment may be another thread's.
            if (other->type == OCI_HTYPE_SVCCTX && other->env == handle->env) {
                auto* service = static_cast<OCISvcCtx*>(other.get());
                service->server = service->server == handle ? nullptr : service->server;
                service->session = service->session == handle ? nullptr : service->session;
            }
        }
    }
    g_register.handles.erase(handle);
}

std::string list_children(const OCIEnv* env) {
    const std::lock_guard<std::mutex> lock(g_register.mutex);
    return g_register.children_of(env);
}

}  // namespace sandbox::oci
