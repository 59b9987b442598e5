#include "bandwidthflattree.h"

#include "bandwidthdevicename_p.h"

#include <VorloQtBase/exceptionhandling.h>

#include <QAbstractItemModel>
#include <QDebug>
#include <QVariant>

#include <algorithm>
#include <cassert>
#include <stdexcept>

bool FlatTree::m_bShowGigE = false;

namespace {

const char* const DeviceClassUsbName = "KesdorUsb";
const char* const DeviceClassGigEName = "KesdorGigE";

void checkIndex(const std::vector<FlatTreeItem>& items, unsigned long index)
{
    if (index >= items.size())
        throw std::out_of_range("vector::_M_range_check");
}

// Runs body; a failure is logged under `function` with failureText, and its text is returned
// (empty when the body ran through).
template<class Body>
QString runAndDescribe(const char* function, const QString& failureText, Body&& body)
{
    try {
        body();
        return QString();
    } catch (const GenICam::GenericException& e) {
        VorloQtBase::logException(function, failureText, e);
        return QString::fromUtf8(e.GetDescription());
    } catch (const std::exception& e) {
        VorloQtBase::logException(function, failureText, e);
        return QString::fromUtf8(e.what());
    } catch (...) {
        VorloQtBase::logUnexpectedException(function, failureText);
        return QStringLiteral("Unknown exception.");
    }
}

BandwidthSample emptySampleKeepingLimit(const BandwidthSample& old)
{
    BandwidthSample sample;
    sample.bandwidthLimit = old.bandwidthLimit;
    return sample;
}

} // namespace

FlatTreeItem::FlatTreeItem()
    : parent(0)
    , pCamera(nullptr)
    , isInterface(false)
    , isDevice(false)
    , pTreeWidgetItem(nullptr)
    , pManagedDevice(nullptr)
{
}

FlatTreeItem::FlatTreeItem(unsigned long parentIndex, const QString& itemKey, const QString& itemDisplayName)
    : FlatTreeItem()
{
    parent = parentIndex;
    key = itemKey;
    displayName = itemDisplayName;
}

bool FlatTreeItem::isEnabledCamera() const
{
    assert((pCamera == NULL || isDevice) && "a valid devicepointer must also be a device");
    return pCamera != nullptr;
}

bool FlatTreeItem::isEnabledGigECamera() const
{
    assert((pCamera == NULL || isDevice) && "a valid devicepointer must also be a device");
    return pCamera != nullptr && pCamera->IsGigE();
}

FlatTree::FlatTree()
{
    clearTree();
}

FlatTree::~FlatTree() = default;

void FlatTree::clearTree()
{
    m_items.clear();
    m_items.emplace_back(0, QString(), QStringLiteral("Internal Error"));
}

unsigned long FlatTree::addOrFindItem(const QString& key, const QString& displayName, unsigned long parent)
{
    checkIndex(m_items, parent);
    for (unsigned long child : m_items[parent].children) {
        if (m_items[child].key == key)
            return child;
    }
    const unsigned long index = static_cast<unsigned long>(m_items.size());
    m_items.emplace_back(parent, key, displayName);
    m_items[parent].children.push_back(index);
    return index;
}

IVorloDevice* FlatTree::getManagedDevice(const QVector<IVorloDevice*>& managedDevices,
                                         const Vorlo::CDeviceInfo& deviceInfo)
{
    const GenICam::gcstring fullName = deviceInfo.GetFullName();
    for (IVorloDevice* pDevice : managedDevices) {
        if (pDevice && pDevice->GetDeviceInfo().GetFullName() == fullName)
            return pDevice;
    }
    return nullptr;
}

unsigned long FlatTree::addDevice(const Vorlo::CDeviceInfo& deviceInfo, unsigned long parent,
                                  const CBandwidthMeasuringCameraSet* pCameraSet,
                                  const QVector<IVorloDevice*>& managedDevices)
{
    const GenICam::gcstring fullName = deviceInfo.GetFullName();
    const unsigned long index = addOrFindItem(QString::fromLatin1(fullName.c_str()),
                                              VorloBandwidth::deviceName(deviceInfo), parent);
    FlatTreeItem& item = m_items[index];
    item.isDevice = true;
    item.deviceInfo = deviceInfo;
    item.pCamera = nullptr;
    if (pCameraSet) {
        // A camera enabled before a refresh finds its row again.
        for (CBandwidthMeasuringCamera* pCamera : pCameraSet->m_cameras) {
            if (pCamera->GetDeviceInfo().GetFullName() == fullName) {
                item.pCamera = pCamera;
                break;
            }
        }
    }
    item.pManagedDevice = getManagedDevice(managedDevices, deviceInfo);
    return index;
}

