#include "platform/posix/unicode.h"

#include <iconv.h>
#include <locale.h>
#include <wctype.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <type_traits>
#include <utility>

#include "platform/posix/handles.h"
#include "platform/posix/text.h"

namespace platform {

namespace {

// Names fold alike whatever locale the host has chosen.
struct unicode_locale {
    locale_t handle = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    ~unicode_locale() {
        if (handle) freelocale(handle);
    }
};

__attribute__((init_priority(101))) unicode_locale g_locale;

std::string name_of(UINT code_page) {
    return code_page == CP_UTF8 ? "UTF-8" : "CP" + std::to_string(code_page);
}

// The system's converters that are in use so far, kept open: opening one loads a library.
struct converters {
    std::map<std::pair<std::string, std::string>, iconv_t> open;
    std::mutex mutex;

    ~converters() {
        for (const auto& [names, handle] : open) {
            if (handle != closed()) iconv_close(handle);
        }
    }
    static iconv_t closed() { return reinterpret_cast<iconv_t>(-1); }
    iconv_t find(const std::string& to, const std::string& from) {
        const auto [place, is_new] = open.emplace(std::make_pair(to, from), closed());
        if (is_new) place->second = iconv_open(to.c_str(), from.c_str());
        return place->second;
    }
};

converters g_converters;

class converter {
  public:
    converter(const std::string& to, const std::string& from)
        : lock(g_converters.mutex),
          handle(g_converters.find(to, from)),
          back(g_converters.find(from, to)) {
        if (is_open()) iconv(handle, nullptr, nullptr, nullptr, nullptr);
    }
    converter(const converter&) = delete;
    converter& operator=(const converter&) = delete;

    bool is_open() const { return handle != converters::closed(); }
    /// Whether this is one whole character of the target.
    bool gives(char byte) const {
        char* in = &byte;
        std::size_t size = 1;
        char buffer[8];
        char* out = buffer;
        std::size_t room = sizeof buffer;
        iconv(back, nullptr, nullptr, nullptr, nullptr);
        return iconv(back, &in, &size, &out, &room) != static_cast<std::size_t>(-1);
    }
    /// Appends what can be converted; returns how many bytes of the text that was.
    std::size_t run(const char* text, std::size_t size, std::string& result) {
        char* in = const_cast<char*>(text);
        const std::size_t whole = size;
        while (is_open() && size > 0) {
            char buffer[256];
            char* out = buffer;
            std::size_t room = sizeof buffer;
            const std::size_t before = size;
            iconv(handle, &in, &size, &out, &room);
            result.append(buffer, out);
            if (size == before) break;
        }
        return whole - size;
    }

  private:
    const std::lock_guard<std::mutex> lock;
    const iconv_t handle;
    const iconv_t back;
};

void append_unit(std::string& bytes, wchar_t unit) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8 & 0xFF);
}

// Windows reads the holes of its one-byte pages as control characters, and the other way round.
bool is_hole(UINT code_page, unsigned value) {
    return code_page >= 1250 && code_page <= 1258 && value >= 0x80 && value < 0xA0;
}

// The same in every code page, and nearly all there is to convert.
template <typename Text>
bool is_ascii(const Text& text) {
    return std::all_of(text.begin(), text.end(), [](auto c) {
        return static_cast<std::make_unsigned_t<decltype(c)>>(c) < 0x80;
    });
}

}  // namespace

bool is_code_page(UINT code_page) {
    return code_page == CP_ACP || code_page == CP_UTF8 ||
           converter("UTF-16LE", name_of(code_page)).is_open();
}

std::wstring widen(UINT code_page, const std::string& text, bool* lossy) {
    if (is_ascii(text)) return std::wstring(text.begin(), text.end());
    converter to_units("UTF-16LE", name_of(code_page));
    std::string units;
    for (std::size_t at = 0; at < text.size();) {
        at += to_units.run(text.data() + at, text.size() - at, units);
        if (at == text.size()) break;
        const auto byte = static_cast<unsigned char>(text[at++]);
        const bool hole = is_hole(code_page, byte);
        append_unit(units, hole ? byte : code_page == CP_UTF8 ? 0xFFFD : L'?');
        if (lossy && !hole) *lossy = true;
    }
    std::wstring result;
    for (std::size_t i = 0; i + 1 < units.size(); i += 2) {
        result += static_cast<wchar_t>(static_cast<unsigned char>(units[i]) |
                                       static_cast<unsigned char>(units[i + 1]) << 8);
    }
    return result;
}

std::string narrow(UINT code_page, const std::wstring& text, const char* fallback, bool* lossy) {
    if (is_ascii(text)) return std::string(text.begin(), text.end());
    converter from_units(name_of(code_page), "UTF-16LE");
    std::string units;
    for (const wchar_t unit : text) {
        append_unit(units, unit);
    }
    std::string result;
    for (std::size_t at = 0; at < units.size();) {
        at += from_units.run(units.data() + at, units.size() - at, result);
        if (at == units.size()) break;
        const std::size_t i = at / 2;
        at += 2;
        const auto value = static_cast<unsigned>(text[i]);
        const bool hole = is_hole(code_page, value) && !from_units.gives(static_cast<char>(value));
        result += hole                   ? std::string(1, static_cast<char>(text[i]))
                  : code_page == CP_UTF8 ? "\xEF\xBF\xBD"
                                         : fallback;
        if (lossy && !hole) *lossy = true;
    }
    return result;
}

std::wstring from_utf8(const std::string& text) {
    return widen(CP_UTF8, text);
}
std::string to_utf8(const std::wstring& text) {
    return narrow(CP_UTF8, text);
}
std::wstring widen_ansi(const std::string& text) {
    return widen(GetACP(), text);
}
std::string narrow_ansi(const std::wstring& text) {
    return narrow(GetACP(), text);
}

std::wstring fold(const std::wstring& name) {
    std::wstring result = name;
    for (wchar_t& unit : result) {
        unit = static_cast<wchar_t>(towupper_l(unit, g_locale.handle));
    }
    return result;
}

bool same_name(const std::wstring& a, const std::wstring& b) {
    return a.size() == b.size() && fold(a) == fold(b);
}

}  // namespace platform
