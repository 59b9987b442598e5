#include <VorloQtBase/pluginmanager.h>

#include <QMutex>
#include <QMutexLocker>
#include <QSet>

namespace VorloViewerSdk {

namespace {

struct Registry
{
    QMutex mutex;
    QSet<QString> names;
};

Registry& registry()
{
    static Registry instance;
    return instance;
}

} // namespace

bool PluginManager::isPluginAvailable(const QString& name)
{
    if (name.isEmpty())
        return false;
    Registry& r = registry();
    QMutexLocker lock(&r.mutex);
    return r.names.contains(name);
}

bool PluginManager::registerPlugin(const QString& name)
{
    if (name.isEmpty())
        return false;
    Registry& r = registry();
    QMutexLocker lock(&r.mutex);
    r.names.insert(name);
    return true;
}

bool PluginManager::unregisterPlugin(const QString& name)
{
    Registry& r = registry();
    QMutexLocker lock(&r.mutex);
    return r.names.remove(name);
}

QStringList PluginManager::availablePlugins()
{
    Registry& r = registry();
    QMutexLocker lock(&r.mutex);
    QStringList list = r.names.values();
    list.sort();
    return list;
}

void PluginManager::clear()
{
    Registry& r = registry();
    QMutexLocker lock(&r.mutex);
    r.names.clear();
}

} // namespace VorloViewerSdk
