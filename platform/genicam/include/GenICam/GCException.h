#pragma once
// The GenICam exception family and the macros that raise its members with the source
// file and line recorded: throw RUNTIME_EXCEPTION("Node '%s' is not readable", name);

#include <cstdarg>
#include <exception>
#include <string>

#include <GenICam/GCString.h>

namespace GenICam
{
    //! Base of all GenICam exceptions
    class GENAPI_EXPORT GenericException : public std::exception
    {
    public:
        GenericException(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine);
        GenericException(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine,
                         const char* pExceptionType);
        ~GenericException() noexcept override;

        //! The text that says what went wrong
        virtual const char* GetDescription() const noexcept;
        //! The source file that raised the exception
        virtual const char* GetSourceFileName() const noexcept;
        //! The line in that file
        virtual unsigned int GetSourceLine() const noexcept;
        //! The name of the exception class, e.g. "RuntimeException"
        virtual const char* GetExceptionType() const noexcept;
        //! Full message: description, exception type, file and line
        const char* what() const noexcept override;

    private:
        std::string m_Description;
        std::string m_SourceFileName;
        unsigned int m_SourceLine;
        std::string m_ExceptionType;
        std::string m_What;
    };

#define GENICAM_DECLARE_EXCEPTION(name)                                                                   \
    class GENAPI_EXPORT name : public GenericException                                                   \
    {                                                                                                     \
    public:                                                                                               \
        name(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine);            \
        name(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine,             \
             const char* pExceptionType);                                                                 \
        ~name() noexcept override;                                                                        \
    };

    //! Wrong parameter passed
    GENICAM_DECLARE_EXCEPTION(InvalidArgumentException)
    //! Value or address out of range
    GENICAM_DECLARE_EXCEPTION(OutOfRangeException)
    //! Property missing or not valid
    GENICAM_DECLARE_EXCEPTION(PropertyException)
    //! Error at run time
    GENICAM_DECLARE_EXCEPTION(RuntimeException)
    //! Memory could not be allocated
    GENICAM_DECLARE_EXCEPTION(BadAllocException)
    //! Programming error, e.g. a null pointer dereferenced
    GENICAM_DECLARE_EXCEPTION(LogicalErrorException)
    //! The access mode of a node forbids the operation
    GENICAM_DECLARE_EXCEPTION(AccessException)
    //! A timeout elapsed
    GENICAM_DECLARE_EXCEPTION(TimeoutException)
    //! A dynamic cast failed
    GENICAM_DECLARE_EXCEPTION(DynamicCastException)

#undef GENICAM_DECLARE_EXCEPTION

    //! Formats printf-style text into a string (helper of ExceptionReporter)
    GENAPI_EXPORT std::string FormatExceptionText(const char* pFormat, va_list args);

    //! Builds an exception of type E with file and line; used through the *_EXCEPTION macros
    template <typename E>
    class ExceptionReporter
    {
    public:
        ExceptionReporter(const char* pSourceFileName, unsigned int SourceLine, const char* pExceptionType)
            : m_pSourceFileName(pSourceFileName), m_SourceLine(SourceLine), m_pExceptionType(pExceptionType)
        {
        }

        //! Plain text, taken as it is
        E Report(const char* pText) const { return E(pText ? pText : "", m_pSourceFileName, m_SourceLine, m_pExceptionType); }
        E Report(const gcstring& Text) const { return E(Text.c_str(), m_pSourceFileName, m_SourceLine, m_pExceptionType); }
        E Report(const std::string& Text) const { return E(Text.c_str(), m_pSourceFileName, m_SourceLine, m_pExceptionType); }
        E Report() const { return E("", m_pSourceFileName, m_SourceLine, m_pExceptionType); }

        //! printf-style text with at least one argument
        template <typename Arg, typename... Args>
        E Report(const char* pFormat, Arg arg, Args... args) const
        {
            return ReportFormatted(pFormat, PassArg(arg), PassArg(args)...);
        }

    private:
        // Strings go through printf's "%s" as C strings
        static const char* PassArg(const gcstring& s) { return s.c_str(); }
        static const char* PassArg(const std::string& s) { return s.c_str(); }
        template <typename T>
        static T PassArg(T value) { return value; }

        E ReportFormatted(const char* pFormat, ...) const
        {
            va_list args;
            va_start(args, pFormat);
            const std::string text = FormatExceptionText(pFormat, args);
            va_end(args);
            return E(text.c_str(), m_pSourceFileName, m_SourceLine, m_pExceptionType);
        }

        const char* m_pSourceFileName;
        unsigned int m_SourceLine;
        const char* m_pExceptionType;
    };
}

#define GENERIC_EXCEPTION GenICam::ExceptionReporter<GenICam::GenericException>(__FILE__, __LINE__, "GenericException").Report
#define BAD_ALLOC_EXCEPTION GenICam::ExceptionReporter<GenICam::BadAllocException>(__FILE__, __LINE__, "BadAllocException").Report
#define INVALID_ARGUMENT_EXCEPTION GenICam::ExceptionReporter<GenICam::InvalidArgumentException>(__FILE__, __LINE__, "InvalidArgumentException").Report
#define OUT_OF_RANGE_EXCEPTION GenICam::ExceptionReporter<GenICam::OutOfRangeException>(__FILE__, __LINE__, "OutOfRangeException").Report
#define PROPERTY_EXCEPTION GenICam::ExceptionReporter<GenICam::PropertyException>(__FILE__, __LINE__, "PropertyException").Report
#define RUNTIME_EXCEPTION GenICam::ExceptionReporter<GenICam::RuntimeException>(__FILE__, __LINE__, "RuntimeException").Report
#define LOGICAL_ERROR_EXCEPTION GenICam::ExceptionReporter<GenICam::LogicalErrorException>(__FILE__, __LINE__, "LogicalErrorException").Report
#define ACCESS_EXCEPTION GenICam::ExceptionReporter<GenICam::AccessException>(__FILE__, __LINE__, "AccessException").Report
#define TIMEOUT_EXCEPTION GenICam::ExceptionReporter<GenICam::TimeoutException>(__FILE__, __LINE__, "TimeoutException").Report
#define DYNAMICCAST_EXCEPTION GenICam::ExceptionReporter<GenICam::DynamicCastException>(__FILE__, __LINE__, "DynamicCastException").Report

//! Raises InvalidArgumentException when a pointer argument is null
#define CHECK_NULL_ARGUMENT(pointer)                                                                     \
    do                                                                                                   \
    {                                                                                                    \
        if (!(pointer))                                                                                  \
            throw INVALID_ARGUMENT_EXCEPTION("Argument '%s' must not be NULL", #pointer);                \
    } while (false)
