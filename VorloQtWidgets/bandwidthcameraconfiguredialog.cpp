#include "bandwidthcameraconfiguredialog.h"

#include "bandwidthdevicename_p.h"
#include "featuretreemodel.h"
#include "featuretreewidget.h"
#include "ifeaturetreemodelextension.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QSpacerItem>
#include <QTabWidget>
#include <QVBoxLayout>

BandwidthCameraConfigureDialog::BandwidthCameraConfigureDialog(QWidget* parent, GenApi::INodeMap* pNodeMap,
                                                               const Vorlo::CDeviceInfo* pDeviceInfo,
                                                               GenApi::_EVisibility visibility, bool polling,
                                                               bool viewAllFavorites)
    : QDialog(parent)
    , m_pDeviceInfo(pDeviceInfo)
    , m_pFeatureTreeWidget(nullptr)
{
    m_nodeMap = pNodeMap;

    setWindowFlags((windowFlags() | Qt::WindowMaximizeButtonHint) & ~Qt::WindowContextHelpButtonHint);
    setObjectName(QStringLiteral("BandwidthConfigurationDialog"));
    const Vorlo::CDeviceInfo emptyInfo;
    const Vorlo::CDeviceInfo& info = pDeviceInfo ? *pDeviceInfo : emptyInfo;
    setWindowTitle(QStringLiteral("Features %1").arg(VorloBandwidth::deviceName(info)));
    setWindowModality(Qt::WindowModal);
    resize(400, 400);
    setSizeGripEnabled(true);
    setModal(true);

    QVBoxLayout* pLayout = new QVBoxLayout(this);
    pLayout->setObjectName(QStringLiteral("vbExtendedContainer"));
    QTabWidget* pTabs = new QTabWidget(this);
    pTabs->setObjectName(QStringLiteral("tabWidget"));
    pLayout->addWidget(pTabs);
    QHBoxLayout* pButtons = new QHBoxLayout();
    pButtons->addItem(new QSpacerItem(40, 20, QSizePolicy::Expanding, QSizePolicy::Minimum));
    QPushButton* pClose = new QPushButton(QStringLiteral("Close"), this);
    pClose->setObjectName(QStringLiteral("closeButton"));
    connect(pClose, SIGNAL(clicked(bool)), this, SLOT(close()));
    pButtons->addWidget(pClose);
    pLayout->addLayout(pButtons);

    m_pFeatureTreeWidget = new FeatureTreeWidget(QStringLiteral("Favorites"), this,
                                                 static_cast<GenApi::EVisibility>(visibility),
                                                 isNodeDebugModeEnabled());
    pTabs->addTab(m_pFeatureTreeWidget, QStringLiteral("Configuration"));
    connect(m_pFeatureTreeWidget, SIGNAL(viewAllFavoritesStateChanged(bool)), this,
            SLOT(onViewAllFavoritesStateChanged(bool)));

    // Dereferencing an empty node map raises the logical error, as for any other use.
    m_pFeatureTreeWidget->addNodeMap(&*m_nodeMap, VorloBandwidth::deviceName(info), QStringLiteral("Camera"),
                                     VorloBandwidth::isUtf8Device(info));
    m_pFeatureTreeWidget->setPolling(polling);
    m_pFeatureTreeWidget->setViewAllFavorites(viewAllFavorites);
    m_pFeatureTreeWidget->expandRootNodes();

    // After the start values, so that they do not run back.
    connect(m_pFeatureTreeWidget, SIGNAL(pollingStateChanged(bool)), this, SLOT(onPollingStateChanged(bool)));
}

BandwidthCameraConfigureDialog::~BandwidthCameraConfigureDialog()
{
    m_nodeMap.remove(true);
}

GenApi::_EVisibility BandwidthCameraConfigureDialog::getVisiblity() const
{
    const IFeatureTreeModelExtension* pExtension = m_pFeatureTreeWidget->getFeatureExtension();
    return pExtension ? static_cast<GenApi::_EVisibility>(pExtension->getVisibility()) : GenApi::Beginner;
}

void BandwidthCameraConfigureDialog::setVisiblity(GenApi::_EVisibility visibility)
{
    m_pFeatureTreeWidget->setVisibility(static_cast<GenApi::EVisibility>(visibility));
}

bool BandwidthCameraConfigureDialog::getViewAllFavorites() const
{
    return m_pFeatureTreeWidget->getViewAllFavorites();
}

void BandwidthCameraConfigureDialog::setViewAllFavorites(bool viewAll)
{
    m_pFeatureTreeWidget->setViewAllFavorites(viewAll);
}

bool BandwidthCameraConfigureDialog::getPolling() const
{
    return m_pFeatureTreeWidget->getPolling();
}

void BandwidthCameraConfigureDialog::setPolling(bool polling)
{
    m_pFeatureTreeWidget->setPolling(polling);
}

void BandwidthCameraConfigureDialog::setFeatureTreeViewAllFavorites(bool viewAll)
{
    m_pFeatureTreeWidget->setViewAllFavorites(viewAll);
}

void BandwidthCameraConfigureDialog::onPollingStateChanged(bool polling)
{
    setPolling(polling);
}

void BandwidthCameraConfigureDialog::onViewAllFavoritesStateChanged(bool bNewState)
{
    setViewAllFavorites(bNewState);
}
