#include <VorloQtBase/exceptionhandling.h>

#include "textof_p.h"

QDebug operator<<(QDebug debug, const GenICam::GenericException& e)
{
    QDebugStateSaver saver(debug);
    debug.nospace().noquote() << "Exception occurred:\n"
                              << VorloQtBase::detail::textOf(e.GetDescription()) << "\n"
                              << VorloQtBase::detail::textOf(e.GetSourceFileName()) << ":"
                              << e.GetSourceLine() << "\n";
    return debug;
}

QDebug operator<<(QDebug debug, const std::exception& e)
{
    QDebugStateSaver saver(debug);
    debug.nospace().noquote() << "Exception occurred:\n" << QString::fromUtf8(e.what()) << "\n";
    return debug;
}

namespace VorloQtBase {

void logException(const char* function, const QString& failureText,
                  const GenICam::GenericException& e)
{
    qWarning("%s", qUtf8Printable(failureText));
    qDebug().nospace().noquote() << function << ": " << e;
}

void logException(const char* function, const QString& failureText, const std::exception& e)
{
    qWarning("%s", qUtf8Printable(failureText));
    qDebug().nospace().noquote() << function << ": " << e;
}

void logUnexpectedException(const char* function, const QString& failureText)
{
    qWarning("%s", qUtf8Printable(failureText));
    qDebug("%s: Unspecified exception occurred.", function);
}

} // namespace VorloQtBase
