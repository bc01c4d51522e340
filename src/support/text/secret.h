// Texts that leave nothing of themselves in memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <vector>

namespace util {

/// A password. It lies in one heap buffer, which is wiped when it goes; what was moved from is
/// empty. Each copy is one place more where it lies: only an owner of its own makes one. Never
/// logged, and no std::string is made of it, which would keep its bytes.
template <typename Char>
class basic_secret_t {
  public:
    using value_type = Char;

    basic_secret_t() = default;
    template <typename Iterator>
    basic_secret_t(Iterator first, Iterator last) {
        resize(static_cast<std::size_t>(std::distance(first, last)));
        std::transform(first, last, buffer.begin(),
                       [](auto unit) { return static_cast<Char>(unit); });
    }
    basic_secret_t(const basic_secret_t& other) : basic_secret_t(other.begin(), other.end()) {}
    basic_secret_t(basic_secret_t&& other) noexcept { buffer.swap(other.buffer); }
    basic_secret_t& operator=(basic_secret_t other) noexcept {
        buffer.swap(other.buffer);
        return *this;
    }
    ~basic_secret_t() { wipe(); }

    /// Zeros, so many; what was there is wiped.
    void resize(std::size_t size) {
        wipe();
        buffer = std::vector<Char>(size);
    }
    /// Empty afterwards.
    void wipe() {
        for (volatile Char& unit : buffer) {
            unit = Char();
        }
        buffer.clear();
    }

    const Char* data() const { return buffer.data(); }
    Char* data() { return buffer.data(); }
    std::size_t size() const { return buffer.size(); }
    bool empty() const { return buffer.empty(); }
    const Char* begin() const { return data(); }
    const Char* end() const { return data() + size(); }

  private:
    std::vector<Char> buffer;  // never grown: that would leave a copy behind
};

using secret_t = basic_secret_t<char>;
using wide_secret_t = basic_secret_t<wchar_t>;

}  // namespace util
