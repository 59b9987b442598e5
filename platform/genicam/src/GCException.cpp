#include <GenICam/GCException.h>

#include <cstdio>
#include <vector>

namespace GenICam
{
    static std::string MakeWhat(const std::string& description, const std::string& type,
                                const std::string& file, unsigned int line)
    {
        std::string what = description;
        what += " : ";
        what += type;
        what += " thrown (file '";
        const size_t slash = file.find_last_of("/\\");
        what += slash == std::string::npos ? file : file.substr(slash + 1);
        what += "', line ";
        what += std::to_string(line);
        what += ")";
        return what;
    }

    GenericException::GenericException(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine)
        : GenericException(pDescription, pSourceFileName, SourceLine, "GenericException")
    {
    }

    GenericException::GenericException(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine,
                                       const char* pExceptionType)
        : m_Description(pDescription ? pDescription : "")
        , m_SourceFileName(pSourceFileName ? pSourceFileName : "")
        , m_SourceLine(SourceLine)
        , m_ExceptionType(pExceptionType ? pExceptionType : "GenericException")
    {
        m_What = MakeWhat(m_Description, m_ExceptionType, m_SourceFileName, m_SourceLine);
    }

    GenericException::~GenericException() noexcept = default;

    const char* GenericException::GetDescription() const noexcept { return m_Description.c_str(); }
    const char* GenericException::GetSourceFileName() const noexcept { return m_SourceFileName.c_str(); }
    unsigned int GenericException::GetSourceLine() const noexcept { return m_SourceLine; }
    const char* GenericException::GetExceptionType() const noexcept { return m_ExceptionType.c_str(); }
    const char* GenericException::what() const noexcept { return m_What.c_str(); }

#define GENICAM_DEFINE_EXCEPTION(name)                                                                   \
    name::name(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine)           \
        : GenericException(pDescription, pSourceFileName, SourceLine, #name)                             \
    {                                                                                                    \
    }                                                                                                    \
    name::name(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine,           \
               const char* pExceptionType)                                                               \
        : GenericException(pDescription, pSourceFileName, SourceLine, pExceptionType)                    \
    {                                                                                                    \
    }                                                                                                    \
    name::~name() noexcept = default;

    GENICAM_DEFINE_EXCEPTION(InvalidArgumentException)
    GENICAM_DEFINE_EXCEPTION(OutOfRangeException)
    GENICAM_DEFINE_EXCEPTION(PropertyException)
    GENICAM_DEFINE_EXCEPTION(RuntimeException)
    GENICAM_DEFINE_EXCEPTION(BadAllocException)
    GENICAM_DEFINE_EXCEPTION(LogicalErrorException)
    GENICAM_DEFINE_EXCEPTION(AccessException)
    GENICAM_DEFINE_EXCEPTION(TimeoutException)
    GENICAM_DEFINE_EXCEPTION(DynamicCastException)

#undef GENICAM_DEFINE_EXCEPTION

    std::string FormatExceptionText(const char* pFormat, va_list args)
    {
        if (!pFormat)
            return std::string();
        char small[512];
        va_list copy;
        va_copy(copy, args);
        const int needed = std::vsnprintf(small, sizeof small, pFormat, copy);
        va_end(copy);
        if (needed < 0)
            return std::string(pFormat);
        if (static_cast<size_t>(needed) < sizeof small)
            return std::string(small, static_cast<size_t>(needed));
        std::vector<char> big(static_cast<size_t>(needed) + 1);
        std::vsnprintf(big.data(), big.size(), pFormat, args);
        return std::string(big.data(), static_cast<size_t>(needed));
    }
}
