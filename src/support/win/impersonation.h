// The seam through which every operation on a file goes: who may touch a path, and under which
// identity or connection a path on a share is touched. No share has a context of its own.
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

namespace security {

class IFilesAccessPermissions {
  public:
    /// Throws where the path may not be touched.
    virtual void check_access(const std::wstring& path) = 0;
    virtual ~IFilesAccessPermissions() = default;
};

/// Allows every path.
class CUnrestrictedFilesAccessPermissions : public IFilesAccessPermissions {
  public:
    void check_access(const std::wstring&) override {}
};

}  // namespace security

namespace win {

/// The identity or connection that the files of a share need. Nothing makes one yet: it is the
/// place for a host whose staging folder lies on a share.
class impersonation_context_t {
  public:
    virtual ~impersonation_context_t() = default;
    /// Both throw; for any number of threads, for each more than once.
    virtual void enter() = 0;
    virtual void leave() = 0;
};

/// Stays in a context from its making to its end, on one thread; with a null one it does nothing.
class win_impersonation_session_t {
  public:
    explicit win_impersonation_session_t(const boost::shared_ptr<impersonation_context_t>& used);
    ~win_impersonation_session_t();
    win_impersonation_session_t(const win_impersonation_session_t&) = delete;
    win_impersonation_session_t& operator=(const win_impersonation_session_t&) = delete;

  private:
    boost::shared_ptr<impersonation_context_t> context;
};

/// The context of the share that the path lies on; null where there is none.
boost::shared_ptr<impersonation_context_t> find_context(const std::wstring& path);

/// Held while an operation on the path lasts. Throws where the path may not be touched or the
/// context cannot be entered.
boost::shared_ptr<win_impersonation_session_t> make_file_scope(const std::wstring& path);

}  // namespace win
