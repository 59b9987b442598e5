// Favorites: the process-wide list, its settings, and the favorites rows of the model.

#include <QMimeData>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtWidgets/FeatureTreeProxyModel.h>
#include <VorloQtWidgets/favoritesdata.h>
#include <VorloQtWidgets/featuretreeinodeitem.h>
#include <VorloQtWidgets/featuretreemodel.h>

#include "featuremodeltestsupport.h"

using namespace FeatureModelTest;
using namespace GenApi;

namespace {

FavoritesData::FavoritesDataItem favorite(const char* node, const QString& display, const QString& map)
{
    FavoritesData::FavoritesDataItem item;
    item.nodeName = node;
    item.displayName = display;
    item.nodeMapName = map;
    return item;
}

// The list as a short string: "Width,Gain,Shared".
QString names(const FavoritesData& data)
{
    QStringList result;
    for (int i = 0; i < data.countNodes(); ++i)
        result << QString::fromLatin1(data.nodeAt(i)->nodeName.c_str());
    return result.join(QLatin1Char(','));
}

// A listener with the two slots that FavoritesData::Register joins by name.
class Listener : public QObject
{
    Q_OBJECT
public:
    int updates = 0;
    QList<bool> expansions;
public slots:
    void onFavoriteDataUpdated() { ++updates; }
    void onFavoriteDataExpanded(bool expanded) { expansions << expanded; }
};

struct Fixture
{
    Fixture()
        : watch(featureModelDepartures())
    {
        proxy.setDynamicSortFilter(false);
        proxy.setFilterCaseSensitivity(Qt::CaseInsensitive);
        proxy.setFilterKeyColumn(1);
        proxy.setSourceModel(&model);
        // The views rebuild the rows on every change of the list.
        QObject::connect(&FeatureTreeModel::m_favorites, &FavoritesData::dataUpdated, &model,
                         [this] { model.rebuildFavoriteItems(); });
        // The node map goes in first, so that the rows below its categories get full names
        // with the map's name (with a favorites root present, addNodeMap builds three levels
        // before the map's entry exists).
        model.addNodeMap(camera.map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);
        model.CreateFavoritesRoot();
        model.rebuildFavoriteItems();
        watch.watch(&model);
        watch.watch(&proxy);
    }

    ~Fixture() { QObject::disconnect(&FeatureTreeModel::m_favorites, nullptr, &model, nullptr); }

    QModelIndex favorites() { return model.GetFavoritesRootIndex(); }
    QModelIndex favoriteRow(int row, int column = 0) { return model.index(row, column, favorites()); }
    QString rowNames()
    {
        QStringList result;
        for (int i = 0; i < model.rowCount(favorites()); ++i)
            result << model.data(favoriteRow(i), FullNameRole).toString();
        return result.join(QLatin1Char(','));
    }

    VorloQtBase::ExceptionRecorder recorder;
    TestCamera camera;
    FeatureTreeModel model;
    FeatureTreeProxyModel proxy;
    ModelWatch watch;
};

} // namespace

class TestFavoritesData : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void loadWithoutStoredSettingsGivesEmptyListHiddenZombiesAndExpanded();
    void initOnceSecondTimeChangesNothing();
    void favoriteOfAbsentCameraIsHiddenWhileViewAllIsOff();
    void addingSameFeatureTwiceLeavesOneEntry();
    void addFavoriteAtRowPastTheEndAppends();
    void moveDownOnLastItemIsNotPossible();
    void removingLastFavoriteBringsBackPlaceholder();
    void shrinkingListRemovesStaleKeysOnSave();
    void tooltipUsesPluralForFavoritesAndSingularVerbForOneMissing();
    void storedEntryWithTwoPartsIsIgnoredAndLaterEntriesLoad();
    void deferredListEmitsOneUpdateForThreeChanges();
    void droppingTwoRowsAtRowThreeKeepsDraggedOrder();

    void favoritesPersistAcrossSimulatedRestart();
    void freshObjectDefaultsDifferFromLoadDefaults();
    void insertNodeRules_data();
    void insertNodeRules();
    void moveNodeCountsTargetBeforeTheMove_data();
    void moveNodeCountsTargetBeforeTheMove();
    void registerJoinsListenerSlotsAndDeregisterSaves();
    void zombieTurnsIntoRealRowWhenItsNodeMapArrives();
    void favoritesRootTooltipTexts_data();
    void favoritesRootTooltipTexts();
    void canAddAsFavoriteRefusesCategoriesDebugRowsAndFavorites();
    void favoritesRootAndSearchRowAreMadeOnce();
    void mimeDataCarriesRowPointers();
};

