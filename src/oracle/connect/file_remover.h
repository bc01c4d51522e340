// A scope guard for a temporary file.
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "oracle/connect/session.h"

namespace specific::oracle {

/// Deletes the file at the end of its scope; where this process may not, the database does it
/// through `session`, if there is one. A failure is logged, never thrown.
class CFileRemover {
  public:
    CFileRemover(std::string file_path, boost::shared_ptr<COracleSession> owner)
        : path(std::move(file_path)), session(std::move(owner)) {}
    ~CFileRemover();
    CFileRemover(const CFileRemover&) = delete;
    CFileRemover& operator=(const CFileRemover&) = delete;

  private:
    void remove() const;

    std::string path;
    boost::shared_ptr<COracleSession> session;
};

}  // namespace specific::oracle
