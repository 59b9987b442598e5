// The feature tree model.

#include <QSettings>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtBase/pluginmanager.h>
#include <VorloQtWidgets/FeatureTreeProxyModel.h>
#include <VorloQtWidgets/featuretreeinodeitem.h>
#include <VorloQtWidgets/featuretreemodel.h>

#include "featuremodeltestsupport.h"

using namespace FeatureModelTest;
using namespace GenApi;

namespace {

struct Fixture
{
    Fixture()
        : watch(featureModelDepartures())
    {
        proxy.setDynamicSortFilter(false);
        proxy.setFilterCaseSensitivity(Qt::CaseInsensitive);
        proxy.setFilterKeyColumn(1);
        proxy.setSourceModel(&model);
    }

    void watchModels()
    {
        if (watching)
            return;
        watching = true;
        watch.watch(&model);
        watch.watch(&proxy);
    }

    bool watching = false;

    void addCamera()
    {
        model.addNodeMap(camera.map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);
        watchModels();
    }

    QModelIndex byName(const QString& fullName, int column = 0)
    {
        return model.findItemByFullName(fullName, nullptr, column);
    }

    QTimer* pollTimer() { return model.findChild<QTimer*>(); }

    VorloQtBase::ExceptionRecorder recorder;
    TestCamera camera;
    FeatureTreeModel model;
    FeatureTreeProxyModel proxy;
    ModelWatch watch;
};

// A feature with a polling time, to see polling passes at work.
QByteArray polledDescription()
{
    return descriptionHead("PolledCam") +
        "<Category Name=\"Root\">\n"
        "  <pFeature>Temperature</pFeature>\n"
        "</Category>\n"
        "<Integer Name=\"Temperature\">\n"
        "  <Value>20</Value>\n"
        "  <PollingTime>100</PollingTime>\n"
        "</Integer>\n"
        + descriptionTail();
}

} // namespace

class TestFeatureTreeModel : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void categoryNotReadableAtFirstFillStaysEmpty();
    void deadDeviceRefusesSetDataAndSilencesCallbacks();
    void setDataWithShownValueReturnsTrueAndWritesNothing();
    void enablePollingTwiceStartsTimerOnce();
    void disablingPollingLetsOneLastTickRunWithoutRearming();
    void headerDataForVerticalOrientationIsInvalid_data();
    void headerDataForVerticalOrientationIsInvalid();
    void findItemByFullNameGivesFirstRowDepthFirst();
    void hasChildrenOfInvalidIndexIsTrueForEmptyModel();
    void nodeMapNameOfUnknownMapIsEmpty();
    void withoutSettingAndPluginExtensionPluginNameIsEmpty();
    void extensionPluginSettingPreventsLumidexDefault();

    void addNodeMapBuildsTopRowAndFirstLevelWithoutMapName();
    void indexParentAndRowCountFollowTheTree();
    void dataErrorIsReportedOnceUntilGoodRead();
    void setDataFailureIsReported();
    void nodeMapDestroyedWhileRowsExist();
    void deadDeviceTickLeavesTimerStoppedUntilPollingToggled();
    void monitorModeInvalidatesEveryPass();
    void refreshInvalidatesLiveNodeMaps();
    void clearEmptiesTheMasterRootWithoutResetSignals();
    void nestedModelWatchesHandOverComplaints();

private:
    void checkWatch(Fixture& f) { QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n'))); }
};

void TestFeatureTreeModel::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QSettings().clear();
}

void TestFeatureTreeModel::init()
{
    FeatureTreeModel::m_favorites.setDeferDataUpdatedSignals(false);
    while (FeatureTreeModel::m_favorites.countNodes() > 0)
        FeatureTreeModel::m_favorites.removeNode(0, nullptr);
}

void TestFeatureTreeModel::categoryNotReadableAtFirstFillStaysEmpty()
{
    Fixture f;
    f.addCamera();
    const QModelIndex hidden = f.byName(QStringLiteral("*Hidden"));
    QVERIFY(hidden.isValid());
    QCOMPARE(f.model.rowCount(hidden), 0);
    dynamic_cast<IInteger*>(f.camera.node("HiddenAvailable"))->SetValue(1);
    QCOMPARE(f.camera.node("Hidden")->GetAccessMode(), RO);
    QCOMPARE(f.model.rowCount(hidden), 0);
    checkWatch(f);
}

