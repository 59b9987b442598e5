#pragma once
// The rows behind the bandwidth view: transport layers, network interfaces and devices in one
// vector, linked by index.

#include <VorloQtWidgets/bandwidthmeasuringcamera.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <Vorlo/VorloIncludes.h>

#include <QModelIndex>
#include <QString>
#include <QVector>

#include <vector>

class QTreeWidgetItem;

using Vorlo::IVorloDevice;

// One row. Parents and children refer to each other by index into FlatTree::m_items, since a
// row's address only holds until the next append.
class VORLOQTWIDGETS_EXPORT FlatTreeItem
{
public:
    FlatTreeItem();
    FlatTreeItem(unsigned long parentIndex, const QString& itemKey, const QString& itemDisplayName);

    // Whether measuring is enabled for this row; only device rows may carry a camera.
    bool isEnabledCamera() const;
    // Enabled, and the camera is a GigE Vision camera.
    bool isEnabledGigECamera() const;

    bool operator==(const QString& otherKey) const { return key == otherKey; }

    unsigned long parent;
    QString key;
    QString displayName;
    std::vector<unsigned long> children;
    BandwidthSample sample;
    CBandwidthMeasuringCamera* pCamera;  // not owned: the camera set owns it
    bool isInterface;
    bool isDevice;
    Vorlo::CDeviceInfo deviceInfo;
    QTreeWidgetItem* pTreeWidgetItem;   // not owned: the bandwidth view owns it
    IVorloDevice* pManagedDevice;       // not owned: the application manages it
};

class VORLOQTWIDGETS_EXPORT FlatTree
{
public:
    FlatTree();
    ~FlatTree();

    // Destroys all rows and leaves the single root row.
    void clearTree();
    // Rebuilds the rows from the SDK's enumeration; every earlier index becomes invalid.
    void refreshTree(CBandwidthMeasuringCameraSet* pCameraSet, const QVector<IVorloDevice*>& managedDevices);
    unsigned long addOrFindItem(const QString& key, const QString& displayName, unsigned long parent);
    unsigned long addDevice(const Vorlo::CDeviceInfo& deviceInfo, unsigned long parent,
                            const CBandwidthMeasuringCameraSet* pCameraSet,
                            const QVector<IVorloDevice*>& managedDevices);
    IVorloDevice* getManagedDevice(const QVector<IVorloDevice*>& managedDevices, const Vorlo::CDeviceInfo& deviceInfo);
    bool enableCamera(unsigned long index, CBandwidthMeasuringCameraSet* pCameraSet);
    bool disableCamera(unsigned long index, CBandwidthMeasuringCameraSet* pCameraSet);
    void Sample();
    void ResetSamples();
    void setUsableTLNames(GenICam::gcstring_vector names);
    void ActivateGigE();
    bool IsActivateGigE() const;

    static FlatTreeItem* getFlatTreeItemFromIndex(const QModelIndex& index);

    std::vector<FlatTreeItem> m_items;
    QString m_lastError;
    GenICam::gcstring_vector m_usableTLNames;
    static bool m_bShowGigE;
};

// Item data role that holds a row's FlatTreeItem* as a void* variant.
const int FlatTreeItemRole = Qt::UserRole + 1;
