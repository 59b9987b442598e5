#include "bandwidthitemdelegate.h"

#include "bandwidthflattree.h"
#include "bandwidthlimiterinterpacketdelay.h"
#include "cameraconfigurationeditor.h"
#include "devicelinkthroughputlimiteditor.h"

#include <VorloQtBase/exceptionhandling.h>

namespace {

GenApi::INodeMap* cameraNodeMap(const QModelIndex& index)
{
    FlatTreeItem* pRow = FlatTree::getFlatTreeItemFromIndex(index);
    if (!pRow || !pRow->pCamera)
        return nullptr;
    return pRow->pCamera->GetNodeMap();
}

bool hasCamera(const QModelIndex& index)
{
    FlatTreeItem* pRow = FlatTree::getFlatTreeItemFromIndex(index);
    return pRow && pRow->pCamera;
}

bool rowHasThroughputLimit(const QModelIndex& index)
{
    return hasCamera(index) && DeviceLinkThroughputLimitEditor::isSupported(cameraNodeMap(index));
}

} // namespace

BandwidthEditorDelegate::BandwidthEditorDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
{
    connect(this, SIGNAL(closeEditor(QWidget*, QAbstractItemDelegate::EndEditHint)), this,
            SLOT(onCloseEditor(QWidget*, QAbstractItemDelegate::EndEditHint)));
}

void BandwidthEditorDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                                   const QModelIndex&) const
{
    editor->setGeometry(option.rect);
}

void BandwidthEditorDelegate::emitCloseEditorForPersistenEditor(QWidget* pEditor,
                                                                QAbstractItemDelegate::EndEditHint hint)
{
    emit closeEditor(pEditor, hint);
}

BandwidthItemDelegate::BandwidthItemDelegate(QObject* parent)
    : BandwidthEditorDelegate(parent)
{
}

QWidget* BandwidthItemDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                             const QModelIndex& index) const
{
    QWidget* pEditor = nullptr;
    VorloQtBase::guarded("BandwidthItemDelegate::createEditor", QStringLiteral("Failed to create the limit editor"),
                         [&] {
                             if (!hasCamera(index))
                                 return;
                             GenApi::INodeMap* pNodeMap = cameraNodeMap(index);
                             if (DeviceLinkThroughputLimitEditor::isSupported(pNodeMap))
                                 pEditor = new DeviceLinkThroughputLimitEditor(pNodeMap, parent);
                             else if (BandwidthLimiterInterPacketDelay::isSupported(pNodeMap))
                                 pEditor = new BandwidthLimiterInterPacketDelay(pNodeMap, parent);
                         });
    if (pEditor)
        return pEditor;
    return QStyledItemDelegate::createEditor(parent, option, index);
}

void BandwidthItemDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    // The throughput limit editor follows its node by itself.
    if (rowHasThroughputLimit(index))
        return;
    QStyledItemDelegate::setEditorData(editor, index);
}

void BandwidthItemDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const
{
    if (rowHasThroughputLimit(index)) {
        if (DeviceLinkThroughputLimitEditor* pLimitEditor = qobject_cast<DeviceLinkThroughputLimitEditor*>(editor)) {
            model->setData(index, QString::number(static_cast<double>(pLimitEditor->value()), 'g', 6),
                           Qt::DisplayRole);
        }
        return;
    }
    QStyledItemDelegate::setModelData(editor, model, index);
}

void BandwidthItemDelegate::onCloseEditor(QWidget* pEditor, QAbstractItemDelegate::EndEditHint)
{
    // The inter-packet delay limiter closes itself in its destructor.
    if (DeviceLinkThroughputLimitEditor* pLimitEditor = qobject_cast<DeviceLinkThroughputLimitEditor*>(pEditor)) {
        VorloQtBase::guarded("BandwidthItemDelegate::onCloseEditor", QStringLiteral("Failed to close the limit editor"),
                             [&] { pLimitEditor->onEditorClosed(); });
    }
}

BandwidthCameraConfigItemDelegate::BandwidthCameraConfigItemDelegate(QObject* parent)
    : BandwidthEditorDelegate(parent)
{
}

QWidget* BandwidthCameraConfigItemDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                                         const QModelIndex& index) const
{
    const auto visibility = static_cast<GenApi::_EVisibility>(index.data(BandwidthVisibilityRole).toInt());
    const bool polling = index.data(BandwidthPollingRole).toBool();
    const bool viewAllFavorites = index.data(BandwidthViewAllFavoritesRole).toBool();
    FlatTreeItem* pRow = FlatTree::getFlatTreeItemFromIndex(index);
    if (!pRow || !pRow->pCamera)
        return QStyledItemDelegate::createEditor(parent, option, index);

    CameraConfigurationEditor* pEditor =
        new CameraConfigurationEditor(pRow->pCamera->GetNodeMap(), &pRow->pCamera->GetDeviceInfo(), visibility,
                                      polling, viewAllFavorites, parent);
    connect(pEditor, SIGNAL(configureDialogClosed()), this, SLOT(onConfigureDialogClosed()));
    return pEditor;
}

void BandwidthCameraConfigItemDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    if (!hasCamera(index)) {
        QStyledItemDelegate::setEditorData(editor, index);
        return;
    }
    if (CameraConfigurationEditor* pEditor = qobject_cast<CameraConfigurationEditor*>(editor)) {
        pEditor->setGenicamVisibilty(static_cast<GenApi::_EVisibility>(index.data(BandwidthVisibilityRole).toInt()));
        pEditor->setPollingActive(index.data(BandwidthPollingRole).toBool());
        pEditor->setViewAllFavoritesActive(index.data(BandwidthViewAllFavoritesRole).toBool());
    }
}

void BandwidthCameraConfigItemDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                                     const QModelIndex& index) const
{
    if (!hasCamera(index)) {
        QStyledItemDelegate::setModelData(editor, model, index);
        return;
    }
    CameraConfigurationEditor* pEditor = qobject_cast<CameraConfigurationEditor*>(editor);
    if (!pEditor)
        return;
    model->setData(index, static_cast<int>(pEditor->getGenicamVisibilty()), BandwidthVisibilityRole);
    model->setData(index, pEditor->getPollingActive(), BandwidthPollingRole);
    model->setData(index, pEditor->getViewAllFavoritesActive(), BandwidthViewAllFavoritesRole);
}

void BandwidthCameraConfigItemDelegate::onCloseEditor(QWidget* pEditor, QAbstractItemDelegate::EndEditHint)
{
    if (CameraConfigurationEditor* pConfigEditor = qobject_cast<CameraConfigurationEditor*>(pEditor))
        pConfigEditor->onEditorClosed();
}

void BandwidthCameraConfigItemDelegate::onConfigureDialogClosed()
{
    // Writing the values back changes the item, and the view copies them to all rows.
    if (CameraConfigurationEditor* pEditor = qobject_cast<CameraConfigurationEditor*>(sender()))
        emit commitData(pEditor);
}
