#pragma once

// Helpers shared by the value editors. Not part of the public interface.

#include <GenApi/GenApi.h>
#include <VorloQtBase/exceptionhandling.h>

#include <QString>
#include <QWidget>

#include <exception>
#include <utility>

namespace VorloQtInternal
{
// The one definition of readable and writable that the value editors use.
inline bool isReadable(GenApi::EAccessMode mode)
{
    return mode == GenApi::RO || mode == GenApi::RW;
}

inline bool isWritable(GenApi::EAccessMode mode)
{
    return mode == GenApi::WO || mode == GenApi::RW;
}

inline bool isReadable(const GenApi::IBase* node)
{
    return node && isReadable(node->GetAccessMode());
}

inline bool isWritable(const GenApi::IBase* node)
{
    return node && isWritable(node->GetAccessMode());
}

// The node's name for a log line; a null node throws like a null safe pointer does.
inline QString nodeName(GenApi::INode* node)
{
    if (!node)
        throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
    return QString::fromUtf8(node->GetName().c_str());
}

// Enables or disables the editor only when its state differs, so that a refresh does not
// send needless change events through the view.
inline void setEnabledIfChanged(QWidget* widget, bool enabled)
{
    if (widget->isEnabled() != enabled)
        widget->setEnabled(enabled);
}

// The three-way catch for bodies whose failure text names a node. The name is fetched only
// after a failure; when that fetch fails in turn, nameFailureText and the inner exception
// are reported in place of the failure text. Returns false after a failure, otherwise true
// (or the body's own bool result).
template<class NameOf, class Body>
bool guardedNamed(const char* function, const char* failureFormat, NameOf&& nameOf, Body&& body,
                  const char* nameFailureText = "Failed to retrieve a node's name")
{
    std::exception_ptr failure;
    try {
        return VorloQtBase::detail::runBody(std::forward<Body>(body));
    } catch (...) {
        failure = std::current_exception();
    }

    QString name;
    if (!VorloQtBase::guarded(function, QString::fromLatin1(nameFailureText), [&] { name = nameOf(); }))
        return false;
    VorloQtBase::guarded(function, QString::asprintf(failureFormat, name.toLocal8Bit().constData()),
                         [&] { std::rethrow_exception(failure); });
    return false;
}

// Tooltips are a nicety: a failure to build one is logged and the old tooltip stays. Only
// the two known kinds of exception are caught here; anything else passes on.
template<class Body>
void buildToolTip(Body&& body)
{
    try {
        std::forward<Body>(body)();
    } catch (const GenICam::GenericException& e) {
        qWarning("Error creating tooltip text! Err='%s'", e.what());
    } catch (const std::exception& e) {
        qWarning("Error creating tooltip text! Err='%s'", e.what());
    }
}
} // namespace VorloQtInternal

// A programming error that stops the process whatever the build type, with the usual
// assertion message naming the failed condition.
#define VORLO_REQUIRE(condition, text)                                                                   \
    do {                                                                                                 \
        if (!(condition))                                                                                \
            qt_assert(text, __FILE__, __LINE__);                                                         \
    } while (false)

namespace VorloQtInternal
{
// The low 32 bits of a 64-bit node value, without saturation.
inline int low32(int64_t value)
{
    return static_cast<int>(static_cast<quint32>(static_cast<quint64>(value)));
}
} // namespace VorloQtInternal
