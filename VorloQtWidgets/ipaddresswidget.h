#pragma once
// A dialog in which a person enters an IP address, a subnet mask, a default gateway and, if
// wanted, a MAC address. It proposes the classful mask and a gateway of "0.0.0.0", and keeps its
// OK button dark until the whole entry is consistent. It knows nothing of cameras.

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include "ui_ipaddresswidget.h"

#include <QDialog>
#include <QHostAddress>
#include <QString>

class QIpAddressWithNetmaskValidator;
class QShowEvent;

class VORLOQTWIDGETS_EXPORT IpAddressWidget : public QDialog
{
    Q_OBJECT
    Q_PROPERTY(QString ipAddress READ ipAddress WRITE setIpAddress)
    Q_PROPERTY(QString subnetMask READ subnetMask WRITE setSubnetMask)
    Q_PROPERTY(QString defaultGateway READ defaultGateway WRITE setDefaultGateway)
    Q_PROPERTY(QString macAddress READ macAddress WRITE setMacAddress)
    Q_PROPERTY(bool showMacAddress READ showMacAddress WRITE setShowMacAddress)
    Q_PROPERTY(bool allowBroadcastAddress READ allowBroadcastAddress WRITE setAllowBroadcastAddress)
    Q_PROPERTY(bool allowMulticastAddress READ allowMulticastAddress WRITE setAllowMulticastAddress)
    Q_PROPERTY(bool allowExperiemntalPurposeAddress READ allowExperiemntalPurposeAddress
                   WRITE setAllowExperiemntalPurposeAddress)

public:
    explicit IpAddressWidget(QWidget* parent = nullptr);
    ~IpAddressWidget() override;

    QString headerText() const;
    void setHeaderText(const QString& text);

    QString ipAddress() const;
    void setIpAddress(const QString& address);
    QString subnetMask() const;
    void setSubnetMask(const QString& mask);
    QString defaultGateway() const;
    void setDefaultGateway(const QString& gateway);
    QString macAddress() const;
    void setMacAddress(const QString& address);

    bool showMacAddress() const { return m_showMacAddress; }
    void setShowMacAddress(bool show);
    bool allowBroadcastAddress() const { return m_allowBroadcastAddress; }
    void setAllowBroadcastAddress(bool allow);
    bool allowMulticastAddress() const { return m_allowMulticastAddress; }
    void setAllowMulticastAddress(bool allow);
    bool allowExperiemntalPurposeAddress() const { return m_allowExperiemntalPurposeAddress; }
    void setAllowExperiemntalPurposeAddress(bool allow);

    // The classful default mask: class A 255.0.0.0, B 255.255.0.0, C 255.255.255.0,
    // a null address for classes D and E. Unparsable text counts as 0 (class A).
    static QHostAddress subnetFromAddress(const QHostAddress& address);
    static QHostAddress subnetFromAddress(const QString& address);

public slots:
    void accept() override;

protected:
    void showEvent(QShowEvent* event) override;

private slots:
    void on_editMacAddress_textEdited();
    void on_editIpAddress_textEdited();
    void on_editIpAddress_editingFinished();
    void on_editNetmask_textEdited();
    void on_editNetmask_editingFinished();
    void on_editDefaultGateway_textEdited();

private:
    // Lights the OK button (and makes it the default) exactly when the whole entry is right.
    bool enableButtons();

    Ui_IpAddressWidgetClass ui;
    bool m_netmaskEdited = false;
    bool m_gatewayEdited = false;
    bool m_allowBroadcastAddress = false;
    bool m_allowMulticastAddress = false;
    bool m_allowExperiemntalPurposeAddress = false;
    bool m_showMacAddress = false;
    QIpAddressWithNetmaskValidator* m_ipAddressValidator = nullptr; // owned by the dialog (child)
};
