#pragma once
// Validators for typing network addresses into line edits. While an entry could still become
// right, or is well-formed but not allowed, it is Intermediate, so that typing is never blocked
// and only the dialog's OK button stays dark. Invalid is kept for input that no further typing
// can mend.

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <QString>
#include <QValidator>

class QLineEdit;

// A dotted IPv4 address.
class VORLOQTWIDGETS_EXPORT QIpAddressValidator : public QValidator
{
    Q_OBJECT
public:
    explicit QIpAddressValidator(QObject* parent = nullptr);
    State validate(QString& input, int& pos) const override;
};

// A subnet mask, dotted ("255.255.255.0") or as a prefix length ("/24").
class VORLOQTWIDGETS_EXPORT QIpNetmaskValidator : public QValidator
{
    Q_OBJECT
public:
    explicit QIpNetmaskValidator(QObject* parent = nullptr);
    State validate(QString& input, int& pos) const override;
    // Turns a prefix length "/n" (0 to 32) into the dotted mask; leaves anything else alone.
    void fixup(QString& input) const override;
};

// An address that fits the mask typed into a neighbouring line and the address class rules.
class VORLOQTWIDGETS_EXPORT QIpAddressWithNetmaskValidator : public QValidator
{
    Q_OBJECT
    Q_PROPERTY(bool allowLoopbackAddress READ allowLoopbackAddress WRITE setAllowLoopbackAddress)
    Q_PROPERTY(bool allowNullAddress READ allowNullAddress WRITE setAllowNullAddress)
    Q_PROPERTY(bool allowBroadcastAddress READ allowBroadcastAddress WRITE setAllowBroadcastAddress)
    Q_PROPERTY(bool allowMulticastAddress READ allowMulticastAddress WRITE setAllowMulticastAddress)
    Q_PROPERTY(bool allowExperimentalPurposeAddress READ allowExperimentalPurposeAddress
                   WRITE setAllowExperimentalPurposeAddress)
public:
    QIpAddressWithNetmaskValidator(QLineEdit const* netmaskEdit, QObject* parent = nullptr);
    State validate(QString& input, int& pos) const override;

    bool allowLoopbackAddress() const { return m_allowLoopbackAddress; }
    void setAllowLoopbackAddress(bool allow) { m_allowLoopbackAddress = allow; }
    bool allowNullAddress() const { return m_allowNullAddress; }
    void setAllowNullAddress(bool allow) { m_allowNullAddress = allow; }
    bool allowBroadcastAddress() const { return m_allowBroadcastAddress; }
    void setAllowBroadcastAddress(bool allow) { m_allowBroadcastAddress = allow; }
    bool allowMulticastAddress() const { return m_allowMulticastAddress; }
    void setAllowMulticastAddress(bool allow) { m_allowMulticastAddress = allow; }
    bool allowExperimentalPurposeAddress() const { return m_allowExperimentalPurposeAddress; }
    void setAllowExperimentalPurposeAddress(bool allow) { m_allowExperimentalPurposeAddress = allow; }

private:
    QLineEdit const* m_netmaskEdit; // not owned, may be null
    bool m_allowLoopbackAddress = false;
    bool m_allowNullAddress = false;
    bool m_allowBroadcastAddress = false;
    bool m_allowMulticastAddress = false;
    bool m_allowExperimentalPurposeAddress = false;
};

// A 48-bit MAC address: 12 hex digits, with separators anywhere and in any number.
class VORLOQTWIDGETS_EXPORT QMacAddressValidator : public QValidator
{
    Q_OBJECT
    Q_PROPERTY(QString allowedSeperators READ allowedSeperators WRITE setAllowedSeperators)
public:
    explicit QMacAddressValidator(QObject* parent = nullptr);
    State validate(QString& input, int& pos) const override;

    QString allowedSeperators() const { return m_allowedSeperators; }
    void setAllowedSeperators(const QString& separators) { m_allowedSeperators = separators; }

private:
    QString m_allowedSeperators;
};