void TestFeatureTreeModel::deadDeviceRefusesSetDataAndSilencesCallbacks()
{
    Fixture f;
    f.addCamera();
    const QModelIndex width = f.byName(QStringLiteral("cam*Width"), 1);
    QVERIFY(width.isValid());
    f.model.SetDeviceAlive(false);
    QSignalSpy changed(&f.model, &QAbstractItemModel::dataChanged);
    QVERIFY(!f.model.setData(width, QStringLiteral("800"), Qt::EditRole));
    QCOMPARE(f.camera.writes, 0);
    dynamic_cast<IInteger*>(f.camera.node("Width"))->SetValue(700);
    QCOMPARE(changed.count(), 0);

    f.model.SetDeviceAlive(true);
    QVERIFY(f.model.setData(width, QStringLiteral("800"), Qt::EditRole));
    QCOMPARE(f.model.data(width).toString(), QStringLiteral("800"));
    QVERIFY(changed.count() >= 2);
    bool nameChanged = false;
    bool valueChanged = false;
    for (const QList<QVariant>& arguments : qAsConst(changed))
    {
        nameChanged = nameChanged || arguments.at(0).toModelIndex() == width.sibling(width.row(), 0);
        valueChanged = valueChanged || arguments.at(0).toModelIndex() == width;
    }
    QVERIFY(nameChanged && valueChanged);
    checkWatch(f);
}

void TestFeatureTreeModel::setDataWithShownValueReturnsTrueAndWritesNothing()
{
    Fixture f;
    f.addCamera();
    const QModelIndex width = f.byName(QStringLiteral("cam*Width"), 1);
    QCOMPARE(f.model.data(width).toString(), QStringLiteral("640"));
    QVERIFY(f.model.setData(width, QStringLiteral("640"), Qt::EditRole));
    QCOMPARE(f.camera.writes, 0);
    // Refusals without touching the node.
    QVERIFY(!f.model.setData(width, QStringLiteral("1"), Qt::DisplayRole));
    QVERIFY(!f.model.setData(width.sibling(width.row(), 0), QStringLiteral("1"), Qt::EditRole));
    QVERIFY(!f.model.setData(width, QVariant(), Qt::EditRole));
    QVERIFY(!f.model.setData(QModelIndex(), QStringLiteral("1"), Qt::EditRole));
    QCOMPARE(f.camera.writes, 0);
    checkWatch(f);
}

void TestFeatureTreeModel::enablePollingTwiceStartsTimerOnce()
{
    Fixture f;
    f.watchModels();
    QTimer* timer = f.pollTimer();
    QVERIFY(timer);
    QVERIFY(timer->isSingleShot());
    QVERIFY(!timer->isActive());
    f.model.EnablePolling(true);
    QVERIFY(timer->isActive());
    QCOMPARE(timer->interval(), 300);
    const int timerId = timer->timerId();
    f.model.EnablePolling(true);
    QCOMPARE(timer->timerId(), timerId);
    QVERIFY(f.model.GetPolling());
    checkWatch(f);
}

void TestFeatureTreeModel::disablingPollingLetsOneLastTickRunWithoutRearming()
{
    Fixture f;
    f.watchModels();
    QTimer* timer = f.pollTimer();
    QSignalSpy ticks(timer, &QTimer::timeout);
    f.model.EnablePolling(true);
    f.model.EnablePolling(false);
    QVERIFY(!f.model.GetPolling());
    QVERIFY(timer->isActive());
    QTRY_COMPARE(ticks.count(), 1);
    QVERIFY(!timer->isActive());
    checkWatch(f);
}

