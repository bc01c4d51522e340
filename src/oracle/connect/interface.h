// The way to the Oracle client library.
#pragma once

#include <cstdint>

#include <boost/shared_ptr.hpp>

#include "oracle/connect/oci.h"

namespace specific::oracle {

/// Codes of the structured exceptions that a delay-loaded import raises.
constexpr std::uint32_t delay_load_module_not_found = 0xC06D007E;
constexpr std::uint32_t delay_load_entry_point_not_found = 0xC06D007F;

/// The sixteen entry points of the client library that oralib uses.
struct SOciEntryPoints {
    decltype(&::OCIEnvCreate) EnvCreate;
    decltype(&::OCIHandleAlloc) HandleAlloc;
    decltype(&::OCIHandleFree) HandleFree;
    decltype(&::OCIAttrSet) AttrSet;
    decltype(&::OCIServerAttach) ServerAttach;
    decltype(&::OCIServerDetach) ServerDetach;
    decltype(&::OCISessionBegin) SessionBegin;
    decltype(&::OCISessionEnd) SessionEnd;
    decltype(&::OCIStmtPrepare) StmtPrepare;
    decltype(&::OCIDefineByPos) DefineByPos;
    decltype(&::OCIBindByName) BindByName;
    decltype(&::OCIStmtExecute) StmtExecute;
    decltype(&::OCIStmtFetch2) StmtFetch2;
    decltype(&::OCIErrorGet) ErrorGet;
    decltype(&::OCIDBStartup) DBStartup;
    decltype(&::OCIDBShutdown) DBShutdown;
};

/// Stands for the client library; every call into it is made through a copy of the one pointer.
class CWinOraInterface {
  public:
    /// Binds all entry points at the first call. A missing library or entry point is raised as the
    /// structured exception of a delay-loaded import (codes above), not as a C++ one:
    /// the guard around a session's creation catches it, and no session exists without the bind.
    const SOciEntryPoints* operator->() const;
};

/// The process's one interface object, made at first use.
boost::shared_ptr<CWinOraInterface> get_interface();

}  // namespace specific::oracle
