#pragma once

#include <VorloQtWidgets/vorloqtwidgets_export.h>

class QObject;

// Scope guard: blocks the signals of an object for as long as it lives and then puts back
// the blocking state the object had before, so that guards can nest.
class VORLOQTWIDGETS_EXPORT SignalBlocker
{
public:
    explicit SignalBlocker(QObject* object);
    ~SignalBlocker();

    SignalBlocker(const SignalBlocker&) = delete;
    SignalBlocker& operator=(const SignalBlocker&) = delete;

private:
    QObject* m_object; // not owned; may be null
    bool m_wasBlocked;
};
