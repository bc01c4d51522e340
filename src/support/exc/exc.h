// The family of exceptions in which every failure travels: an ordered chain of lines, the root
// cause first, each marked as a line for users or as a trace line.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "support/exc/byte_stream.h"

namespace exc {

/// Not shared between threads: to cross one, clone it (capture_exception) and rethrow the clone.
class exc_base_t : public std::exception {
  public:
    struct entry_t {
        std::string text;
        bool is_trace;
    };
    using details_t = std::map<std::string, std::string>;

    explicit exc_base_t(const std::string& text);

    ~exc_base_t() override = default;
    /// All lines, separated by line feeds, trace lines behind "--tr:". The pointer is dead once a
    /// line is added.
    const char* what() const noexcept override { return message.c_str(); }
    /// A copy of the most derived class.
    virtual boost::shared_ptr<exc_base_t> clone() const;
    /// Throws a copy as its most derived class.
    [[noreturn]] virtual void rethrow() const;
    /// Appends the lines that `reader` holds. Throws when it is cut off.
    virtual void deserialize(byte_reader_t& reader);
    virtual void serialize(byte_writer_t& writer) const;
    /// Replaces each line by what `functor` makes of it.
    virtual void translate(const std::function<std::string(const std::string&)>& functor);

    void add_message(const std::string& text);
    void add_trace(const std::string& text);
    void merge_details(const details_t& other);

    const std::vector<entry_t>& get_chain() const { return chain; }
    /// The lines without marks.
    const std::string& get_plain_message() const { return plain_message; }
    /// The thread on which the exception arose.
    std::uint32_t thread_id() const { return m_thread_id; }

  protected:
    /// For classes that make their own lines.
    exc_base_t();

  private:
    void rebuild();

    std::vector<entry_t> chain;
    std::string message;
    std::string plain_message;
    details_t details;
    std::vector<std::string> details_order;
    std::uint32_t m_thread_id;
};

/// A failure of the library's own logic.
class runtime_exc_t : public exc_base_t {
  public:
    explicit runtime_exc_t(const std::string& text, std::uint32_t code = 0);
    runtime_exc_t(const std::string& format, const std::string& a);
    runtime_exc_t(const std::string& format, const std::string& a, const std::string& b);
    runtime_exc_t(const std::string& format, const std::string& a, const std::string& b,
                  const std::string& c);

    boost::shared_ptr<exc_base_t> clone() const override;
    [[noreturn]] void rethrow() const override;
    void deserialize(byte_reader_t& reader) override;
    void serialize(byte_writer_t& writer) const override;

    std::uint32_t code() const { return m_code; }

  private:
    std::uint32_t m_code = 0;
};

/// A failed call of the system: its text for the code, the message, and the code as a trace line.
class win_sys_exc_t : public exc_base_t {
  public:
    explicit win_sys_exc_t(std::uint32_t code);
    win_sys_exc_t(const std::string& text, std::uint32_t code);
    win_sys_exc_t(const std::string& format, const std::string& a, std::uint32_t code);
    win_sys_exc_t(const std::string& format, const std::string& a, const std::string& b,
                  std::uint32_t code);
    win_sys_exc_t(const std::string& format, const std::string& a, const std::string& b,
                  const std::string& c, std::uint32_t code);

    boost::shared_ptr<exc_base_t> clone() const override;
    [[noreturn]] void rethrow() const override;
    void deserialize(byte_reader_t& reader) override;
    void serialize(byte_writer_t& writer) const override;

    std::uint32_t code() const { return m_code; }

  private:
    std::uint32_t m_code;
};

/// A failed COM call: the thread's error description with the HRESULT, and the message.
class com_exc_t : public exc_base_t {
  public:
    com_exc_t(std::int32_t hresult, const std::string& text);

    boost::shared_ptr<exc_base_t> clone() const override;
    [[noreturn]] void rethrow() const override;
    void deserialize(byte_reader_t& reader) override;
    void serialize(byte_writer_t& writer) const override;

    std::int32_t code() const { return m_code; }

  private:
    std::int32_t m_code;
};

/// Another process holds the file.
class file_locked_exc_t : public exc_base_t {
  public:
    explicit file_locked_exc_t(const std::string& locked_path);

    boost::shared_ptr<exc_base_t> clone() const override;
    [[noreturn]] void rethrow() const override;

    const std::string& path() const { return m_path; }

  private:
    std::string m_path;
};

}  // namespace exc