void FlatTree::refreshTree(CBandwidthMeasuringCameraSet* pCameraSet, const QVector<IVorloDevice*>& managedDevices)
{
    clearTree();

    Vorlo::CTlFactory& factory = Vorlo::CTlFactory::GetInstance();
    Vorlo::TlInfoList tlInfos;
    factory.EnumerateTls(tlInfos);
    for (size_t i = 0; i < tlInfos.size(); ++i) {
        const GenICam::gcstring deviceClass = tlInfos[i].GetDeviceClass();
        if (std::find(m_usableTLNames.begin(), m_usableTLNames.end(), deviceClass) == m_usableTLNames.end())
            continue;
        const QString className = QString::fromLatin1(deviceClass.c_str());

        Vorlo::ITransportLayer* pTl = nullptr;
        const bool created = VorloQtBase::guarded(
            "refreshTree", QString::asprintf("Failed to create TL '%s'", deviceClass.c_str()),
            [&] { pTl = factory.CreateTl(deviceClass); });
        if (!created || !pTl)
            continue;

        Vorlo::DeviceInfoList devices;
        VorloQtBase::guarded("refreshTree", QString::asprintf("Failed to enumerate '%s'", deviceClass.c_str()),
                             [&] { pTl->EnumerateDevices(devices, false); });

        if (!devices.empty()) {
            const QString tlDisplayName = QString::fromUtf8(tlInfos[i].GetFriendlyName().c_str());
            if (deviceClass == DeviceClassUsbName) {
                const unsigned long tlRow = addOrFindItem(className, tlDisplayName, 0);
                for (const Vorlo::CDeviceInfo& device : devices)
                    addDevice(device, tlRow, pCameraSet, managedDevices);
            } else if (m_bShowGigE) {
                for (const Vorlo::CDeviceInfo& device : devices) {
                    unsigned long parent = addOrFindItem(className, tlDisplayName, 0);
                    if (deviceClass == DeviceClassGigEName) {
                        GenICam::gcstring interfaceText;
                        device.GetPropertyValue("Interface", interfaceText);
                        const QString interfaceName = QString::fromLatin1(interfaceText.c_str());
                        parent = addOrFindItem(interfaceName,
                                               QStringLiteral("Network Interface (") + interfaceName + QStringLiteral(")"),
                                               parent);
                        m_items[parent].isInterface = true;
                        m_items[parent].sample.bytesPerSecondMax = 0;
                    }
                    addDevice(device, parent, pCameraSet, managedDevices);
                }
            }
        }
        factory.ReleaseTl(pTl);
    }

    if (!pCameraSet)
        return;
    // A camera whose device has gone from the enumeration is closed and deleted here.
    const std::vector<CBandwidthMeasuringCamera*> cameras = pCameraSet->m_cameras;
    for (CBandwidthMeasuringCamera* pCamera : cameras) {
        bool found = false;
        for (size_t row = 1; row < m_items.size(); ++row) {
            if (m_items[row].pCamera == pCamera) {
                found = true;
                break;
            }
        }
        if (!found)
            pCameraSet->RemoveDevice(pCamera);
    }
}

bool FlatTree::enableCamera(unsigned long index, CBandwidthMeasuringCameraSet* pCameraSet)
{
    if (index >= m_items.size() || !m_items[index].isDevice)
        return false;

    bool result = false;
    if (!m_items[index].pCamera) {
        FlatTreeItem& item = m_items[index];
        const QString failure = runAndDescribe(
            "enableCamera",
            QString::asprintf("Could not create camera '%s'", item.deviceInfo.GetFullName().c_str()),
            [&] {
                if (!item.pManagedDevice)
                    item.pCamera = pCameraSet->AddDevice(item.deviceInfo);
                else
                    item.pCamera = pCameraSet->AddManagedDevice(item.pManagedDevice);
                m_lastError.clear();
            });
        if (failure.isNull()) {
            result = true;
        } else {
            m_lastError = failure;
            item.pCamera = nullptr;
        }
    }

    FlatTreeItem& item = m_items[index];
    item.sample = emptySampleKeepingLimit(item.sample);
    if (!item.pCamera)
        return result;

    CBandwidthMeasuringCamera* pCamera = item.pCamera;
    if (!isBandwidthCameraReadyToGrab(pCamera))
        return result;

    const QString failure = runAndDescribe(
        "enableCamera",
        QString::asprintf("Failed to get sample from '%s'", item.deviceInfo.GetFullName().c_str()),
        [&] { item.sample = pCamera->GetSample(); });
    if (failure.isNull())
        result = true;
    else
        m_lastError = failure;

    if (!pCameraSet->m_bMeasuring)
        return result;

    startBandwidthCameraGrabbing(pCamera);
    result = true;
    if (!pCamera->m_bGrabStarted) {
        m_lastError = QStringLiteral("Could not start grab.");
        return false;
    }
    return result;
}

bool FlatTree::disableCamera(unsigned long index, CBandwidthMeasuringCameraSet* pCameraSet)
{
    if (index >= m_items.size() || !m_items[index].isDevice)
        return false;
    FlatTreeItem& item = m_items[index];
    if (!item.pCamera)
        return true;
    // Close and the destructor end the grab; a camera on a managed device is only destroyed.
    pCameraSet->RemoveDevice(item.pCamera);
    item.pCamera = nullptr;
    return true;
}

void FlatTree::Sample()
{
    for (FlatTreeItem& item : m_items) {
        if (item.isDevice && item.pCamera)
            item.sample = item.pCamera->GetSample();
    }
}

void FlatTree::ResetSamples()
{
    for (FlatTreeItem& item : m_items) {
        if (item.isDevice)
            item.sample = emptySampleKeepingLimit(item.sample);
    }
}

void FlatTree::setUsableTLNames(GenICam::gcstring_vector names)
{
    m_usableTLNames = names;
}

void FlatTree::ActivateGigE()
{
    m_bShowGigE = true;
}

bool FlatTree::IsActivateGigE() const
{
    return m_bShowGigE;
}

FlatTreeItem* FlatTree::getFlatTreeItemFromIndex(const QModelIndex& index)
{
    const QAbstractItemModel* pModel = index.model();
    if (!pModel)
        return nullptr;
    const QVariant data = pModel->data(index, FlatTreeItemRole);
    if (!data.isValid() || !data.canConvert<void*>())
        return nullptr;
    return static_cast<FlatTreeItem*>(data.value<void*>());
}
