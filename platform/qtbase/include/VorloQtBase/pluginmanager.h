#pragma once
// The application's plugin registry: the application registers the names of the plugins it can
// load, and the widgets ask whether one is there.

#include <VorloQtBase/vorloqtbase_export.h>

#include <QString>
#include <QStringList>

namespace VorloViewerSdk {

// All operations are static and thread-safe. Names are compared exactly (case-sensitive).
class VORLOQTBASE_EXPORT PluginManager
{
public:
    // Whether a plugin of that name was registered. An empty name is never available.
    static bool isPluginAvailable(const QString& name);
    // Registers a loadable plugin. Returns false (and does nothing) for an empty name.
    static bool registerPlugin(const QString& name);
    // Removes a name; returns whether it was registered.
    static bool unregisterPlugin(const QString& name);
    // The registered names, sorted.
    static QStringList availablePlugins();
    // Forgets every name.
    static void clear();

    PluginManager() = delete;
};

} // namespace VorloViewerSdk
