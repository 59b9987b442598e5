#include <VorloQtWidgets/qipaddressvalidator.h>

#include <QAbstractSocket>
#include <QHostAddress>
#include <QLineEdit>
#include <QStringList>

#include <cwctype>

namespace {

bool isLoopback(quint32 ip) { return (ip & 0xff000000u) == 0x7f000000u; }
bool isMulticast(quint32 ip) { return (ip & 0xf0000000u) == 0xe0000000u; }
bool isExperimental(quint32 ip) { return (ip & 0xf0000000u) == 0xf0000000u; }
bool isBroadcast(quint32 ip) { return ip == 0xffffffffu; }

} // namespace

QIpAddressValidator::QIpAddressValidator(QObject* parent)
    : QValidator(parent)
{
}

QValidator::State QIpAddressValidator::validate(QString& input, int& /*pos*/) const
{
    const int dots = input.count(QLatin1Char('.'));
    if (dots > 3)
        return Invalid;
    if (dots < 3)
        return Intermediate;
    const QStringList parts = input.split(QLatin1Char('.'), Qt::KeepEmptyParts);
    for (const QString& part : parts) {
        if (part.trimmed().isEmpty())
            return Intermediate;
    }
    QHostAddress address;
    if (!address.setAddress(input) || address.protocol() != QAbstractSocket::IPv4Protocol)
        return Invalid;
    // 0.0.0.x stands for an entry in progress.
    if ((address.toIPv4Address() & 0xffffff00u) == 0)
        return Intermediate;
    return Acceptable;
}

QIpNetmaskValidator::QIpNetmaskValidator(QObject* parent)
    : QValidator(parent)
{
}

QValidator::State QIpNetmaskValidator::validate(QString& input, int& pos) const
{
    const QString simplified = input.simplified();
    if (simplified.startsWith(QLatin1Char('/'))) {
        bool ok = false;
        const int bits = simplified.mid(1).toInt(&ok, 10);
        return (ok && bits >= 0 && bits <= 32) ? Acceptable : Intermediate;
    }

    const State addressState = QIpAddressValidator().validate(input, pos);
    if (addressState != Acceptable)
        return addressState;

    QHostAddress address;
    if (!address.setAddress(input))
        return Invalid;
    const quint32 mask = address.toIPv4Address();

    int p = 31;
    while (p >= 0 && (mask & (1u << p)))
        --p;
    if (p < 0 || p == 31 || p == 0)
        return Intermediate;
    const quint32 below = (1u << p) - 1u;
    if (mask & below)
        return Intermediate; // a hole in the mask
    return Acceptable;
}

void QIpNetmaskValidator::fixup(QString& input) const
{
    int pos = 0;
    validate(input, pos);
    const QString trimmed = input.trimmed();
    if (!trimmed.startsWith(QLatin1Char('/')) || trimmed.size() > 3)
        return;
    // A failed parse counts as 0, so "/x" becomes the empty mask.
    const int bits = trimmed.mid(1).toInt(nullptr, 10);
    if (bits > 32 || bits < 0)
        return;
    const quint32 mask = bits == 0 ? 0u : (0xffffffffu << (32 - bits));
    input = QHostAddress(mask).toString();
}

QIpAddressWithNetmaskValidator::QIpAddressWithNetmaskValidator(QLineEdit const* netmaskEdit,
                                                               QObject* parent)
    : QValidator(parent)
    , m_netmaskEdit(netmaskEdit)
{
}

QValidator::State QIpAddressWithNetmaskValidator::validate(QString& input, int& pos) const
{
    if (input.trimmed().isEmpty())
        return m_allowNullAddress ? Acceptable : Intermediate;

    QHostAddress address;
    if (!address.setAddress(input))
        return Intermediate;
    const quint32 ip = address.toIPv4Address();
    if (ip == 0)
        return m_allowNullAddress ? Acceptable : Intermediate;

    const State addressState = QIpAddressValidator().validate(input, pos);
    if (addressState != Acceptable)
        return addressState;
    if (address.protocol() != QAbstractSocket::IPv4Protocol)
        return Intermediate;

    if (isLoopback(ip))
        return m_allowLoopbackAddress ? Acceptable : Intermediate;
    if (isMulticast(ip) && !m_allowMulticastAddress)
        return Intermediate;
    if (isExperimental(ip) && !m_allowExperimentalPurposeAddress)
        return Intermediate;
    if (isBroadcast(ip) && !m_allowBroadcastAddress)
        return Intermediate;

    if (!m_netmaskEdit)
        return Acceptable;

    QString maskText = m_netmaskEdit->text();
    int maskPos = 0;
    if (QIpNetmaskValidator().validate(maskText, maskPos) != Acceptable)
        return Intermediate;
    // A mask written as "/n" parses to no address and so counts as the mask 0.
    const quint32 mask = QHostAddress(maskText).toIPv4Address();

    if (m_allowBroadcastAddress)
        return Acceptable;

    const quint32 net = ip & mask;
    if (ip == net || ip == (~mask | net))
        return Intermediate; // the network's own address or its broadcast address
    return Acceptable;
}

QMacAddressValidator::QMacAddressValidator(QObject* parent)
    : QValidator(parent)
    , m_allowedSeperators(QStringLiteral(" :-"))
{
}

QValidator::State QMacAddressValidator::validate(QString& input, int& pos) const
{
    if (input.isEmpty())
        return Acceptable;
    int digits = 0;
    for (int i = 0; i < input.size(); ++i) {
        const QChar c = input.at(i);
        if (std::iswxdigit(static_cast<wint_t>(c.unicode()))) {
            ++digits;
        } else if (!m_allowedSeperators.contains(c, Qt::CaseSensitive)) {
            pos = i;
            return Invalid;
        }
    }
    if (digits < 12)
        return Intermediate;
    return digits == 12 ? Acceptable : Invalid;
}
