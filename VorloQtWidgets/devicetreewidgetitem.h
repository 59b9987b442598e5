#pragma once

#include <QTreeWidgetItem>

#include <Vorlo/VorloIncludes.h>

#include <VorloQtWidgets/vorloqtwidgets_export.h>

// Data roles of the device tree's rows, all in column 0.
enum DeviceTreeRole
{
    DeviceTreeKeyRole = Qt::UserRole,          // both: GetFullName() of the layer or device
    DeviceTreeSweepTagRole = Qt::UserRole + 1, // device: true while not seen in the running merge
    DeviceTreeOpenRole = Qt::UserRole + 2,     // device: true while the device is open
    DeviceTreeScannedRole = Qt::UserRole + 3   // device: the int 1 on rows made from a scan
};

// A transport layer row of the device tree.
class VORLOQTWIDGETS_EXPORT TLTreeWidgetItem : public QTreeWidgetItem
{
public:
    enum { Type = QTreeWidgetItem::UserType + 41 };

    explicit TLTreeWidgetItem(QTreeWidget* view);
    ~TLTreeWidgetItem() override;
};

// A device row of the device tree: the device's record and, while it is open, its handle.
// Device rows sort by their friendly name, not by their display text.
class VORLOQTWIDGETS_EXPORT DeviceTreeWidgetItem : public QTreeWidgetItem
{
public:
    enum { Type = QTreeWidgetItem::UserType + 42 };

    DeviceTreeWidgetItem(QTreeWidgetItem* parent, const Vorlo::CDeviceInfo& info,
                         Vorlo::IVorloDevice* device);
    ~DeviceTreeWidgetItem() override;

    const Vorlo::CDeviceInfo& deviceInfo() const;
    Vorlo::CDeviceInfo& deviceInfo();
    const Vorlo::IVorloDevice* devicePointer() const;
    Vorlo::IVorloDevice* devicePointer();
    void setDeviceInfo(const Vorlo::CDeviceInfo& info);
    void setDevicePointer(Vorlo::IVorloDevice* device);

    bool operator<(const QTreeWidgetItem& other) const override;

private:
    Vorlo::CDeviceInfo m_deviceInfo;
    Vorlo::IVorloDevice* m_device; // not owned; null while the device is not open
};
