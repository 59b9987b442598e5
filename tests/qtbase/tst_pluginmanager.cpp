#include <VorloQtBase/pluginmanager.h>

#include <QtTest>

using VorloViewerSdk::PluginManager;

class tst_PluginManager : public QObject
{
    Q_OBJECT

private slots:
    void init() { PluginManager::clear(); }
    void nothingRegisteredNothingAvailable();
    void registeredNameIsAvailable();
    void emptyNameIsNeverAvailable();
    void namesAreCaseSensitive();
    void unregisterRemovesName();
    void listIsSorted();
};

void tst_PluginManager::nothingRegisteredNothingAvailable()
{
    QVERIFY(!PluginManager::isPluginAvailable(QStringLiteral("LumidexPlugin")));
    QVERIFY(PluginManager::availablePlugins().isEmpty());
}

void tst_PluginManager::registeredNameIsAvailable()
{
    QVERIFY(PluginManager::registerPlugin(QStringLiteral("LumidexPlugin")));
    QVERIFY(PluginManager::isPluginAvailable(QStringLiteral("LumidexPlugin")));
    QVERIFY(!PluginManager::isPluginAvailable(QStringLiteral("OtherPlugin")));
}

void tst_PluginManager::emptyNameIsNeverAvailable()
{
    QVERIFY(!PluginManager::registerPlugin(QString()));
    QVERIFY(!PluginManager::registerPlugin(QStringLiteral("")));
    QVERIFY(!PluginManager::isPluginAvailable(QString()));
    QVERIFY(!PluginManager::isPluginAvailable(QStringLiteral("")));
    QVERIFY(PluginManager::availablePlugins().isEmpty());
}

void tst_PluginManager::namesAreCaseSensitive()
{
    PluginManager::registerPlugin(QStringLiteral("LumidexPlugin"));
    QVERIFY(!PluginManager::isPluginAvailable(QStringLiteral("lumidexplugin")));
}

void tst_PluginManager::unregisterRemovesName()
{
    PluginManager::registerPlugin(QStringLiteral("A"));
    QVERIFY(PluginManager::unregisterPlugin(QStringLiteral("A")));
    QVERIFY(!PluginManager::isPluginAvailable(QStringLiteral("A")));
    QVERIFY(!PluginManager::unregisterPlugin(QStringLiteral("A")));
}

void tst_PluginManager::listIsSorted()
{
    PluginManager::registerPlugin(QStringLiteral("b"));
    PluginManager::registerPlugin(QStringLiteral("a"));
    PluginManager::registerPlugin(QStringLiteral("b"));
    QCOMPARE(PluginManager::availablePlugins(), (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
}

QTEST_APPLESS_MAIN(tst_PluginManager)
#include "tst_pluginmanager.moc"
