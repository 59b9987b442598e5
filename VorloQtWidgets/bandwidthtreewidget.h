#pragma once
// The bandwidth view: one row per transport layer, network interface and device, a check box per
// camera, persistent limit and configuration editors in the rows of enabled cameras, and the
// measured numbers. The application calls Sample() at the rate it wants and answers
// cameraChecked with EnableCamera or DisableCamera.

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <Vorlo/VorloIncludes.h>

#include <QDateTime>
#include <QFont>
#include <QIcon>
#include <QList>
#include <QString>
#include <QTreeWidget>
#include <QVector>

#include <vector>

class CBandwidthMeasuringCameraSet;
class FlatTree;
class FlatTreeItem;
class QSettings;

class VORLOQTWIDGETS_EXPORT BandwidthTreeWidget : public QTreeWidget
{
    Q_OBJECT

public:
    enum Column
    {
        ColumnCamera = 0,
        ColumnBandwidth = 1,
        ColumnConfiguration = 2,
        ColumnBytesReceived = 3,
        ColumnFpsSent = 4,
        ColumnFpsReceived = 5,
        ColumnImages = 6,
        ColumnErrors = 7,
        ColumnCount = 8
    };

    explicit BandwidthTreeWidget(QWidget* parent = nullptr);
    ~BandwidthTreeWidget() override;

    // Sets up columns, delegates and header; must run before the first refreshTree().
    // Returns whether a stored header layout was found.
    bool restoreLayout(const QSettings* settings);
    void saveLayout(QSettings* settings) const;

    void StartMeasuring();
    void StopMeasuring();
    void Sample();
    void ResetSamples();
    void UpdateSampleDataView();
    void UpdateSampleDataViewRow(unsigned long row);

    bool EnableCamera(unsigned long row);
    bool EnableCamera(const QString& key);
    // Always false.
    bool DisableCamera(unsigned long row);
    bool DisableCamera(const QString& key);

    int countCameras() const;
    int countEnabledCameras() const;
    int countEnabledGigECameras() const;
    QVector<unsigned long> enabledCameras() const;

    void closePersistentEditor(QTreeWidgetItem* item, int column);

    void ActivateGigE();
    bool IsActivateGigE() const;

    int getSelectedItemType() const;
    bool getSelectedItemFeatureValue(long long& value) const;
    QString getSelectedItemDisplayName() const;

    GenApi::_EVisibility getGenicamVisibility() const;
    void setGenicamVisibility(GenApi::_EVisibility visibility);
    bool getPollingActive() const;
    void setPollingActive(bool polling);
    bool getViewAllFavoritesActive() const;
    void setViewAllFavoritesActive(bool viewAll);

    bool setPreopenedDevices(const QVector<Vorlo::IVorloDevice*>* pDevices);
    void RemoveExternallyManagedVorloDevice(Vorlo::IVorloDevice* pDevice);
    void RemoveExternallyManagedVorloDevice(const QString& key);

    bool CheckTriggerState(QList<QString>* pSoftwareTriggerList, QList<QString>* pOtherTriggerList);

    int populateTreeFromFlatTreeData();
    void refreshTree();
    bool setUsableDeviceClasses(const GenICam::gcstring_vector& deviceClasses);

    // The rows behind the view, for the application's own walks.
    const FlatTree* flatTree() const { return m_pFlatTree; }
    const CBandwidthMeasuringCameraSet* cameraSet() const { return m_pCameraSet; }

signals:
    void cameraChecked(size_t index, Vorlo::CInstantCamera* pInstantCamera, Qt::CheckState checkState);
    void cameraRemoved(size_t index, Vorlo::CInstantCamera* pInstantCamera);
    void cameraAdded(size_t index, Vorlo::CInstantCamera* pInstantCamera);
    void errorOccurred(QString deviceName, QString message, QDateTime time);

public slots:
    void clear();
    void onItemChanged(QTreeWidgetItem* pItem, int column);

private:
    int addChildItems(const FlatTreeItem* pFlatTreeItemParent, QTreeWidgetItem* pTreeWidgetItemParent);
    // Row index by key; 0 when not found.
    unsigned long findRowByKey(const QString& key) const;
    void writeSharedRole(int role, const QVariant& value);

    FlatTree* m_pFlatTree;                         // owned
    CBandwidthMeasuringCameraSet* m_pCameraSet;    // owned
    std::vector<Vorlo::IVorloDevice*> m_preopenedDevices; // not owned: the application's devices
    QFont m_boldFont;
    QIcon m_warningIcon;
    QIcon m_errorIcon;
    QString m_emptyText;
    GenApi::_EVisibility m_genicamVisibility;
    bool m_pollingActive;
    bool m_viewAllFavoritesActive;
};

Q_DECLARE_METATYPE(Vorlo::CInstantCamera*)