void TestFavoritesData::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void TestFavoritesData::init()
{
    QSettings().clear();
    FavoritesData& data = FeatureTreeModel::m_favorites;
    data.setDeferDataUpdatedSignals(false);
    while (data.countNodes() > 0)
        data.removeNode(0, nullptr);
    data.setViewAllFavorites(true);
    data.setSettingsPath(QString());
}

void TestFavoritesData::loadWithoutStoredSettingsGivesEmptyListHiddenZombiesAndExpanded()
{
    FavoritesData data;
    QVERIFY(data.getViewAllFavorites());
    QVERIFY(!data.getExpanded());
    QSignalSpy updated(&data, &FavoritesData::dataUpdated);
    QVERIFY(data.LoadFavorites(QStringLiteral("Favorites")));
    QCOMPARE(data.countNodes(), 0);
    QVERIFY(!data.getViewAllFavorites());
    QVERIFY(data.getExpanded());
    QCOMPARE(updated.count(), 1);
    QVERIFY(!data.LoadFavorites(QString()));
    QVERIFY(!data.SaveFavorites(QString()));
}

void TestFavoritesData::initOnceSecondTimeChangesNothing()
{
    {
        QSettings settings;
        settings.setValue(QStringLiteral("First/NumberOfEntries"), 1);
        settings.setValue(QStringLiteral("First/0"), QStringLiteral("Width*Width*cam"));
        settings.setValue(QStringLiteral("Second/NumberOfEntries"), 1);
        settings.setValue(QStringLiteral("Second/0"), QStringLiteral("Gain*Gain Level*cam"));
    }
    FavoritesData data;
    data.InitOnce(QStringLiteral("First"));
    QCOMPARE(data.getSettingsPath(), QStringLiteral("First"));
    QCOMPARE(names(data), QStringLiteral("Width"));
    data.InitOnce(QStringLiteral("Second"));
    QCOMPARE(data.getSettingsPath(), QStringLiteral("First"));
    QCOMPARE(names(data), QStringLiteral("Width"));
}

