// Reading the registry. Absent keys and values are ordinary outcomes; only real errors throw.
#pragma once

#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "platform/platform.h"

namespace win {

/// A transaction of the kernel's transaction manager.
struct reg_transaction_t {
    HANDLE handle = nullptr;
};

/// An open key. The readers throw where the value has another type than they read or cannot be
/// read; a text is taken up to its first NUL, an expandable one is not expanded. Used by one thread
/// at a time.
class win_reg_key_t {
  public:
    explicit win_reg_key_t(HKEY opened = nullptr) : handle(opened) {}
    ~win_reg_key_t();
    win_reg_key_t(const win_reg_key_t&) = delete;
    win_reg_key_t& operator=(const win_reg_key_t&) = delete;

    /// Replaces the key by the one below `parent`, opened for reading; the system's code. With a
    /// transaction, inside that.
    LONG open(HKEY parent, const std::wstring& path);
    void set_transaction(const reg_transaction_t* used) { transaction = used; }

    HKEY get() const { return handle; }
    /// For a call of the system that fills the handle; throws where the key is open already.
    HKEY* operator&();

    /// False where the value is absent.
    bool query_string(const std::string& name, std::string& out) const;
    bool query_wstring(const std::wstring& name, std::wstring& out) const;
    bool query_dword(const std::string& name, std::uint32_t& out) const;
    bool get_string(const std::string& name, std::string& out) const;

    /// Throws where the value is absent.
    std::uint32_t get_dword(const std::string& name) const;

    std::uint32_t query_dword_or(const std::string& name, std::uint32_t fallback) const;
    bool query_bool_or(const std::string& name, bool fallback) const;
    std::wstring query_wstring_or(const std::wstring& name, const std::wstring& fallback) const;

  private:
    void check_open() const;

    HKEY handle;
    std::uint32_t options = 0;
    const reg_transaction_t* transaction = nullptr;
};

/// The key below HKEY_LOCAL_MACHINE, or a null pointer where it does not exist. `access` is a
/// REGSAM. Throws win_sys_exc_t.
boost::shared_ptr<win_reg_key_t> open_hklm_subkey(const std::wstring& path, REGSAM access);

/// Options below one key of HKEY_LOCAL_MACHINE, in the 64-bit view. Never throws: failures are
/// logged and give the fallback.
class win_regoptions_reader_t {
  public:
    explicit win_regoptions_reader_t(const std::wstring& path);
    virtual ~win_regoptions_reader_t() = default;

    virtual std::string get_string(const std::string& name, const std::string& fallback) const;

  private:
    boost::shared_ptr<win_reg_key_t> key;
};

}  // namespace win
