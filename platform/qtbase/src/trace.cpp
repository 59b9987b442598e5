#include <VorloQtBase/trace.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

LazyTraceStruct::LazyTraceStruct(log4cpp::Category& c)
    : category(c)
{
}

bool LazyTraceStruct::isDebugEnabled() const
{
    return category.isDebugEnabled();
}

void LazyTraceStruct::debug(const char* format, ...)
{
    if (!format || !category.isDebugEnabled())
        return;
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    char small[256];
    const int needed = std::vsnprintf(small, sizeof small, format, args);
    va_end(args);
    if (needed < 0) {
        va_end(copy);
        return;
    }
    if (static_cast<size_t>(needed) < sizeof small) {
        va_end(copy);
        category.debug(std::string(small, static_cast<size_t>(needed)));
        return;
    }
    std::vector<char> large(static_cast<size_t>(needed) + 1);
    std::vsnprintf(large.data(), large.size(), format, copy);
    va_end(copy);
    category.debug(std::string(large.data(), static_cast<size_t>(needed)));
}

LazyTraceStruct* GetLazyTraceStructInstance()
{
    static LazyTraceStruct instance(log4cpp::Category::getInstance("VorloQtWidgets"));
    return &instance;
}
