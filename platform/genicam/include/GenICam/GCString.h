#pragma once
// GenICam's string type. It is a std::string with the conversions that GenApi users
// rely on (to const char* and to std::string), so it mixes freely with both.

#include <initializer_list>
#include <string>
#include <vector>

#include <GenICam/GCTypes.h>

namespace GenICam
{
    class gcstring : public std::string
    {
    public:
        static const size_t GCSTRING_NPOS = std::string::npos;

        gcstring() = default;
        gcstring(const char* pc) : std::string(pc ? pc : "") {}
        gcstring(const char* pc, size_t n) : std::string(pc ? pc : "", pc ? n : 0) {}
        gcstring(size_t count, char ch) : std::string(count, ch) {}
        gcstring(const std::string& str) : std::string(str) {}
        gcstring(std::string&& str) noexcept : std::string(std::move(str)) {}
        gcstring(const gcstring&) = default;
        gcstring(gcstring&&) noexcept = default;
        gcstring& operator=(const gcstring&) = default;
        gcstring& operator=(gcstring&&) noexcept = default;
        gcstring& operator=(const char* pc) { std::string::operator=(pc ? pc : ""); return *this; }
        gcstring& operator=(const std::string& str) { std::string::operator=(str); return *this; }

        //! Implicit conversion to a C string, as GenApi users expect
        operator const char*() const { return c_str(); }

        //! The string as std::string
        const std::string& ToStdString() const { return *this; }

        gcstring& operator+=(const gcstring& str) { std::string::append(str); return *this; }
        gcstring& operator+=(const char* pc) { if (pc) std::string::append(pc); return *this; }
        gcstring& operator+=(char ch) { std::string::push_back(ch); return *this; }
    };

    inline gcstring operator+(const gcstring& a, const gcstring& b) { gcstring r(a); r += b; return r; }
    inline gcstring operator+(const gcstring& a, const char* b) { gcstring r(a); r += b; return r; }
    inline gcstring operator+(const char* a, const gcstring& b) { gcstring r(a); r += b; return r; }

    inline bool operator==(const gcstring& a, const gcstring& b) { return static_cast<const std::string&>(a) == static_cast<const std::string&>(b); }
    inline bool operator!=(const gcstring& a, const gcstring& b) { return !(a == b); }
    inline bool operator<(const gcstring& a, const gcstring& b) { return static_cast<const std::string&>(a) < static_cast<const std::string&>(b); }
    inline bool operator==(const gcstring& a, const char* b) { return static_cast<const std::string&>(a) == (b ? b : ""); }
    inline bool operator!=(const gcstring& a, const char* b) { return !(a == b); }
    inline bool operator==(const char* a, const gcstring& b) { return b == a; }
    inline bool operator!=(const char* a, const gcstring& b) { return !(b == a); }
    inline bool operator==(const gcstring& a, const std::string& b) { return static_cast<const std::string&>(a) == b; }
    inline bool operator!=(const gcstring& a, const std::string& b) { return !(a == b); }
    inline bool operator==(const std::string& a, const gcstring& b) { return b == a; }
    inline bool operator!=(const std::string& a, const gcstring& b) { return !(b == a); }

    //! A list of strings
    class gcstring_vector : public std::vector<gcstring>
    {
    public:
        using std::vector<gcstring>::vector;
        gcstring_vector() = default;
    };
}

namespace std
{
    template <> struct hash<GenICam::gcstring>
    {
        size_t operator()(const GenICam::gcstring& s) const noexcept { return hash<std::string>()(s); }
    };
}
