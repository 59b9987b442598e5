#pragma once
// The "..." button in a camera row of the bandwidth view; it opens the camera's feature dialog.

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <Vorlo/VorloIncludes.h>
#include <internal/GenApiSafePointer.h>

#include <QPushButton>

class BandwidthCameraConfigureDialog;

class VORLOQTWIDGETS_EXPORT CameraConfigurationEditor : public QPushButton
{
    Q_OBJECT

public:
    CameraConfigurationEditor(GenApi::INodeMap* pNodeMap, const Vorlo::CDeviceInfo* pDeviceInfo,
                              GenApi::_EVisibility visibility, bool polling, bool viewAllFavorites,
                              QWidget* parent);
    ~CameraConfigurationEditor() override;

    // Each getter asks the open dialog, if there is one; each setter also tells it.
    GenApi::_EVisibility getGenicamVisibilty() const;
    void setGenicamVisibilty(GenApi::_EVisibility visibility);
    bool getPollingActive() const;
    void setPollingActive(bool polling);
    bool getViewAllFavoritesActive() const;
    void setViewAllFavoritesActive(bool viewAll);

    // The open dialog, or null.
    BandwidthCameraConfigureDialog* dialog() const { return m_pDialog; }

signals:
    void configureDialogClosed();

public slots:
    void onEditorClosed();
    void onClicked();

private:
    void readBackFromDialog();

    GenApi::CSafePointer<GenApi::INodeMap, GenApi::INodeMap> m_nodeMap;
    const Vorlo::CDeviceInfo* m_pDeviceInfo;   // not owned: lives in the camera
    BandwidthCameraConfigureDialog* m_pDialog; // set only while the dialog is open
    int m_closeEventsToIgnore;
    GenApi::_EVisibility m_visibility;
    bool m_pollingActive;
    bool m_viewAllFavoritesActive;
};
