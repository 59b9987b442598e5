#pragma once
// The three-way catch used by every Qt layer, and the print forms of exceptions.
//
//   bool ok = VorloQtBase::guarded("setNodeValue", QStringLiteral("Failed to set the value"),
//                                  [&] { node->SetValue(v, true); });
//
// The body runs inside try; the clauses stand in the order GenICam::GenericException,
// std::exception, anything else. Each writes the failure text as a qWarning; the first two then
// write "<function>: " and the exception through the debug stream, the last one
// "<function>: Unspecified exception occurred.". guarded() then returns false; it returns true
// when the body ran through (or the body's own bool result, if the body returns bool).
// guardedShown() does the same and also shows the failure to the person through
// showException()/showUnexpectedException().

#include <VorloQtBase/vorloqtbase_export.h>
#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtBase/genicamexception.h>

#include <QDebug>
#include <QString>

#include <exception>
#include <type_traits>
#include <utility>

class QWidget;

// "Exception occurred:\n" description "\n" source file ":" line "\n"
VORLOQTBASE_EXPORT QDebug operator<<(QDebug debug, const GenICam::GenericException& e);
// "Exception occurred:\n" what() "\n"
VORLOQTBASE_EXPORT QDebug operator<<(QDebug debug, const std::exception& e);

namespace VorloQtBase {

// The logging halves of the three clauses, for code that has to write its own catch
// (for example when the clauses need to do more than log).
VORLOQTBASE_EXPORT void logException(const char* function, const QString& failureText,
                                     const GenICam::GenericException& e);
VORLOQTBASE_EXPORT void logException(const char* function, const QString& failureText,
                                     const std::exception& e);
VORLOQTBASE_EXPORT void logUnexpectedException(const char* function, const QString& failureText);

namespace detail {
template<class Body>
bool runBody(Body&& body)
{
    if constexpr (std::is_same_v<std::invoke_result_t<Body&&>, bool>) {
        return std::forward<Body>(body)();
    } else {
        std::forward<Body>(body)();
        return true;
    }
}
} // namespace detail

template<class Body>
bool guarded(const char* function, const QString& failureText, Body&& body)
{
    try {
        return detail::runBody(std::forward<Body>(body));
    } catch (const GenICam::GenericException& e) {
        logException(function, failureText, e);
    } catch (const std::exception& e) {
        logException(function, failureText, e);
    } catch (...) {
        logUnexpectedException(function, failureText);
    }
    return false;
}

// Like guarded(), and the person sees the failure: showException(function, e, message, parent)
// or showUnexpectedException(function, message, parent).
template<class Body>
bool guardedShown(const char* function, const QString& failureText, const QString& message,
                  QWidget* parent, Body&& body)
{
    try {
        return detail::runBody(std::forward<Body>(body));
    } catch (const GenICam::GenericException& e) {
        logException(function, failureText, e);
        showException(QString::fromLatin1(function), e, message, parent);
    } catch (const std::exception& e) {
        logException(function, failureText, e);
        showException(QString::fromLatin1(function), e, message, parent);
    } catch (...) {
        logUnexpectedException(function, failureText);
        showUnexpectedException(QString::fromLatin1(function), message, parent);
    }
    return false;
}

} // namespace VorloQtBase
