#pragma once

#include <QPoint>
#include <QSize>
#include <QString>

#include <Vorlo/VorloIncludes.h>

#include <VorloQtWidgets/devicetreewidgetitem.h>
#include <VorloQtWidgets/treewidgetbase.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include "ui_devicetreewidget.h"

class QTimer;
class QTreeWidget;
class AutoScanThread;
class DeviceTreeData;

// The transport layers and their devices as a two-level tree that keeps itself up to date: a
// timer asks the scan thread for a scan every 10 seconds, and each finished scan is merged into
// the tree by marking and sweeping, so that rows stay in place and keep their state. The
// application opens and closes devices itself and reports back through onOpenDevice() and
// onCloseDevice(); an open device's row is never swept.
//
// The mutex of the shared snapshot is held for the whole of a merge and of addDevice(), and it
// is not recursive: a slot on deviceDetected, deviceRemoved, deviceListChanged or
// deviceOpenRequest must not call addDevice() or updateTransportLayers().
class VORLOQTWIDGETS_EXPORT DeviceTreeWidget : public TreeWidgetBase
{
    Q_OBJECT

public:
    DeviceTreeWidget(QWidget* parent, bool gigeOnly);
    ~DeviceTreeWidget() override;

    QSize sizeHint() const override;
    QTreeView* treeView() override;

    // 0 no row, 1 device, 2 transport layer; the point is in this widget's coordinates.
    int getDeviceTypeAt(const QPoint& pos) const;
    const Vorlo::CDeviceInfo* getDeviceInfoAt(const QPoint& pos) const;
    Vorlo::IVorloDevice* getDevicePointerAt(const QPoint& pos) const;
    // Counts the selected device rows and appends their records to list, if one is given.
    int selectedDevices(Vorlo::DeviceInfoList* list) const;
    bool HasTL() const;
    void setInfoText(const QString& text);
    // Adds a row for a device that no scan has reported; the next scan that does not report it
    // sweeps it away unless it is open.
    void addDevice(const Vorlo::CDeviceInfo& info);
    // Merges the shared snapshot into the tree.
    void updateTransportLayers();
    void updateAllToolTips();

signals:
    void currentDeviceChanged(const Vorlo::CDeviceInfo* info);
    void deviceOpenRequest();
    // byScan is true for a sweep, false for a surprise removal.
    void deviceRemoved(const Vorlo::CDeviceInfo* info, bool byScan);
    void deviceDetected(const Vorlo::CDeviceInfo* info);
    void deviceClose(const Vorlo::CDeviceInfo* info);
    void deviceListChanged();
    void pollingStateChanged(bool enabled);
    void itemSelectionChanged();

public slots:
    void onActionRefresh();
    void refresh(bool dumpResults);
    void setRefreshButtonEnabled(bool enable);
    void setAutoScanEnabled(bool enable);
    void onSurpriseRemoved(QString fullName, QString unused);
    void onOpenDevice(Vorlo::IVorloDevice* device);
    void onCloseDevice(Vorlo::IVorloDevice* device);
    bool selectByName(const QString& itemName, bool exactMatch = false);
    void selectByNameAsync(const QString& itemName, bool exactMatch = false);
    void selectByInfo(const Vorlo::CDeviceInfo& info);

protected slots:
    void onCurrentItemChanged(QTreeWidgetItem* current, QTreeWidgetItem* previous);
    void onItemActivated(QTreeWidgetItem* item, int column);

private slots:
    void deviceScanStarted();
    void deviceScanFinished();
    void startAutoScan();
    void on_checkBoxPolling_clicked();

protected:
    void onSaveState(QDataStream& stream) override;
    void onRestoreState(QDataStream& stream) override;

private:
    friend class AutoScanThread; // reads m_deviceTreeData and m_gigeOnly

    QTreeWidgetItem* itemAt(const QPoint& pos) const;
    int addDevices(const Vorlo::DeviceInfoList& list, TLTreeWidgetItem* tlItem);
    int removeTaggedItems(TLTreeWidgetItem* tlItem);
    void removeItem(QTreeWidgetItem* item, bool byScan);
    DeviceTreeWidgetItem* createDeviceItem(TLTreeWidgetItem* tlItem, const Vorlo::CDeviceInfo& info);
    TLTreeWidgetItem* findTlItem(const QString& key) const;
    DeviceTreeWidgetItem* findDeviceItem(const QString& key, TLTreeWidgetItem* tlItem) const;
    DeviceTreeWidgetItem* findDeviceItem(const QString& key) const;

    Ui_DeviceTreeWidgetClass m_ui;
    bool m_refreshButtonEnabled = true;
    bool m_autoScanEnabled = true;
    unsigned int m_toolTipDetailLevel = 0;
    DeviceTreeData* m_deviceTreeData = nullptr; // owned; shared with the scan thread
    AutoScanThread* m_scanThread = nullptr;     // owned
    QTimer* m_scanTimer = nullptr;              // owned; null while auto scan is off
    const bool m_gigeOnly;                      // read by the scan thread without a lock
    bool m_showBusyCursor = true;               // during the next scan; stands for the first
    bool m_pendingExactMatch = true;
    QString m_pendingSelection;                 // empty when no selection waits
    bool m_currentChangeByProgram = false;
    unsigned long long m_openedCount = 0;
    unsigned long long m_closedCount = 0;
};
