#pragma once
// The modal dialog that a row's "..." button opens: a full feature tree over the camera's node
// map.

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <Vorlo/VorloIncludes.h>
#include <internal/GenApiSafePointer.h>

#include <QDialog>

class FeatureTreeWidget;

class VORLOQTWIDGETS_EXPORT BandwidthCameraConfigureDialog : public QDialog
{
    Q_OBJECT

public:
    BandwidthCameraConfigureDialog(QWidget* parent, GenApi::INodeMap* pNodeMap, const Vorlo::CDeviceInfo* pDeviceInfo,
                                   GenApi::_EVisibility visibility, bool polling, bool viewAllFavorites);
    ~BandwidthCameraConfigureDialog() override;

    GenApi::_EVisibility getVisiblity() const;
    void setVisiblity(GenApi::_EVisibility visibility);
    bool getViewAllFavorites() const;
    void setViewAllFavorites(bool viewAll);
    bool getPolling() const;
    void setPolling(bool polling);
    void setFeatureTreeViewAllFavorites(bool viewAll);

    FeatureTreeWidget* featureTreeWidget() const { return m_pFeatureTreeWidget; }

public slots:
    void onPollingStateChanged(bool);
    void onViewAllFavoritesStateChanged(bool bNewState);

private:
    GenApi::CSafePointer<GenApi::INodeMap, GenApi::INodeMap> m_nodeMap;
    const Vorlo::CDeviceInfo* m_pDeviceInfo; // not owned
    FeatureTreeWidget* m_pFeatureTreeWidget;  // child of the dialog
};
