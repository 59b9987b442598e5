#include "favoritesdata.h"

#include <QSettings>
#include <QStringList>

FavoritesData::FavoritesData(QObject* parent)
    : QObject(parent)
    , m_initialized(false)
    , m_viewAll(true)
    , m_expanded(false)
    , m_deferSignals(false)
    , m_signalPending(false)
{
}

FavoritesData::~FavoritesData() = default;

bool FavoritesData::isSameFavorite(const FavoritesDataItem& a, const FavoritesDataItem& b)
{
    return a.nodeMapName == b.nodeMapName && a.nodeName == b.nodeName;
}

int FavoritesData::countNodes() const
{
    return m_items.size();
}

bool FavoritesData::isValidIndex(int index) const
{
    return index >= 0 && index < m_items.size();
}

const FavoritesData::FavoritesDataItem* FavoritesData::nodeAt(int index) const
{
    return isValidIndex(index) ? &m_items.at(index) : nullptr;
}

FavoritesData::FavoritesDataItem* FavoritesData::nodeAt(int index)
{
    return isValidIndex(index) ? &m_items[index] : nullptr;
}

int FavoritesData::indexOfNode(const FavoritesDataItem& item) const
{
    for (int i = 0; i < m_items.size(); ++i)
    {
        if (isSameFavorite(m_items.at(i), item))
            return i;
    }
    return -1;
}

bool FavoritesData::insertNode(int index, const FavoritesDataItem& item)
{
    if (index < 0)
        index += m_items.size();
    if (!isValidIndex(index) && index != m_items.size())
        return false;
    if (item.nodeName.empty() || indexOfNode(item) >= 0)
        return false;
    m_items.insert(index, item);
    emitDataUpdatedSignal();
    return true;
}

bool FavoritesData::appendNode(const FavoritesDataItem& item)
{
    return insertNode(m_items.size(), item);
}

bool FavoritesData::removeNode(int index, FavoritesDataItem* removed)
{
    if (!removeNodeImpl(index, removed))
        return false;
    emitDataUpdatedSignal();
    return true;
}

bool FavoritesData::removeNodeImpl(int index, FavoritesDataItem* removed)
{
    if (!isValidIndex(index))
        return false;
    if (removed)
        *removed = m_items.at(index);
    m_items.removeAt(index);
    return true;
}

bool FavoritesData::moveNode(int from, int to)
{
    FavoritesDataItem item;
    if (!removeNodeImpl(from, &item))
        return false;
    // 'to' counts in the list as it was before the item was taken out.
    if (from < to)
        return insertNode(to - 1, item);
    return insertNode(to, item);
}

bool FavoritesData::getViewAllFavorites() const
{
    return m_viewAll;
}

void FavoritesData::setViewAllFavorites(bool viewAll)
{
    if (viewAll == m_viewAll)
        return;
    m_viewAll = viewAll;
    emitDataUpdatedSignal();
}

bool FavoritesData::getExpanded() const
{
    return m_expanded;
}

void FavoritesData::setExpanded(bool isExpanded)
{
    if (isExpanded == m_expanded)
        return;
    m_expanded = isExpanded;
    emit expanded(isExpanded);
}

bool FavoritesData::getDeferDataUpdatedSignals() const
{
    return m_deferSignals;
}

void FavoritesData::setDeferDataUpdatedSignals(bool defer)
{
    if (!defer && m_deferSignals && m_signalPending)
    {
        emit dataUpdated();
        m_deferSignals = false;
        m_signalPending = false;
        return;
    }
    m_deferSignals = defer;
}

void FavoritesData::emitDataUpdatedSignal()
{
    if (m_deferSignals)
        m_signalPending = true;
    else
        emit dataUpdated();
}

QString FavoritesData::getSettingsPath() const
{
    return m_settingsPath;
}

void FavoritesData::setSettingsPath(const QString& path)
{
    m_settingsPath = path;
}

void FavoritesData::InitOnce(const QString& path)
{
    if (m_initialized)
        return;
    m_initialized = true;
    setSettingsPath(path);
    LoadFavorites(path);
}

bool FavoritesData::Register(QObject* listener)
{
    if (!connect(this, SIGNAL(dataUpdated()), listener, SLOT(onFavoriteDataUpdated())))
        return false;
    return connect(this, SIGNAL(expanded(bool)), listener, SLOT(onFavoriteDataExpanded(bool)));
}

bool FavoritesData::Deregister(QObject* listener)
{
    SaveFavorites(m_settingsPath);
    const bool first = disconnect(this, SIGNAL(dataUpdated()), listener, SLOT(onFavoriteDataUpdated()));
    const bool second = disconnect(this, SIGNAL(expanded(bool)), listener, SLOT(onFavoriteDataExpanded(bool)));
    return first && second;
}

bool FavoritesData::LoadFavorites(const QString& path)
{
    if (path.isEmpty())
        return false;

    QSettings settings;
    settings.beginGroup(path);
    settings.value(QStringLiteral("Version"), 1).toInt(); // format version; every version reads alike
    const int count = settings.value(QStringLiteral("NumberOfEntries"), 0).toInt();
    for (int i = 0; i < count; ++i)
    {
        const QString value = settings.value(QString::asprintf("%d", i)).toString();
        if (value.isEmpty())
            continue;
        const QStringList parts = value.split(QLatin1Char('*'), Qt::SkipEmptyParts);
        if (parts.size() != 3)
            continue;
        FavoritesDataItem item;
        item.nodeName = GenICam::gcstring(parts.at(0).toLocal8Bit().constData());
        item.displayName = parts.at(1);
        item.nodeMapName = parts.at(2);
        appendNode(item);
    }
    m_viewAll = settings.value(QStringLiteral("ViewAll")).toBool();
    m_expanded = settings.value(QStringLiteral("Expanded"), true).toBool();
    settings.endGroup();
    emitDataUpdatedSignal();
    return true;
}

bool FavoritesData::SaveFavorites(const QString& path)
{
    if (path.isEmpty())
        return false;

    QSettings settings;
    settings.beginGroup(path);
    settings.setValue(QStringLiteral("Version"), 3);
    const int oldCount = settings.value(QStringLiteral("NumberOfEntries"), 0).toInt();
    settings.setValue(QStringLiteral("NumberOfEntries"), m_items.size());
    for (int i = 0; i < m_items.size(); ++i)
    {
        const FavoritesDataItem& item = m_items.at(i);
        if (item.nodeMapName.isEmpty() || item.nodeName.empty())
            continue;
        settings.setValue(QString::asprintf("%d", i),
                          QString("%1*%2*%3")
                              .arg(QString::fromLocal8Bit(item.nodeName.c_str()), item.displayName, item.nodeMapName));
    }
    for (int i = m_items.size(); i < oldCount; ++i)
        settings.remove(QString::asprintf("%d", i));
    settings.setValue(QStringLiteral("ViewAll"), m_viewAll ? 1 : 0);
    settings.setValue(QStringLiteral("Expanded"), m_expanded ? 1 : 0);
    settings.endGroup();
    return true;
}
