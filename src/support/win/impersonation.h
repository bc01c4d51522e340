// The seam through which every operation on a file goes: who may touch a path, and under which
// identity or connection a path on a share is touched. No share has a context of its own unless a
// caller of set_context gives it one.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>

#include "support/win/handle.h"

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

/// What the files of a share need. Any number of threads may be in it, each more than once.
class impersonation_context_t {
  public:
    virtual ~impersonation_context_t() = default;

    /// Takes effect where the calling thread is not in it yet. `token` keeps what must outlive the
    /// stay. Throws.
    void enter(win_handle_t& token);
    /// Takes effect where the calling thread leaves it for the last time. Throws.
    void leave();

  private:
    virtual void begin(win_handle_t& token) = 0;
    virtual void end() = 0;

    boost::mutex lock;
    std::map<DWORD, std::uint32_t> use_counts;  // by thread id
};

/// A logon token (LogonUserW), which it closes.
class token_context_t : public impersonation_context_t {
  public:
    explicit token_context_t(HANDLE logon_token) : logon(logon_token) {}

  private:
    void begin(win_handle_t& token) override;
    void end() override;

    win_handle_t logon;
};

/// A security context of a finished handshake, which the caller keeps alive.
class security_context_t : public impersonation_context_t {
  public:
    explicit security_context_t(PCtxtHandle used) : context(used) {}

  private:
    void begin(win_handle_t& token) override;
    void end() override;

    PCtxtHandle context;
};

/// A connection of the process to "\\server\share" (NetUseAdd), there while a thread uses it.
class share_connection_t : public impersonation_context_t {
  public:
    share_connection_t(const std::wstring& share, const std::wstring& user,
                       const std::wstring& password);

  private:
    void begin(win_handle_t& token) override;
    void end() override;
    bool is_connected();

    std::wstring m_share;
    std::wstring m_user;
    std::wstring m_password;
    boost::mutex state;
    std::uint32_t users = 0;
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
    win_handle_t token;
    bool entered = false;
};

/// From now on files on `share`, as "\\server\share", are touched inside `context`; null takes that
/// back.
void set_context(const std::wstring& share,
                 const boost::shared_ptr<impersonation_context_t>& context);

/// The context of the share that the path lies on; null where there is none.
boost::shared_ptr<impersonation_context_t> find_context(const std::wstring& path);

/// Held while an operation on the path lasts. Throws where the path may not be touched or the
/// context cannot be entered.
boost::shared_ptr<win_impersonation_session_t> make_file_scope(const std::wstring& path);

}  // namespace win
