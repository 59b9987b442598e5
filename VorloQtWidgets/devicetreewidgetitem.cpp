#include <VorloQtWidgets/devicetreewidgetitem.h>

TLTreeWidgetItem::TLTreeWidgetItem(QTreeWidget* view)
    : QTreeWidgetItem(view, Type)
{
}

TLTreeWidgetItem::~TLTreeWidgetItem() = default;

DeviceTreeWidgetItem::DeviceTreeWidgetItem(QTreeWidgetItem* parent, const Vorlo::CDeviceInfo& info,
                                           Vorlo::IVorloDevice* device)
    : QTreeWidgetItem(parent, Type)
    , m_deviceInfo(info)
    , m_device(device)
{
}

DeviceTreeWidgetItem::~DeviceTreeWidgetItem() = default;

const Vorlo::CDeviceInfo& DeviceTreeWidgetItem::deviceInfo() const
{
    return m_deviceInfo;
}

Vorlo::CDeviceInfo& DeviceTreeWidgetItem::deviceInfo()
{
    return m_deviceInfo;
}

const Vorlo::IVorloDevice* DeviceTreeWidgetItem::devicePointer() const
{
    return m_device;
}

Vorlo::IVorloDevice* DeviceTreeWidgetItem::devicePointer()
{
    return m_device;
}

void DeviceTreeWidgetItem::setDeviceInfo(const Vorlo::CDeviceInfo& info)
{
    m_deviceInfo = info;
}

void DeviceTreeWidgetItem::setDevicePointer(Vorlo::IVorloDevice* device)
{
    m_device = device;
}

bool DeviceTreeWidgetItem::operator<(const QTreeWidgetItem& other) const
{
    const DeviceTreeWidgetItem* otherDevice = dynamic_cast<const DeviceTreeWidgetItem*>(&other);
    if (!otherDevice)
        return QTreeWidgetItem::operator<(other);
    return m_deviceInfo.GetFriendlyName() < otherDevice->m_deviceInfo.GetFriendlyName();
}
