#include <VorloQtWidgets/vorloqtformat.h>

#include <VorloQtBase/formatting.h>

QString formatMACAddressWithHyphen(const char* text)
{
    return formatMACAddress(text, "-");
}

QString formatIPConfigurationFull(const char* text)
{
    return formatIPConfiguration(text, 0);
}

QString formatFromUtf8(const char* text)
{
    if (!text)
        return QString();
    return QString::fromUtf8(text);
}
