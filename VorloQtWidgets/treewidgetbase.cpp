#include "treewidgetbase.h"

#include <QDataStream>
#include <QHeaderView>
#include <QTreeView>

TreeWidgetBase::TreeWidgetBase(QWidget* parent, Qt::WindowFlags flags)
    : QWidget(parent, flags)
{
}

TreeWidgetBase::~TreeWidgetBase() = default;

QByteArray TreeWidgetBase::saveState(int version)
{
    QTreeView* view = treeView();
    if (!view)
        return QByteArray();

    QByteArray state;
    QDataStream stream(&state, QIODevice::WriteOnly);
    const QHeaderView* header = view->header();
    const int count = header->count();
    stream << qint32(version) << qint32(count);
    for (int section = 0; section < count; ++section)
        stream << qint32(header->sectionSize(section));
    onSaveState(stream);
    return state;
}

bool TreeWidgetBase::restoreState(const QByteArray& state, int version)
{
    if (state.isEmpty())
        return false;
    QTreeView* view = treeView();
    if (!view)
        return false;

    QDataStream stream(state);
    qint32 savedVersion = 0;
    qint32 savedCount = 0;
    stream >> savedVersion >> savedCount;
    QHeaderView* header = view->header();
    if (stream.status() != QDataStream::Ok || savedVersion != version || savedCount != header->count())
        return false;

    for (int section = 0; section < savedCount; ++section) {
        qint32 size = 0;
        stream >> size;
        if (stream.status() != QDataStream::Ok)
            return false;
        // The last section stretches to fill the view; forcing its old width would fight
        // the stretch and leave a scroll bar or a gap.
        if (section != savedCount - 1)
            header->resizeSection(section, size);
    }
    onRestoreState(stream);
    return true;
}

void TreeWidgetBase::onSaveState(QDataStream& /*stream*/)
{
}

void TreeWidgetBase::onRestoreState(QDataStream& /*stream*/)
{
}
