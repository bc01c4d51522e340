#include "oracle/connect/interface.h"

#include <atomic>

#include <boost/make_shared.hpp>

#include "platform/platform.h"
#include "platform/system.h"

namespace specific::oracle {

namespace {

boost::shared_ptr<CWinOraInterface> g_interface;

SOciEntryPoints g_entry_points;
// Not a function-local static: the guard of one would stay taken when a structured exception
// leaves its initialiser.
std::atomic<bool> g_bound{false};

template <typename Entry>
void bind(HMODULE library, const char* name, Entry& entry) {
    entry = reinterpret_cast<Entry>(GetProcAddress(library, name));
    if (!entry) {
        RaiseException(delay_load_entry_point_not_found, 0, 0, nullptr);
    }
}

// Never given back: a client library keeps threads and exit handlers of its own.
HMODULE g_library = nullptr;

void bind_all() {
    if (!g_library) {
        g_library = LoadLibraryA(platform::client_library_name);
    }
    if (!g_library) {
        RaiseException(delay_load_module_not_found, 0, 0, nullptr);
    }
    const HMODULE library = g_library;
    SOciEntryPoints& oci = g_entry_points;
    bind(library, "OCIEnvCreate", oci.EnvCreate);
    bind(library, "OCIHandleAlloc", oci.HandleAlloc);
    bind(library, "OCIHandleFree", oci.HandleFree);
    bind(library, "OCIAttrSet", oci.AttrSet);
    bind(library, "OCIServerAttach", oci.ServerAttach);
    bind(library, "OCIServerDetach", oci.ServerDetach);
    bind(library, "OCISessionBegin", oci.SessionBegin);
    bind(library, "OCISessionEnd", oci.SessionEnd);
    bind(library, "OCIStmtPrepare", oci.StmtPrepare);
    bind(library, "OCIDefineByPos", oci.DefineByPos);
    bind(library, "OCIBindByName", oci.BindByName);
    bind(library, "OCIStmtExecute", oci.StmtExecute);
    bind(library, "OCIStmtFetch2", oci.StmtFetch2);
    bind(library, "OCIErrorGet", oci.ErrorGet);
    bind(library, "OCIDBStartup", oci.DBStartup);
    bind(library, "OCIDBShutdown", oci.DBShutdown);
    g_bound = true;
}

}  // namespace

const SOciEntryPoints* CWinOraInterface::operator->() const {
    if (!g_bound) {
        bind_all();
    }
    return &g_entry_points;
}

// Unlocked: the first call comes from an init thread, and those run one at a time.
boost::shared_ptr<CWinOraInterface> get_interface() {
    if (!g_interface) {
        g_interface = boost::make_shared<CWinOraInterface>();
    }
    return g_interface;
}

}  // namespace specific::oracle
