#pragma once
// The debug-level trace of lifetimes and device events, through log4cpp.
//
//   GetLazyTraceStructInstance()->debug("FloatEditor %p created", static_cast<void*>(this));
//
// The category is named "VorloQtWidgets" and is created on first use. It sets no appender and
// no priority of its own, so its lines go where the program configures log4cpp; with no
// configuration the root's INFO priority keeps it silent.

#include <VorloQtBase/vorloqtbase_export.h>

#include <log4cpp/Category.hh>

// Trace code written against the usual GenICam spelling of log4cpp's namespace keeps working.
namespace log4cpp_GenICam = log4cpp;

struct VORLOQTBASE_EXPORT LazyTraceStruct
{
    explicit LazyTraceStruct(log4cpp::Category& category);

    // Writes a printf-style debug line; cheap when debug is off (nothing is formatted).
    void debug(const char* format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
        ;
    bool isDebugEnabled() const;

    log4cpp::Category& category; // not owned: log4cpp's hierarchy keeps it
};

// The process's trace structure, created on first use (thread-safe).
VORLOQTBASE_EXPORT LazyTraceStruct* GetLazyTraceStructInstance();