void TestFeatureTreeModel::headerDataForVerticalOrientationIsInvalid_data()
{
    QTest::addColumn<int>("section");
    QTest::addColumn<int>("orientation");
    QTest::addColumn<int>("role");
    QTest::addColumn<QVariant>("expected");
    QTest::newRow("feature header") << 0 << int(Qt::Horizontal) << int(Qt::DisplayRole) << QVariant(QStringLiteral("Feature"));
    QTest::newRow("value header") << 1 << int(Qt::Horizontal) << int(Qt::DisplayRole) << QVariant(QStringLiteral("Value"));
    QTest::newRow("vertical") << 0 << int(Qt::Vertical) << int(Qt::DisplayRole) << QVariant();
    QTest::newRow("tooltip role") << 0 << int(Qt::Horizontal) << int(Qt::ToolTipRole) << QVariant();
    QTest::newRow("third section") << 2 << int(Qt::Horizontal) << int(Qt::DisplayRole) << QVariant();
}

void TestFeatureTreeModel::headerDataForVerticalOrientationIsInvalid()
{
    QFETCH(int, section);
    QFETCH(int, orientation);
    QFETCH(int, role);
    QFETCH(QVariant, expected);
    Fixture f;
    f.watchModels();
    QCOMPARE(f.model.headerData(section, Qt::Orientation(orientation), role), expected);
    checkWatch(f);
}

void TestFeatureTreeModel::findItemByFullNameGivesFirstRowDepthFirst()
{
    Fixture f;
    f.addCamera();
    // "Shared" is listed by ImageFormat and by Analog; ImageFormat comes first.
    const QModelIndex first = f.byName(QStringLiteral("cam*Shared"));
    QVERIFY(first.isValid());
    QCOMPARE(first.parent(), f.byName(QStringLiteral("*ImageFormat")));
    const QModelIndex analog = f.byName(QStringLiteral("*Analog"));
    const QModelIndex second =
        f.model.findItemByFullName(QStringLiteral("cam*Shared"), f.model.getFeatureTreeItem(analog), 0);
    QVERIFY(second.isValid());
    QVERIFY(second != first);
    QCOMPARE(second.parent(), analog);

    // A favorite of the same feature has its own full name.
    f.model.CreateFavoritesRoot();
    QVERIFY(f.model.AddFavorite(f.camera.node("Shared"), 0));
    f.model.rebuildFavoriteItems();
    const QModelIndex favorite = f.byName(QStringLiteral("Fav*cam*Shared"));
    QVERIFY(favorite.isValid());
    QCOMPARE(favorite.parent(), f.model.GetFavoritesRootIndex());
    QCOMPARE(f.byName(QStringLiteral("cam*Shared")), first);
    checkWatch(f);
}

void TestFeatureTreeModel::hasChildrenOfInvalidIndexIsTrueForEmptyModel()
{
    Fixture f;
    f.watchModels();
    QCOMPARE(f.model.rowCount(), 0);
    QVERIFY(f.model.hasChildren(QModelIndex()));
    QCOMPARE(f.model.flags(QModelIndex()), Qt::ItemFlags(Qt::ItemIsEnabled));
    QCOMPARE(f.model.columnCount(), 2);
    QVERIFY(!f.model.index(0, 0).isValid());
    QVERIFY(!f.model.data(QModelIndex()).isValid());
    checkWatch(f);
}

void TestFeatureTreeModel::nodeMapNameOfUnknownMapIsEmpty()
{
    Fixture f;
    TestCamera other;
    QCOMPARE(f.model.GetNodeMapName(other.map()), QString());
    f.addCamera();
    QCOMPARE(f.model.GetNodeMapName(f.camera.map()), QStringLiteral("cam"));
    QCOMPARE(f.model.GetNodeMapName(other.map()), QString());
    QCOMPARE(f.model.GetNodeMapName(nullptr), QString());
    QCOMPARE(f.proxy.GetNodeMapName(f.camera.map()), QStringLiteral("cam"));
    checkWatch(f);
}

