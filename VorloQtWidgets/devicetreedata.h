#pragma once

#include <vector>

#include <QMutex>

#include <Vorlo/VorloIncludes.h>

#include <VorloQtWidgets/vorloqtwidgets_export.h>

// One transport layer row of a device scan: the layer's own description and the devices
// found on it.
class VORLOQTWIDGETS_EXPORT DeviceTreeItem : public Vorlo::CTlInfo
{
public:
    DeviceTreeItem();
    explicit DeviceTreeItem(const Vorlo::CTlInfo& info);
    ~DeviceTreeItem() override;
    DeviceTreeItem(const DeviceTreeItem&);
    DeviceTreeItem& operator=(const DeviceTreeItem&);

    Vorlo::DeviceInfoList m_devices; // found on this layer, possibly empty
};

// A snapshot of the transport layers and their devices. A snapshot is built on a private copy
// and handed over whole by swapping the vectors, so the shared instance is locked only for the
// swap, however many devices there are.
class VORLOQTWIDGETS_EXPORT DeviceTreeData
{
public:
    DeviceTreeData();
    ~DeviceTreeData();
    DeviceTreeData(const DeviceTreeData&) = delete;
    DeviceTreeData& operator=(const DeviceTreeData&) = delete;

    // Replaces the contents of data with a new snapshot. Does not lock data.m_mutex: the caller
    // owns data for the time of the call. Exceptions of the transport layer listing and of the
    // creation of a layer reach the caller, and data is then unchanged; a failing device
    // enumeration costs only the devices of its own layer.
    //   gigeOnly     keep only the transport layers of the device class "KesdorGigE"
    //   skipDevices  list the transport layers only, with empty device lists
    //   dumpResults  walk the device list of each layer after it is filled (trace only)
    static void refreshDeviceTreeData(DeviceTreeData& data, bool gigeOnly, bool skipDevices,
                                      bool dumpResults);

    std::vector<DeviceTreeItem> m_items; // in the order the factory reports the layers
    QMutex m_mutex;                      // non-recursive; guards m_items of the shared instance
};
