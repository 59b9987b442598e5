#pragma once
// The two editor columns of the bandwidth view: the limit editor that a camera supports, and the
// button that opens the camera's feature dialog.

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <QStyledItemDelegate>

// Item data roles of the camera rows (column 2 holds the dialog settings shared by all rows).
const int BandwidthCameraRowRole = Qt::UserRole + 2;
const int BandwidthVisibilityRole = Qt::UserRole + 3;
const int BandwidthPollingRole = Qt::UserRole + 4;
const int BandwidthViewAllFavoritesRole = Qt::UserRole + 5;

// What both editor columns share: persistent editors that fill their cell, and a close signal
// that reaches the editor first, so that it can deregister its node callbacks before the view
// drops it.
class VORLOQTWIDGETS_EXPORT BandwidthEditorDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit BandwidthEditorDelegate(QObject* parent);

    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;

    // Lets a persistent editor deregister its callbacks before the view drops it.
    void emitCloseEditorForPersistenEditor(QWidget* pEditor,
                                           QAbstractItemDelegate::EndEditHint hint = NoHint);

public slots:
    virtual void onCloseEditor(QWidget* pEditor, QAbstractItemDelegate::EndEditHint hint) = 0;
};

// Column 1: DeviceLinkThroughputLimitEditor where the camera has a writable limit, else
// BandwidthLimiterInterPacketDelay where it has a writable inter-packet delay, else the default.
class VORLOQTWIDGETS_EXPORT BandwidthItemDelegate : public BandwidthEditorDelegate
{
    Q_OBJECT

public:
    explicit BandwidthItemDelegate(QObject* parent);

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;

public slots:
    void onCloseEditor(QWidget* pEditor, QAbstractItemDelegate::EndEditHint hint) override;
};

// Column 2: the "..." button of CameraConfigurationEditor on every camera row.
class VORLOQTWIDGETS_EXPORT BandwidthCameraConfigItemDelegate : public BandwidthEditorDelegate
{
    Q_OBJECT

public:
    explicit BandwidthCameraConfigItemDelegate(QObject* parent);

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;

public slots:
    void onCloseEditor(QWidget* pEditor, QAbstractItemDelegate::EndEditHint hint) override;
    void onConfigureDialogClosed();
};