void TestFeatureTreeModel::withoutSettingAndPluginExtensionPluginNameIsEmpty()
{
    QSettings().remove(QString::fromLatin1(g_magicExtensionPluginSettingsName));
    VorloViewerSdk::PluginManager::clear();
    QCOMPARE(getExtensionPluginName(), QString());
    // Asks the registry for the empty name, which is never available; the answer is kept.
    QVERIFY(!isExtensionPluginAvailable());
    QVERIFY(!amILumidex());
    VorloViewerSdk::PluginManager::registerPlugin(QStringLiteral("LumidexPlugin"));
    QVERIFY(!isExtensionPluginAvailable());
    QVERIFY(!amILumidex());
    QVERIFY(!isNodeDebugModeEnabled());
    VorloViewerSdk::PluginManager::clear();
    QCOMPARE(QString::fromLatin1(g_magicExtensionPluginSettingsName), QStringLiteral("ExtensionPlugin"));
    QCOMPARE(QString::fromLatin1(g_NodemapDebugSwitchName), QStringLiteral("EnableNodeDebug"));
    QCOMPARE(QString::fromLatin1(g_magicLumidexPluginName), QStringLiteral("LumidexPlugin"));
}

void TestFeatureTreeModel::extensionPluginSettingPreventsLumidexDefault()
{
    VorloViewerSdk::PluginManager::registerPlugin(QStringLiteral("LumidexPlugin"));
    QSettings().remove(QStringLiteral("ExtensionPlugin"));
    QCOMPARE(getExtensionPluginName(), QStringLiteral("LumidexPlugin"));
    QSettings().setValue(QStringLiteral("ExtensionPlugin"), QStringLiteral("OtherPlugin"));
    QCOMPARE(getExtensionPluginName(), QStringLiteral("OtherPlugin"));
    QSettings().setValue(QStringLiteral("ExtensionPlugin"), QString());
    QCOMPARE(getExtensionPluginName(), QString());
    QSettings().remove(QStringLiteral("ExtensionPlugin"));
    VorloViewerSdk::PluginManager::clear();
}

void TestFeatureTreeModel::addNodeMapBuildsTopRowAndFirstLevelWithoutMapName()
{
    Fixture f;
    f.addCamera();
    QCOMPARE(f.model.rowCount(), 1);
    const QModelIndex top = f.model.index(0, 0);
    QCOMPARE(f.model.data(top).toString(), QStringLiteral("Camera"));
    QCOMPARE(f.model.data(top, FullNameRole).toString(), QStringLiteral("cam*Root"));
    QCOMPARE(f.model.data(top, NodeNameRole).toString(), QStringLiteral("Root"));
    FeatureTreeItem* topItem = f.model.getFeatureTreeItem(top);
    QVERIFY(!topItem->isDebugNode());
    QCOMPARE(f.model.rowCount(top), 4);
    QCOMPARE(f.model.data(f.model.index(0, 0, top), FullNameRole).toString(), QStringLiteral("*ImageFormat"));
    QCOMPARE(f.model.data(f.model.index(1, 0, top), FullNameRole).toString(), QStringLiteral("*Analog"));
    const QModelIndex width = f.model.index(0, 0, f.model.index(0, 0, top));
    QCOMPARE(f.model.data(width, FullNameRole).toString(), QStringLiteral("cam*Width"));
    QCOMPARE(f.model.data(f.model.index(0, 0, top), Qt::DisplayRole).toString(), QStringLiteral("Image Format"));
    checkWatch(f);
}

void TestFeatureTreeModel::indexParentAndRowCountFollowTheTree()
{
    Fixture f;
    f.addCamera();
    const QModelIndex top = f.model.index(0, 0);
    const QModelIndex imageFormat = f.model.index(0, 0, top);
    const QModelIndex width = f.model.index(0, 1, imageFormat);
    QVERIFY(width.isValid());
    QCOMPARE(width.parent(), imageFormat);
    QCOMPARE(imageFormat.parent(), top);
    QVERIFY(!top.parent().isValid());
    QVERIFY(!f.model.index(99, 0, imageFormat).isValid());
    QVERIFY(!f.model.index(0, 2, imageFormat).isValid());
    QCOMPARE(f.model.indexForItem(f.model.getFeatureTreeItem(width), 1), width);
    QVERIFY(!f.model.indexForItem(nullptr, 0).isValid());
    QCOMPARE(f.model.findItem(f.model.getFeatureTreeItem(width), nullptr, 1), width);
    QVERIFY(!f.model.findItem(f.model.getFeatureTreeItem(width), f.model.getFeatureTreeItem(f.model.index(1, 0, top)), 0)
                 .isValid());
    QCOMPARE(f.model.findItemByRole(FullNameRole, QStringLiteral("cam*Width"), nullptr, 0), width.sibling(width.row(), 0));
    QVERIFY(!f.model.hasChildren(width));
    QVERIFY(f.model.hasChildren(imageFormat));
    QCOMPARE(f.model.flags(width), Qt::ItemIsEditable | Qt::ItemIsEnabled);
    checkWatch(f);
}

