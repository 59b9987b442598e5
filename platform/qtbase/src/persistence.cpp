#include <VorloQtBase/persistence.h>

#include <QGuiApplication>
#include <QHeaderView>
#include <QRect>
#include <QScreen>
#include <QSettings>
#include <QWidget>

namespace {

const char kHeaderVersionKey[] = "HeaderLayoutVersion";
const char kHeaderStateKey[] = "HeaderState";
const char kPositionKey[] = "Position";
const char kSizeKey[] = "Size";
const char kRelativeKey[] = "Relative";

QPoint originOf(const QWidget* widget)
{
    if (!widget)
        return QPoint();
    return widget->isWindow() ? widget->pos() : widget->mapToGlobal(QPoint());
}

// The available area of the screen that holds the rectangle's centre, or of the nearest screen.
QRect availableAreaFor(const QRect& rect)
{
    const QList<QScreen*> screens = QGuiApplication::screens();
    if (screens.isEmpty())
        return QRect();
    const QPoint centre = rect.center();
    QScreen* best = nullptr;
    qint64 bestDistance = -1;
    for (QScreen* screen : screens) {
        const QRect area = screen->availableGeometry();
        if (area.contains(centre))
            return area;
        const qint64 dx = qMax(0, qMax(area.left() - centre.x(), centre.x() - area.right()));
        const qint64 dy = qMax(0, qMax(area.top() - centre.y(), centre.y() - area.bottom()));
        const qint64 distance = dx * dx + dy * dy;
        if (bestDistance < 0 || distance < bestDistance) {
            best = screen;
            bestDistance = distance;
        }
    }
    return best->availableGeometry();
}

QRect clampToArea(QRect rect, const QRect& area)
{
    if (!area.isValid())
        return rect;
    rect.setWidth(qMin(rect.width(), area.width()));
    rect.setHeight(qMin(rect.height(), area.height()));
    rect.moveLeft(qBound(area.left(), rect.left(), area.right() - rect.width() + 1));
    rect.moveTop(qBound(area.top(), rect.top(), area.bottom() - rect.height() + 1));
    return rect;
}

} // namespace

void saveHeaderLayout(QSettings* settings, int version, const QHeaderView* header)
{
    if (!settings || !header)
        return;
    settings->setValue(QLatin1String(kHeaderVersionKey), version);
    settings->setValue(QLatin1String(kHeaderStateKey), header->saveState());
}

bool restoreHeaderLayout(const QSettings* settings, int version, QHeaderView* header)
{
    if (!settings || !header)
        return false;
    if (!settings->contains(QLatin1String(kHeaderStateKey))
        || !settings->contains(QLatin1String(kHeaderVersionKey)))
        return false;
    bool ok = false;
    const int stored = settings->value(QLatin1String(kHeaderVersionKey)).toInt(&ok);
    if (!ok || stored != version)
        return false;
    return header->restoreState(settings->value(QLatin1String(kHeaderStateKey)).toByteArray());
}

void saveWidgetPositionAndSize(QSettings* settings, const QWidget* widget, QWidget* relativeTo)
{
    if (!settings || !widget)
        return;
    settings->setValue(QLatin1String(kPositionKey), originOf(widget) - originOf(relativeTo));
    settings->setValue(QLatin1String(kSizeKey), widget->size());
    settings->setValue(QLatin1String(kRelativeKey), relativeTo != nullptr);
}

bool restoreWidgetPositionAndSize(const QSettings* settings, QWidget* widget, QWidget* relativeTo)
{
    if (!settings || !widget)
        return false;
    if (!settings->contains(QLatin1String(kPositionKey)) || !settings->contains(QLatin1String(kSizeKey)))
        return false;
    const QPoint offset = settings->value(QLatin1String(kPositionKey)).toPoint();
    QSize size = settings->value(QLatin1String(kSizeKey)).toSize();
    if (!size.isValid())
        size = widget->size();
    size = size.expandedTo(widget->minimumSize()).boundedTo(widget->maximumSize());

    const QRect wanted(originOf(relativeTo) + offset, size);
    const QRect placed = clampToArea(wanted, availableAreaFor(wanted));
    widget->resize(placed.size());
    if (widget->isWindow() || !widget->parentWidget())
        widget->move(placed.topLeft());
    else
        widget->move(widget->parentWidget()->mapFromGlobal(placed.topLeft()));
    return true;
}
