#pragma once
// Turns whatever the GenICam exception accessors return (const char* or a string class with
// c_str()) into a QString.

#include <QString>

#include <type_traits>

namespace VorloQtBase {
namespace detail {

template<class T>
QString textOf(const T& value)
{
    if constexpr (std::is_convertible_v<const T&, const char*>) {
        const char* text = value;
        return text ? QString::fromUtf8(text) : QString();
    } else {
        return QString::fromUtf8(value.c_str());
    }
}

} // namespace detail
} // namespace VorloQtBase