void TestFeatureTreeModel::dataErrorIsReportedOnceUntilGoodRead()
{
    Fixture f;
    f.addCamera();
    const QModelIndex width = f.byName(QStringLiteral("cam*Width"));
    QVERIFY(width.isValid());
    f.camera.destroy();
    f.recorder.clear();
    // The node's name can't be read from a dead node: the first failure is shown, the next aren't.
    QVERIFY(!f.model.data(width, NodeNameRole).isValid());
    QVERIFY(!f.model.data(width, NodeToolTipRole).isValid());
    QCOMPARE(f.recorder.count(), 1);
    QCOMPARE(f.recorder.last().function, QStringLiteral("data"));
    QCOMPARE(f.recorder.last().message, QStringLiteral("Failed to get a feature value"));
    QVERIFY(f.recorder.last().failure.contains(QStringLiteral("NULL pointer dereferenced")));
    QCOMPARE(f.model.data(width, Qt::DisplayRole).toString(), QStringLiteral("Width"));
    QVERIFY(!f.model.data(width, NodeNameRole).isValid());
    QCOMPARE(f.recorder.count(), 2);
    checkWatch(f);
}

void TestFeatureTreeModel::setDataFailureIsReported()
{
    Fixture f;
    f.addCamera();
    const QModelIndex gain = f.byName(QStringLiteral("cam*Gain"), 1);
    QVERIFY(!f.model.setData(gain, 99.0, Qt::EditRole));
    QCOMPARE(f.recorder.count(), 1);
    QCOMPARE(f.recorder.last().function, QStringLiteral("setData"));
    QCOMPARE(f.recorder.last().message, QStringLiteral("Failed to set a feature value."));
    f.model.SetDeviceAlive(false);
    QVERIFY(!f.model.setData(gain, 99.0, Qt::EditRole));
    QCOMPARE(f.recorder.count(), 1);
    checkWatch(f);
}

void TestFeatureTreeModel::nodeMapDestroyedWhileRowsExist()
{
    Fixture f;
    f.addCamera();
    f.model.CreateFavoritesRoot();
    QVERIFY(f.model.AddFavorite(f.camera.node("Gain"), 0));
    f.model.rebuildFavoriteItems();
    f.model.EnablePolling(true);
    const QModelIndex width = f.byName(QStringLiteral("cam*Width"), 1);
    f.camera.destroy();
    f.recorder.clear();
    QCOMPARE(f.model.GetNodeMapName(nullptr), QString());
    QCOMPARE(f.model.data(width).toString(), QString());
    QCOMPARE(f.model.data(width.sibling(width.row(), 0)).toString(), QStringLiteral("Width"));
    QVERIFY(!f.model.hasChildren(width));
    f.model.refresh();
    f.model.onTimerPoll();
    f.model.rebuildFavoriteItems();
    // Every favorite is a zombie again: its node map is gone.
    const QModelIndex favorites = f.model.GetFavoritesRootIndex();
    QCOMPARE(f.model.rowCount(favorites), 1);
    QVERIFY(!qobject_cast<FeatureTreeINodeItem*>(f.model.getFeatureTreeItem(f.model.index(0, 0, favorites))));
    f.proxy.setFilterFixedString(QStringLiteral("Width"));
    f.proxy.invalidate();
    f.proxy.setFilterFixedString(QString());
    f.model.EnablePolling(false);
    checkWatch(f);
}

