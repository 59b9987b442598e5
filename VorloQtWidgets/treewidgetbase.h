#pragma once

#include <QByteArray>
#include <QWidget>

#include <VorloQtWidgets/vorloqtwidgets_export.h>

class QDataStream;
class QTreeView;

// Common base of the tree widgets: saves and restores the widths of the tree's columns,
// followed by a tail that each derived class writes and reads for itself. It keeps nothing:
// the application stores the bytes where it likes.
//
// The saved bytes are a QDataStream of: int version, int header section count,
// int size of each section, then the derived class's tail.
class VORLOQTWIDGETS_EXPORT TreeWidgetBase : public QWidget
{
    Q_OBJECT

public:
    explicit TreeWidgetBase(QWidget* parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());
    ~TreeWidgetBase() override;

    QByteArray saveState(int version);
    bool restoreState(const QByteArray& state, int version);

    // The tree whose header is saved; null when the widget has none (then nothing is saved).
    virtual QTreeView* treeView() = 0;

protected:
    // The derived class's tail, written after the section sizes.
    virtual void onSaveState(QDataStream& stream);
    // Reads the tail that onSaveState wrote; called only when the header part was accepted.
    virtual void onRestoreState(QDataStream& stream);
};