void TestFavoritesData::favoriteOfAbsentCameraIsHiddenWhileViewAllIsOff()
{
    FeatureTreeModel::m_favorites.appendNode(favorite("Gain", QStringLiteral("Gain Level"), QStringLiteral("absent")));
    Fixture f;
    FeatureTreeModel::m_favorites.setViewAllFavorites(false);
    const QModelIndex zombie = f.favoriteRow(0);
    FeatureTreeItem* item = f.model.getFeatureTreeItem(zombie);
    QVERIFY(!qobject_cast<FeatureTreeINodeItem*>(item));
    QCOMPARE(f.model.data(zombie).toString(), QStringLiteral("Gain Level"));
    QCOMPARE(f.model.data(zombie, FullNameRole).toString(), QStringLiteral("Fav*absent*Gain"));
    QCOMPARE(f.model.data(zombie, VisibilityRole).toInt(), int(Invisible));
    QVERIFY(!item->ShowMe(Guru));
    // Through the proxy at the highest normal level the zombie is filtered out.
    f.proxy.setVisibility(Guru);
    f.proxy.invalidate();
    const QModelIndex proxyFavorites = f.proxy.mapFromSource(f.favorites());
    QVERIFY(!proxyFavorites.isValid() || f.proxy.rowCount(proxyFavorites) == 0);

    FeatureTreeModel::m_favorites.setViewAllFavorites(true);
    QCOMPARE(f.model.data(f.favoriteRow(0), VisibilityRole).toInt(), int(Beginner));
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFavoritesData::addingSameFeatureTwiceLeavesOneEntry()
{
    Fixture f;
    QVERIFY(f.model.AddFavorite(f.camera.node("Width"), 0));
    QVERIFY(!f.model.AddFavorite(f.camera.node("Width"), 0));
    QVERIFY(!f.model.AddFavorite(f.camera.node("Width"), 5));
    QCOMPARE(FeatureTreeModel::m_favorites.countNodes(), 1);
    QCOMPARE(f.rowNames(), QStringLiteral("Fav*cam*Width"));
    QVERIFY(!f.model.AddFavorite(nullptr, 0));
    QVERIFY(!f.model.AddFavorite(f.camera.node("Gain"), -1));
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFavoritesData::addFavoriteAtRowPastTheEndAppends()
{
    Fixture f;
    QVERIFY(f.model.AddFavorite(f.camera.node("Width"), 0));
    QVERIFY(f.model.AddFavorite(f.camera.node("Gain"), 1));
    QVERIFY(f.model.AddFavorite(f.camera.node("Shared"), 99));
    QCOMPARE(names(FeatureTreeModel::m_favorites), QStringLiteral("Width,Gain,Shared"));
    QVERIFY(f.model.AddFavorite(f.camera.node("Name"), 1));
    QCOMPARE(names(FeatureTreeModel::m_favorites), QStringLiteral("Width,Name,Gain,Shared"));
    const FavoritesData::FavoritesDataItem* gain = FeatureTreeModel::m_favorites.nodeAt(2);
    QCOMPARE(gain->displayName, QStringLiteral("Gain Level"));
    QCOMPARE(gain->nodeMapName, QStringLiteral("cam"));
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFavoritesData::moveDownOnLastItemIsNotPossible()
{
    Fixture f;
    f.model.AddFavorite(f.camera.node("Width"), 0);
    f.model.AddFavorite(f.camera.node("Gain"), 99);
    f.model.AddFavorite(f.camera.node("Shared"), 99);
    QVERIFY(!f.model.CanMoveFavorite(f.favoriteRow(2), false));
    QVERIFY(f.model.CanMoveFavorite(f.favoriteRow(2), true));
    QVERIFY(!f.model.CanMoveFavorite(f.favoriteRow(0), true));
    QVERIFY(f.model.CanMoveFavorite(f.favoriteRow(0), false));
    QVERIFY(f.model.CanMoveFavorite(f.favoriteRow(1), true));
    QVERIFY(f.model.CanMoveFavorite(f.favoriteRow(1), false));
    QVERIFY(!f.model.CanMoveFavorite(QModelIndex(), true));

    QVERIFY(f.model.MoveFavorite(f.favoriteRow(0), false));
    QCOMPARE(names(FeatureTreeModel::m_favorites), QStringLiteral("Gain,Width,Shared"));
    QVERIFY(f.model.MoveFavorite(f.favoriteRow(2), true));
    QCOMPARE(names(FeatureTreeModel::m_favorites), QStringLiteral("Gain,Shared,Width"));
    QCOMPARE(f.rowNames(), QStringLiteral("Fav*cam*Gain,Fav*cam*Shared,Fav*cam*Width"));
    // Moving the last one down loses it, as the target lies past the end.
    QVERIFY(!f.model.MoveFavorite(f.favoriteRow(2), false));
    QCOMPARE(names(FeatureTreeModel::m_favorites), QStringLiteral("Gain,Shared"));
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFavoritesData::removingLastFavoriteBringsBackPlaceholder()
{
    Fixture f;
    QCOMPARE(f.rowNames(), QStringLiteral("Dummy"));
    f.model.AddFavorite(f.camera.node("Width"), 0);
    QCOMPARE(f.rowNames(), QStringLiteral("Fav*cam*Width"));
    QVERIFY(f.model.RemoveFavorite(f.favoriteRow(0)));
    QCOMPARE(FeatureTreeModel::m_favorites.countNodes(), 0);
    QCOMPARE(f.rowNames(), QStringLiteral("Dummy"));
    const QModelIndex placeholder = f.favoriteRow(0);
    QCOMPARE(f.model.data(placeholder).toString(), QStringLiteral("Add favorites by right-clicking a feature below."));
    QCOMPARE(f.model.data(placeholder, IsFullRowRole).toBool(), true);
    QCOMPARE(f.model.data(placeholder, IsSpecialNodeRole).toBool(), true);
    QVERIFY(f.model.getFeatureTreeItem(placeholder)->GetDescription().startsWith(QStringLiteral("To add a feature")));
    QVERIFY(!f.model.RemoveFavorite(f.favoriteRow(0)));
    QVERIFY(!f.model.RemoveFavorite(QModelIndex()));
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFavoritesData::shrinkingListRemovesStaleKeysOnSave()
{
    FavoritesData data;
    for (const char* node : {"A", "B", "C", "D", "E"})
        data.appendNode(favorite(node, QString::fromLatin1(node), QStringLiteral("cam")));
    QVERIFY(data.SaveFavorites(QStringLiteral("Favorites")));
    QSettings settings;
    QCOMPARE(settings.value(QStringLiteral("Favorites/NumberOfEntries")).toInt(), 5);
    QVERIFY(settings.contains(QStringLiteral("Favorites/4")));
    data.removeNode(4, nullptr);
    data.removeNode(0, nullptr);
    QVERIFY(data.SaveFavorites(QStringLiteral("Favorites")));
    settings.sync();
    QCOMPARE(settings.value(QStringLiteral("Favorites/NumberOfEntries")).toInt(), 3);
    QVERIFY(!settings.contains(QStringLiteral("Favorites/3")));
    QVERIFY(!settings.contains(QStringLiteral("Favorites/4")));
    QCOMPARE(settings.value(QStringLiteral("Favorites/0")).toString(), QStringLiteral("B*B*cam"));
    QCOMPARE(settings.value(QStringLiteral("Favorites/2")).toString(), QStringLiteral("D*D*cam"));
    QCOMPARE(settings.value(QStringLiteral("Favorites/Version")).toInt(), 3);
}

void TestFavoritesData::tooltipUsesPluralForFavoritesAndSingularVerbForOneMissing()
{
    FavoritesData& data = FeatureTreeModel::m_favorites;
    data.appendNode(favorite("Width", QStringLiteral("Width"), QStringLiteral("cam")));
    data.appendNode(favorite("Gone", QStringLiteral("Gone"), QStringLiteral("cam")));
    data.appendNode(favorite("Gain", QStringLiteral("Gain Level"), QStringLiteral("cam")));
    Fixture f;
    QCOMPARE(f.model.getFeatureTreeItem(f.favorites())->GetToolTip(),
             QStringLiteral("3 Favorites (1 is unavailable for the current camera)"));
    QCOMPARE(f.model.data(f.favorites(), Qt::ToolTipRole).toString(),
             QStringLiteral("3 Favorites (1 is unavailable for the current camera)"));
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFavoritesData::storedEntryWithTwoPartsIsIgnoredAndLaterEntriesLoad()
{
    {
        QSettings settings;
        settings.beginGroup(QStringLiteral("Favorites"));
        settings.setValue(QStringLiteral("NumberOfEntries"), 5);
        settings.setValue(QStringLiteral("0"), QStringLiteral("Width*Width*cam"));
        settings.setValue(QStringLiteral("1"), QStringLiteral("Gain*cam"));
        settings.setValue(QStringLiteral("2"), QString());
        settings.setValue(QStringLiteral("3"), QStringLiteral("Offset*A*B*cam"));
        settings.setValue(QStringLiteral("4"), QStringLiteral("Shared**Shared Value*cam*"));
        settings.setValue(QStringLiteral("ViewAll"), 1);
        settings.setValue(QStringLiteral("Expanded"), 0);
    }
    FavoritesData data;
    QVERIFY(data.LoadFavorites(QStringLiteral("Favorites")));
    QCOMPARE(names(data), QStringLiteral("Width,Shared"));
    QCOMPARE(data.nodeAt(1)->displayName, QStringLiteral("Shared Value"));
    QVERIFY(data.getViewAllFavorites());
    QVERIFY(!data.getExpanded());
}

void TestFavoritesData::deferredListEmitsOneUpdateForThreeChanges()
{
    FavoritesData data;
    QSignalSpy updated(&data, &FavoritesData::dataUpdated);
    data.setDeferDataUpdatedSignals(true);
    QVERIFY(data.getDeferDataUpdatedSignals());
    data.appendNode(favorite("A", QStringLiteral("A"), QStringLiteral("cam")));
    data.appendNode(favorite("B", QStringLiteral("B"), QStringLiteral("cam")));
    data.removeNode(0, nullptr);
    QCOMPARE(updated.count(), 0);
    // Switching deferral on again keeps the pending mark.
    data.setDeferDataUpdatedSignals(true);
    QCOMPARE(updated.count(), 0);
    data.setDeferDataUpdatedSignals(false);
    QCOMPARE(updated.count(), 1);
    QVERIFY(!data.getDeferDataUpdatedSignals());
    // Nothing pending: ending a deferral emits nothing.
    data.setDeferDataUpdatedSignals(true);
    data.setDeferDataUpdatedSignals(false);
    QCOMPARE(updated.count(), 1);
    // expanded() is never deferred.
    QSignalSpy expanded(&data, &FavoritesData::expanded);
    data.setDeferDataUpdatedSignals(true);
    data.setExpanded(true);
    QCOMPARE(expanded.count(), 1);
    data.setExpanded(true);
    QCOMPARE(expanded.count(), 1);
}

void TestFavoritesData::droppingTwoRowsAtRowThreeKeepsDraggedOrder()
{
    Fixture f;
    for (const char* node : {"Width", "Offset", "Shared", "PixelFormat", "Name"})
        QVERIFY(f.model.AddFavorite(f.camera.node(node), 99));
    QCOMPARE(names(FeatureTreeModel::m_favorites), QStringLiteral("Width,Offset,Shared,PixelFormat,Name"));

    // Two features from the tree, dragged in the order Gain, Flag.
    const QModelIndex gain = f.model.findItemByFullName(QStringLiteral("cam*Gain"), nullptr, 0);
    const QModelIndex flag = f.model.findItemByFullName(QStringLiteral("cam*Flag"), nullptr, 0);
    QVERIFY(gain.isValid() && flag.isValid());
    std::unique_ptr<QMimeData> mime(f.model.mimeData({gain, flag}));
    QVERIFY(mime->hasFormat(QStringLiteral("application/x-fti")));
    QSignalSpy updated(&FeatureTreeModel::m_favorites, &FavoritesData::dataUpdated);
    QVERIFY(f.model.dropMimeData(mime.get(), Qt::MoveAction, 3, 0, f.favorites()));
    QCOMPARE(updated.count(), 1);
    QCOMPARE(names(FeatureTreeModel::m_favorites), QStringLiteral("Width,Offset,Shared,Gain,Flag,PixelFormat,Name"));

    // Two favorites dragged within the list, to row 1.
    std::unique_ptr<QMimeData> moving(f.model.mimeData({f.favoriteRow(5), f.favoriteRow(6)}));
    QVERIFY(f.model.dropMimeData(moving.get(), Qt::MoveAction, 1, 0, f.favorites()));
    QCOMPARE(names(FeatureTreeModel::m_favorites), QStringLiteral("Width,PixelFormat,Name,Offset,Shared,Gain,Flag"));

    QVERIFY(f.model.dropMimeData(mime.get(), Qt::IgnoreAction, 0, 0, QModelIndex()));
    QMimeData other;
    other.setText(QStringLiteral("text"));
    QVERIFY(!f.model.dropMimeData(&other, Qt::MoveAction, 0, 0, QModelIndex()));
    QCOMPARE(f.model.supportedDropActions(), Qt::DropActions(Qt::MoveAction));
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFavoritesData::favoritesPersistAcrossSimulatedRestart()
{
    {
        FavoritesData before;
        before.InitOnce(QStringLiteral("Favorites"));
        before.appendNode(favorite("Width", QStringLiteral("Width"), QStringLiteral("cam")));
        before.appendNode(favorite("Gain", QStringLiteral("Gain Level"), QStringLiteral("cam")));
        before.appendNode(favorite("Unstored", QStringLiteral("x"), QString()));
        before.setViewAllFavorites(true);
        before.setExpanded(false);
        Listener listener;
        QVERIFY(before.Register(&listener));
        QVERIFY(before.Deregister(&listener)); // saves
    }
    FavoritesData after;
    after.InitOnce(QStringLiteral("Favorites"));
    QCOMPARE(names(after), QStringLiteral("Width,Gain"));
    QCOMPARE(after.nodeAt(1)->displayName, QStringLiteral("Gain Level"));
    QCOMPARE(after.nodeAt(1)->nodeMapName, QStringLiteral("cam"));
    QVERIFY(after.getViewAllFavorites());
    QVERIFY(!after.getExpanded());
    QSettings settings;
    QCOMPARE(settings.value(QStringLiteral("Favorites/NumberOfEntries")).toInt(), 3);
    QCOMPARE(settings.value(QStringLiteral("Favorites/ViewAll")).toInt(), 1);
    QCOMPARE(settings.value(QStringLiteral("Favorites/Expanded")).toInt(), 0);
}

void TestFavoritesData::freshObjectDefaultsDifferFromLoadDefaults()
{
    FavoritesData fresh;
    QVERIFY(fresh.getViewAllFavorites());
    QVERIFY(!fresh.getExpanded());
    QVERIFY(!fresh.getDeferDataUpdatedSignals());
    QCOMPARE(fresh.getSettingsPath(), QString());
    QCOMPARE(fresh.countNodes(), 0);
    QVERIFY(!fresh.isValidIndex(0));
    QVERIFY(fresh.nodeAt(0) == nullptr);
    QVERIFY(fresh.LoadFavorites(QStringLiteral("Nothing")));
    QVERIFY(!fresh.getViewAllFavorites());
    QVERIFY(fresh.getExpanded());
}

void TestFavoritesData::insertNodeRules_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("node");
    QTest::addColumn<QString>("map");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QString>("result");
    QTest::newRow("at the front") << 0 << QStringLiteral("X") << QStringLiteral("cam") << true << QStringLiteral("X,A,B");
    QTest::newRow("at the end") << 2 << QStringLiteral("X") << QStringLiteral("cam") << true << QStringLiteral("A,B,X");
    QTest::newRow("negative counts from the end") << -1 << QStringLiteral("X") << QStringLiteral("cam") << true << QStringLiteral("A,X,B");
    QTest::newRow("negative, once only") << -3 << QStringLiteral("X") << QStringLiteral("cam") << false << QStringLiteral("A,B");
    QTest::newRow("past the end") << 3 << QStringLiteral("X") << QStringLiteral("cam") << false << QStringLiteral("A,B");
    QTest::newRow("empty node name") << 0 << QStringLiteral("") << QStringLiteral("cam") << false << QStringLiteral("A,B");
    QTest::newRow("same favorite") << 0 << QStringLiteral("A") << QStringLiteral("cam") << false << QStringLiteral("A,B");
    QTest::newRow("same node of another map") << 0 << QStringLiteral("A") << QStringLiteral("other") << true << QStringLiteral("A,A,B");
}

void TestFavoritesData::insertNodeRules()
{
    QFETCH(int, index);
    QFETCH(QString, node);
    QFETCH(QString, map);
    QFETCH(bool, accepted);
    QFETCH(QString, result);
    FavoritesData data;
    data.appendNode(favorite("A", QStringLiteral("A"), QStringLiteral("cam")));
    data.appendNode(favorite("B", QStringLiteral("B"), QStringLiteral("cam")));
    QSignalSpy updated(&data, &FavoritesData::dataUpdated);
    const QByteArray nodeName = node.toLatin1();
    QCOMPARE(data.insertNode(index, favorite(nodeName.constData(), QStringLiteral("display"), map)), accepted);
    QCOMPARE(names(data), result);
    QCOMPARE(updated.count(), accepted ? 1 : 0);
    // The display name doesn't count for sameness.
    QCOMPARE(data.indexOfNode(favorite("B", QStringLiteral("other"), QStringLiteral("cam"))), result.split(',').indexOf("B"));
}

void TestFavoritesData::moveNodeCountsTargetBeforeTheMove_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QString>("result");
    QTest::newRow("first down by one") << 0 << 2 << true << QStringLiteral("B,A,C,D");
    QTest::newRow("last up by one") << 3 << 2 << true << QStringLiteral("A,B,D,C");
    QTest::newRow("to the end") << 1 << 4 << true << QStringLiteral("A,C,D,B");
    QTest::newRow("to the front") << 2 << 0 << true << QStringLiteral("C,A,B,D");
    QTest::newRow("bad source") << 7 << 0 << false << QStringLiteral("A,B,C,D");
    QTest::newRow("target past the end loses the item") << 3 << 5 << false << QStringLiteral("A,B,C");
}

void TestFavoritesData::moveNodeCountsTargetBeforeTheMove()
{
    QFETCH(int, from);
    QFETCH(int, to);
    QFETCH(bool, accepted);
    QFETCH(QString, result);
    FavoritesData data;
    for (const char* node : {"A", "B", "C", "D"})
        data.appendNode(favorite(node, QString::fromLatin1(node), QStringLiteral("cam")));
    QCOMPARE(data.moveNode(from, to), accepted);
    QCOMPARE(names(data), result);
}

void TestFavoritesData::registerJoinsListenerSlotsAndDeregisterSaves()
{
    FavoritesData data;
    data.setSettingsPath(QStringLiteral("Registered"));
    Listener listener;
    QVERIFY(data.Register(&listener));
    data.appendNode(favorite("A", QStringLiteral("A"), QStringLiteral("cam")));
    data.setExpanded(true);
    QCOMPARE(listener.updates, 1);
    QCOMPARE(listener.expansions, QList<bool>({true}));
    QVERIFY(data.Deregister(&listener));
    QCOMPARE(QSettings().value(QStringLiteral("Registered/0")).toString(), QStringLiteral("A*A*cam"));
    data.appendNode(favorite("B", QStringLiteral("B"), QStringLiteral("cam")));
    QCOMPARE(listener.updates, 1);
    QVERIFY(!data.Deregister(&listener));
    QObject noSlots;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("QObject::connect: No such slot"));
    QVERIFY(!data.Register(&noSlots));
}

void TestFavoritesData::zombieTurnsIntoRealRowWhenItsNodeMapArrives()
{
    FeatureTreeModel::m_favorites.appendNode(favorite("Gain", QStringLiteral("Gain Level"), QStringLiteral("second")));
    Fixture f;
    const QModelIndex zombie = f.favoriteRow(0);
    QVERIFY(!qobject_cast<FeatureTreeINodeItem*>(f.model.getFeatureTreeItem(zombie)));
    QCOMPARE(f.model.getFeatureTreeItem(f.favorites())->GetToolTip(),
             QStringLiteral("1 Favorite (1 is unavailable for the current camera)"));

    TestCamera second;
    QSignalSpy removed(&f.model, &QAbstractItemModel::rowsRemoved);
    QSignalSpy inserted(&f.model, &QAbstractItemModel::rowsInserted);
    f.model.addNodeMap(second.map(), QStringLiteral("Second"), QStringLiteral("second"), false);
    auto* real = qobject_cast<FeatureTreeINodeItem*>(f.model.getFeatureTreeItem(f.favoriteRow(0)));
    QVERIFY(real);
    QCOMPARE(real->node(), second.node("Gain"));
    QCOMPARE(real->getFullName(), QStringLiteral("Fav*second*Gain"));
    QCOMPARE(f.model.data(f.favoriteRow(0)).toString(), QStringLiteral("Gain Level [dB]"));
    QCOMPARE(removed.count(), 1);
    QCOMPARE(removed.at(0).at(0).toModelIndex(), f.favorites());
    bool insertedUnderFavorites = false;
    for (const QList<QVariant>& arguments : qAsConst(inserted))
        insertedUnderFavorites = insertedUnderFavorites || arguments.at(0).toModelIndex() == f.favorites();
    QVERIFY(insertedUnderFavorites);
    QCOMPARE(f.model.getFeatureTreeItem(f.favorites())->GetToolTip(), QStringLiteral("1 Favorite"));

    // The real row follows its node.
    QSignalSpy changed(&f.model, &QAbstractItemModel::dataChanged);
    dynamic_cast<IFloat*>(second.node("Gain"))->SetValue(4.0);
    QVERIFY(changed.count() >= 2);
    QCOMPARE(f.model.data(f.favoriteRow(0, 1)).toString().toDouble(), 4.0);
    // A rebuild starts from zombies and makes the real row again.
    f.model.rebuildFavoriteItems();
    QVERIFY(qobject_cast<FeatureTreeINodeItem*>(f.model.getFeatureTreeItem(f.favoriteRow(0))));
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFavoritesData::favoritesRootTooltipTexts_data()
{
    QTest::addColumn<QStringList>("nodes");
    QTest::addColumn<QString>("tooltip");
    QTest::newRow("one present") << QStringList({"Width"}) << QStringLiteral("1 Favorite");
    QTest::newRow("two present") << QStringList({"Width", "Gain"}) << QStringLiteral("2 Favorites");
    QTest::newRow("one, missing") << QStringList({"Gone"}) << QStringLiteral("1 Favorite (1 is unavailable for the current camera)");
    QTest::newRow("two, both missing") << QStringList({"Gone", "Lost"}) << QStringLiteral("2 Favorites (2 are unavailable for the current camera)");
    QTest::newRow("none") << QStringList() << QStringLiteral("");
}

void TestFavoritesData::favoritesRootTooltipTexts()
{
    QFETCH(QStringList, nodes);
    QFETCH(QString, tooltip);
    for (const QString& node : nodes)
    {
        const QByteArray name = node.toLatin1();
        FeatureTreeModel::m_favorites.appendNode(favorite(name.constData(), node, QStringLiteral("cam")));
    }
    Fixture f;
    QCOMPARE(f.model.getFeatureTreeItem(f.favorites())->GetToolTip(), tooltip);
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFavoritesData::canAddAsFavoriteRefusesCategoriesDebugRowsAndFavorites()
{
    Fixture f;
    auto index = [&f](const char* fullName) {
        return f.model.findItemByFullName(QString::fromLatin1(fullName), nullptr, 0);
    };
    QVERIFY(f.model.CanAddAsFavorite(index("cam*Width")));
    QVERIFY(f.model.CanAddAsFavorite(index("cam*Gain")));
    QVERIFY(!f.model.CanAddAsFavorite(index("*ImageFormat")));
    QVERIFY(!f.model.CanAddAsFavorite(index("cam*Root")));
    QVERIFY(!f.model.CanAddAsFavorite(f.favorites()));
    QVERIFY(!f.model.CanAddAsFavorite(QModelIndex()));
    QVERIFY(f.model.AddFavorite(f.camera.node("Width"), 0));
    QVERIFY(!f.model.CanAddAsFavorite(index("cam*Width")));
    QCOMPARE(f.model.getFavoritesIndexFromModelIndex(index("cam*Width")), 0);
    QCOMPARE(f.model.getFavoritesIndexFromModelIndex(f.favoriteRow(0)), 0);
    QCOMPARE(f.model.getFavoritesIndexFromModelIndex(QModelIndex()), -1);
    QVERIFY(!f.model.CanAddAsFavorite(f.favoriteRow(0)));
    QVERIFY(f.model.IsFavoriteTreeItem(f.model.getFeatureTreeItem(f.favoriteRow(0))));
    QVERIFY(!f.model.IsFavoriteTreeItem(f.model.getFeatureTreeItem(index("cam*Width"))));
    QVERIFY(f.model.IsFavoriteTreeRoot(f.model.getFeatureTreeItem(f.favorites())));
    QVERIFY(!f.model.IsFavoriteTreeRoot(nullptr));
    QVERIFY(!f.model.IsFavoriteTreeItem(nullptr));
    // Through the proxy, with the index translated on the way.
    QVERIFY(!f.proxy.CanAddAsFavorite(f.proxy.mapFromSource(index("cam*Width"))));
    QVERIFY(f.proxy.CanAddAsFavorite(f.proxy.mapFromSource(index("cam*Gain"))));
    QCOMPARE(f.proxy.getFavoritesIndexFromModelIndex(f.proxy.mapFromSource(f.favoriteRow(0))), 0);
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFavoritesData::favoritesRootAndSearchRowAreMadeOnce()
{
    Fixture f;
    QCOMPARE(f.model.rowCount(), 3);
    QCOMPARE(f.model.data(f.model.index(0, 0), FullNameRole).toString(), QStringLiteral("Search"));
    QCOMPARE(f.model.data(f.model.index(1, 0), FullNameRole).toString(), QStringLiteral("Favorites"));
    QCOMPARE(f.model.data(f.model.index(2, 0), FullNameRole).toString(), QStringLiteral("cam*Root"));
    QCOMPARE(f.favorites(), f.model.index(1, 0));
    f.model.CreateFavoritesRoot();
    QCOMPARE(f.model.rowCount(), 3);
    FeatureTreeItem* search = f.model.getSearchHelpItem();
    QCOMPARE(search->getVisibility(), Invisible);
    QCOMPARE(search->getName(),
             QStringLiteral("<HTML><B>X search results found (Y of them visible at higher user level)</B>"));
    FeatureTreeItem* root = f.model.getFeatureTreeItem(f.favorites());
    QCOMPARE(root->getName(), QStringLiteral("Favorites"));
    QVERIFY(root->GetDescription().startsWith(QStringLiteral("<h1>Favorites</h1>")));
    QCOMPARE(f.model.data(f.favorites(), IsCategoryRole).toBool(), true);
    QCOMPARE(f.model.data(f.favorites(), IsSpecialNodeRole).toBool(), true);
    QVERIFY(f.model.flags(f.favorites()).testFlag(Qt::ItemIsDropEnabled));
    QCOMPARE(f.proxy.GetFavoritesRootIndex(), f.proxy.mapFromSource(f.favorites()));
    QVERIFY(f.watch.seenDepartures().contains(QStringLiteral("flags of the invalid index")));
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

void TestFavoritesData::mimeDataCarriesRowPointers()
{
    Fixture f;
    const QModelIndex width = f.model.findItemByFullName(QStringLiteral("cam*Width"), nullptr, 0);
    std::unique_ptr<QMimeData> mime(f.model.mimeData({width, QModelIndex()}));
    QByteArray encoded = mime->data(QStringLiteral("application/x-fti"));
    QDataStream stream(&encoded, QIODevice::ReadOnly);
    qint64 pointer = 0;
    stream >> pointer;
    QCOMPARE(reinterpret_cast<FeatureTreeItem*>(static_cast<quintptr>(pointer)), f.model.getFeatureTreeItem(width));
    QVERIFY(stream.atEnd());
    QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n')));
}

QTEST_MAIN(TestFavoritesData)
#include "tst_favoritesdata.moc"