void TestFeatureTreeModel::deadDeviceTickLeavesTimerStoppedUntilPollingToggled()
{
    Fixture f;
    f.addCamera();
    QTimer* timer = f.pollTimer();
    f.model.EnablePolling(true);
    f.model.SetDeviceAlive(false);
    QSignalSpy ticks(timer, &QTimer::timeout);
    QTRY_COMPARE(ticks.count(), 1);
    QVERIFY(!timer->isActive());
    f.model.SetDeviceAlive(true);
    f.model.EnablePolling(true);
    QVERIFY(!timer->isActive());
    f.model.EnablePolling(false);
    f.model.EnablePolling(true);
    QVERIFY(timer->isActive());
    QTRY_COMPARE(ticks.count(), 2);
    // A pass with a live device arms the timer again.
    QTRY_VERIFY(timer->isActive());
    f.model.EnablePolling(false);
    checkWatch(f);
}

void TestFeatureTreeModel::monitorModeInvalidatesEveryPass()
{
    Fixture f;
    TestCamera polled(polledDescription());
    f.model.addNodeMap(polled.map(), QStringLiteral("Polled"), QStringLiteral("polled"), false);
    f.watchModels();
    const QModelIndex temperature = f.byName(QStringLiteral("*Temperature"), 1);
    QVERIFY(temperature.isValid());
    auto* row = qobject_cast<FeatureTreeINodeItem*>(f.model.getFeatureTreeItem(temperature));
    QSignalSpy updates(row, &FeatureTreeINodeItem::nodeUpdated);

    // Plain polling: GenApi decides; 300 ms per pass against a polling time of 100 ms.
    f.model.onTimerPoll();
    QCOMPARE(updates.count(), 1);
    // Monitor mode: every node is invalidated on every pass.
    f.model.setMonitorMode(true);
    f.model.onTimerPoll();
    QCOMPARE(updates.count(), 2);
    QCOMPARE(f.model.data(temperature).toString(), QStringLiteral("20"));
    checkWatch(f);
}

void TestFeatureTreeModel::refreshInvalidatesLiveNodeMaps()
{
    Fixture f;
    f.addCamera();
    const QModelIndex width = f.byName(QStringLiteral("cam*Width"), 1);
    QCOMPARE(f.model.data(width).toString(), QStringLiteral("640"));
    const uint32_t changed = 1024;
    f.camera.port.Store(&changed, 0, 4);
    QCOMPARE(f.model.data(width).toString(), QStringLiteral("640"));
    QSignalSpy dataChanged(&f.model, &QAbstractItemModel::dataChanged);
    f.model.refresh();
    QVERIFY(dataChanged.count() > 0);
    QCOMPARE(f.model.data(width).toString(), QStringLiteral("1024"));
    checkWatch(f);
}

void TestFeatureTreeModel::clearEmptiesTheMasterRootWithoutResetSignals()
{
    Fixture f;
    f.addCamera();
    f.model.CreateFavoritesRoot();
    QSignalSpy reset(&f.model, &QAbstractItemModel::modelReset);
    QSignalSpy removed(&f.model, &QAbstractItemModel::rowsRemoved);
    f.model.clear();
    QCOMPARE(reset.count(), 0);
    QCOMPARE(removed.count(), 0);
    QCOMPARE(f.model.rowCount(), 0);
    QCOMPARE(f.model.GetNodeMapName(f.camera.map()), QStringLiteral("cam"));
    checkWatch(f);
}

// Two fixtures alive at once (two models, each with its own watch) must not make the message
// handler call itself: the inner watch takes the complaints while it lives, then the outer again.
void TestFeatureTreeModel::nestedModelWatchesHandOverComplaints()
{
    static const QLoggingCategory modelTest("qt.modeltest");
    ModelWatch outer{QList<Departure>()};
    {
        ModelWatch inner{QList<Departure>()};
        qCWarning(modelTest) << "first made-up complaint";
        QCOMPARE(inner.unexpected().size(), 1);
        QCOMPARE(outer.unexpected().size(), 0);
    }
    qCWarning(modelTest) << "second made-up complaint";
    QCOMPARE(outer.unexpected().size(), 1);
    QVERIFY(outer.unexpected().first().contains(QStringLiteral("second")));
}

QTEST_MAIN(TestFeatureTreeModel)
#include "tst_featuretreemodel.moc"
