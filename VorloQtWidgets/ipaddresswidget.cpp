#include <VorloQtWidgets/ipaddresswidget.h>

#include <VorloQtWidgets/qipaddressvalidator.h>

#include <QShowEvent>

namespace {

bool hasAcceptableInput(const QLineEdit* edit)
{
    return edit->hasAcceptableInput();
}

} // namespace

IpAddressWidget::IpAddressWidget(QWidget* parent)
    : QDialog(parent)
{
    ui.setupUi(this);
    setWindowFlags(Qt::Dialog | Qt::WindowCloseButtonHint);

    auto* macValidator = new QMacAddressValidator(this);
    auto* ipValidator = new QIpAddressValidator(this);
    auto* netmaskValidator = new QIpNetmaskValidator(this);
    auto* gatewayValidator = new QIpAddressWithNetmaskValidator(ui.editNetmask, this);
    gatewayValidator->setAllowNullAddress(true);

    ui.editMacAddress->setValidator(macValidator);
    ui.editIpAddress->setValidator(ipValidator);
    ui.editNetmask->setValidator(netmaskValidator);
    ui.editDefaultGateway->setValidator(gatewayValidator);

    // Asked by enableButtons() only; installed on no line.
    m_ipAddressValidator = new QIpAddressWithNetmaskValidator(ui.editNetmask, this);
    m_ipAddressValidator->setAllowBroadcastAddress(allowBroadcastAddress());
    m_ipAddressValidator->setAllowMulticastAddress(allowMulticastAddress());

    connect(ui.btnOk, SIGNAL(clicked()), this, SLOT(accept()));
    connect(ui.btnCancel, SIGNAL(clicked()), this, SLOT(reject()));
}

IpAddressWidget::~IpAddressWidget() = default;

QString IpAddressWidget::headerText() const
{
    return ui.labelHeader->text();
}

void IpAddressWidget::setHeaderText(const QString& text)
{
    ui.labelHeader->setText(text);
}

QString IpAddressWidget::ipAddress() const
{
    return ui.editIpAddress->text();
}

void IpAddressWidget::setIpAddress(const QString& address)
{
    ui.editIpAddress->setText(address);
    enableButtons();
}

QString IpAddressWidget::subnetMask() const
{
    return ui.editNetmask->text();
}

void IpAddressWidget::setSubnetMask(const QString& mask)
{
    ui.editNetmask->setText(mask);
    enableButtons();
}

QString IpAddressWidget::defaultGateway() const
{
    return ui.editDefaultGateway->text();
}

void IpAddressWidget::setDefaultGateway(const QString& gateway)
{
    ui.editDefaultGateway->setText(gateway);
    enableButtons();
}

QString IpAddressWidget::macAddress() const
{
    return ui.editMacAddress->text();
}

void IpAddressWidget::setMacAddress(const QString& address)
{
    ui.editMacAddress->setText(address);
    enableButtons();
}

void IpAddressWidget::setShowMacAddress(bool show)
{
    m_showMacAddress = show;
    ui.editMacAddress->setVisible(show);
    ui.labelMacAddress->setVisible(show);
}

// The three setters below forward to the validator of the address line, which is a plain
// QIpAddressValidator: the cast finds no object, so the flag is only stored and the dialog goes
// on treating such addresses as not allowed.
void IpAddressWidget::setAllowBroadcastAddress(bool allow)
{
    m_allowBroadcastAddress = allow;
    auto* validator = qobject_cast<QIpAddressWithNetmaskValidator*>(
        const_cast<QValidator*>(ui.editIpAddress->validator()));
    if (validator)
        validator->setAllowBroadcastAddress(allow);
}

void IpAddressWidget::setAllowMulticastAddress(bool allow)
{
    m_allowMulticastAddress = allow;
    auto* validator = qobject_cast<QIpAddressWithNetmaskValidator*>(
        const_cast<QValidator*>(ui.editIpAddress->validator()));
    if (validator)
        validator->setAllowMulticastAddress(allow);
}

void IpAddressWidget::setAllowExperiemntalPurposeAddress(bool allow)
{
    m_allowExperiemntalPurposeAddress = allow;
    auto* validator = qobject_cast<QIpAddressWithNetmaskValidator*>(
        const_cast<QValidator*>(ui.editIpAddress->validator()));
    if (validator)
        validator->setAllowExperimentalPurposeAddress(allow);
}

QHostAddress IpAddressWidget::subnetFromAddress(const QHostAddress& address)
{
    const quint32 ip = address.toIPv4Address();
    if ((ip & 0x80000000u) == 0)
        return QHostAddress(QStringLiteral("255.0.0.0"));
    if ((ip & 0xc0000000u) == 0x80000000u)
        return QHostAddress(QStringLiteral("255.255.0.0"));
    if ((ip & 0xe0000000u) == 0xc0000000u)
        return QHostAddress(QStringLiteral("255.255.255.0"));
    return QHostAddress();
}

QHostAddress IpAddressWidget::subnetFromAddress(const QString& address)
{
    return subnetFromAddress(QHostAddress(address));
}

bool IpAddressWidget::enableButtons()
{
    QString text = ui.editIpAddress->text();
    int pos = 0;
    const bool result = (!showMacAddress() || hasAcceptableInput(ui.editMacAddress))
                        && hasAcceptableInput(ui.editNetmask)
                        && hasAcceptableInput(ui.editDefaultGateway)
                        && m_ipAddressValidator->validate(text, pos) == QValidator::Acceptable;
    ui.btnOk->setDefault(result);
    ui.btnOk->setEnabled(result);
    return result;
}

void IpAddressWidget::on_editMacAddress_textEdited()
{
    enableButtons();
}

void IpAddressWidget::on_editIpAddress_textEdited()
{
    enableButtons();
}

void IpAddressWidget::on_editIpAddress_editingFinished()
{
    bool changed = false;
    const QHostAddress mask = subnetFromAddress(ui.editIpAddress->text());
    if (!mask.isNull() && !m_netmaskEdited && ui.editNetmask->text().isEmpty()) {
        ui.editNetmask->setText(mask.toString());
        changed = true;
    }
    if (!m_gatewayEdited && ui.editDefaultGateway->text().isEmpty()) {
        ui.editDefaultGateway->setText(QStringLiteral("0.0.0.0"));
        changed = true;
    }
    if (changed)
        enableButtons();
}

void IpAddressWidget::on_editNetmask_textEdited()
{
    m_netmaskEdited = true;
    enableButtons();
}

void IpAddressWidget::on_editNetmask_editingFinished()
{
    const auto* validator = qobject_cast<const QIpNetmaskValidator*>(ui.editNetmask->validator());
    if (!validator)
        return;
    QString text = ui.editNetmask->text();
    validator->fixup(text);
    if (text != ui.editNetmask->text()) {
        ui.editNetmask->setText(text);
        enableButtons();
    }
}

void IpAddressWidget::on_editDefaultGateway_textEdited()
{
    m_gatewayEdited = true;
    enableButtons();
}

void IpAddressWidget::showEvent(QShowEvent* event)
{
    m_netmaskEdited = false;
    m_gatewayEdited = false;
    enableButtons();
    QDialog::showEvent(event);
}

void IpAddressWidget::accept()
{
    if (ui.editDefaultGateway->text().isEmpty())
        ui.editDefaultGateway->setText(QStringLiteral("0.0.0.0"));
    QDialog::accept();
}
