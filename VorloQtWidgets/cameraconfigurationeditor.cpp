#include "cameraconfigurationeditor.h"

#include "bandwidthcameraconfiguredialog.h"

#include <VorloQtBase/persistence.h>

#include <QDialog>
#include <QPointer>
#include <QSettings>

namespace {

const char* const SettingsGroup = "BandwidthCameraConfigureDialog";

// The nearest ancestor of type T, or null.
template<class T>
T* getTypedParentWidget(QWidget* pWidget)
{
    for (QWidget* p = pWidget ? pWidget->parentWidget() : nullptr; p; p = p->parentWidget()) {
        if (T* pTyped = qobject_cast<T*>(p))
            return pTyped;
    }
    return nullptr;
}

} // namespace

CameraConfigurationEditor::CameraConfigurationEditor(GenApi::INodeMap* pNodeMap, const Vorlo::CDeviceInfo* pDeviceInfo,
                                                     GenApi::_EVisibility visibility, bool polling,
                                                     bool viewAllFavorites, QWidget* parent)
    : QPushButton(parent)
    , m_pDeviceInfo(pDeviceInfo)
    , m_pDialog(nullptr)
    , m_closeEventsToIgnore(0)
    , m_visibility(visibility)
    , m_pollingActive(polling)
    , m_viewAllFavoritesActive(viewAllFavorites)
{
    m_nodeMap = pNodeMap;
    setText(pNodeMap ? QStringLiteral("...") : QStringLiteral("Invalid!"));
    setToolTip(QStringLiteral("Configure Camera"));
    connect(this, SIGNAL(clicked(bool)), this, SLOT(onClicked()));
}

CameraConfigurationEditor::~CameraConfigurationEditor()
{
    disconnect(this, SIGNAL(clicked(bool)), this, SLOT(onClicked()));
    if (m_pDialog) {
        m_pDialog->reject();
        readBackFromDialog();
        delete m_pDialog;
        m_pDialog = nullptr;
    }
    m_nodeMap.remove(true);
}

void CameraConfigurationEditor::readBackFromDialog()
{
    m_visibility = m_pDialog->getVisiblity();
    m_pollingActive = m_pDialog->getPolling();
    m_viewAllFavoritesActive = m_pDialog->getViewAllFavorites();
}

GenApi::_EVisibility CameraConfigurationEditor::getGenicamVisibilty() const
{
    return m_pDialog ? m_pDialog->getVisiblity() : m_visibility;
}

void CameraConfigurationEditor::setGenicamVisibilty(GenApi::_EVisibility visibility)
{
    if (m_pDialog)
        m_pDialog->setVisiblity(visibility);
    m_visibility = visibility;
}

bool CameraConfigurationEditor::getPollingActive() const
{
    return m_pDialog ? m_pDialog->getPolling() : m_pollingActive;
}

void CameraConfigurationEditor::setPollingActive(bool polling)
{
    if (m_pDialog)
        m_pDialog->setPolling(polling);
    m_pollingActive = polling;
}

bool CameraConfigurationEditor::getViewAllFavoritesActive() const
{
    return m_pDialog ? m_pDialog->getViewAllFavorites() : m_viewAllFavoritesActive;
}

void CameraConfigurationEditor::setViewAllFavoritesActive(bool viewAll)
{
    if (m_pDialog)
        m_pDialog->setViewAllFavorites(viewAll);
    m_viewAllFavoritesActive = viewAll;
}

void CameraConfigurationEditor::onClicked()
{
    if (!m_nodeMap.IsValid() || m_pDialog)
        return;

    QWidget* pParentWidget = parentWidget();
    QDialog* pParentDialog = getTypedParentWidget<QDialog>(this);

    m_pDialog = new BandwidthCameraConfigureDialog(pParentWidget, &*m_nodeMap, m_pDeviceInfo, m_visibility,
                                                   m_pollingActive, m_viewAllFavoritesActive);
    QSettings settings;
    settings.beginGroup(QLatin1String(SettingsGroup));
    restoreWidgetPositionAndSize(&settings, m_pDialog, pParentDialog);
    settings.endGroup();

    // Opening the dialog takes the focus from the view's editor, which closes it once.
    m_closeEventsToIgnore = 1;
    QPointer<CameraConfigurationEditor> self(this);
    m_pDialog->exec();

    // The nested event loop may have deleted this editor with its row; its destructor has
    // then read the values back and deleted the dialog.
    if (!self || !m_pDialog)
        return;
    readBackFromDialog();
    emit configureDialogClosed();
    if (pParentDialog)
        QMetaObject::invokeMethod(pParentDialog, "onConfigureDialogClosed", Qt::QueuedConnection);

    settings.beginGroup(QLatin1String(SettingsGroup));
    saveWidgetPositionAndSize(&settings, m_pDialog, pParentDialog);
    settings.endGroup();

    delete m_pDialog;
    m_pDialog = nullptr;
}

void CameraConfigurationEditor::onEditorClosed()
{
    if (m_closeEventsToIgnore > 0) {
        --m_closeEventsToIgnore;
        return;
    }
    // Closing the row closes the dialog.
    if (m_pDialog)
        m_pDialog->reject();
}
