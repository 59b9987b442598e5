// The feature tree proxy: user level, search text, match counts and the forwarding of
// the model extension.

#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtWidgets/FeatureTreeProxyModel.h>
#include <VorloQtWidgets/featuretreeinodeitem.h>
#include <VorloQtWidgets/featuretreemodel.h>

#include "featuremodeltestsupport.h"

using namespace FeatureModelTest;
using namespace GenApi;

namespace {

// Features at every level, a category whose features are all at Guru, and a feature whose
// display name differs from its node name.
QByteArray levelsDescription()
{
    return descriptionHead("LevelsCam") +
        "<Category Name=\"Root\">\n"
        "  <pFeature>Basic</pFeature>\n"
        "  <pFeature>GuruOnly</pFeature>\n"
        "</Category>\n"
        "<Category Name=\"Basic\">\n"
        "  <pFeature>Brightness</pFeature>\n"
        "  <pFeature>Contrast</pFeature>\n"
        "  <pFeature>Sharpness</pFeature>\n"
        "</Category>\n"
        "<Category Name=\"GuruOnly\">\n"
        "  <DisplayName>Guru Only</DisplayName>\n"
        "  <pFeature>DeepSetting</pFeature>\n"
        "</Category>\n"
        "<Integer Name=\"Brightness\">\n"
        "  <Value>1</Value>\n"
        "</Integer>\n"
        "<Integer Name=\"Contrast\">\n"
        "  <Visibility>Expert</Visibility>\n"
        "  <Value>2</Value>\n"
        "</Integer>\n"
        "<Integer Name=\"Sharpness\">\n"
        "  <DisplayName>Edge Enhancement</DisplayName>\n"
        "  <Visibility>Beginner</Visibility>\n"
        "  <Value>3</Value>\n"
        "</Integer>\n"
        "<Integer Name=\"DeepSetting\">\n"
        "  <Visibility>Guru</Visibility>\n"
        "  <Value>4</Value>\n"
        "</Integer>\n"
        + descriptionTail();
}

struct Fixture
{
    explicit Fixture(const QByteArray& description = levelsDescription())
        : camera(description)
        , watch(featureModelDepartures())
    {
        proxy.setDynamicSortFilter(false);
        proxy.setFilterCaseSensitivity(Qt::CaseInsensitive);
        proxy.setFilterKeyColumn(1);
        proxy.setSourceModel(&model);
        proxy.addNodeMap(camera.map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);
        proxy.CreateFavoritesRoot();
        proxy.rebuildFavoriteItems();
        watch.watch(&model);
        watch.watch(&proxy);
    }

    // Runs a filter pass as the widget does, and lists the visible rows' full names depth first.
    QStringList filter(const QString& text, EVisibility level)
    {
        proxy.setVisibility(level);
        proxy.setFilterFixedString(text);
        proxy.invalidate();
        return visibleRows();
    }

    QStringList visibleRows(const QModelIndex& parent = QModelIndex())
    {
        QStringList result;
        for (int i = 0; i < proxy.rowCount(parent); ++i)
        {
            const QModelIndex index = proxy.index(i, 0, parent);
            result << proxy.data(index, FullNameRole).toString();
            result << visibleRows(index);
        }
        return result;
    }

    VorloQtBase::ExceptionRecorder recorder;
    TestCamera camera;
    FeatureTreeModel model;
    FeatureTreeProxyModel proxy;
    ModelWatch watch;
};

} // namespace

class TestFeatureTreeProxyModel : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void expertFeatureHiddenAtBeginnerIsCountedAsInvisibleMatch();
    void categoryWithAllFeaturesAboveLevelIsHidden();
    void categoryNameAloneDoesNotShowCategory();
    void searchForTechnicalNameFindsRowWithOtherDisplayName();
    void searchHelpRowShowsOnlyAtOrBelowLevel_data();
    void searchHelpRowShowsOnlyAtOrBelowLevel();
    void rootRowOfNodeMapHiddenWhenNothingBelowPasses();
    void countsStartAfreshOnEachPass();
    void whileAddingNodeMapAllRowsAreAcceptedUnread();
    void placeholderHiddenBySearchTextTakesFavoritesRootAlong();

    void matchesBelowAMatchingFeatureStayVisible();
    void forwardingTranslatesIndexes();
    void setVisibilityStoresOwnCopyAndTellsModel();
    void withoutSourceModelNothingIsAccepted();

private:
    void checkWatch(Fixture& f) { QVERIFY2(f.watch.unexpected().isEmpty(), qPrintable(f.watch.unexpected().join('\n'))); }
};

void TestFeatureTreeProxyModel::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QSettings().clear();
}

void TestFeatureTreeProxyModel::init()
{
    FeatureTreeModel::m_favorites.setDeferDataUpdatedSignals(false);
    while (FeatureTreeModel::m_favorites.countNodes() > 0)
        FeatureTreeModel::m_favorites.removeNode(0, nullptr);
}

void TestFeatureTreeProxyModel::expertFeatureHiddenAtBeginnerIsCountedAsInvisibleMatch()
{
    Fixture f;
    const QStringList rows = f.filter(QString(), Beginner);
    QVERIFY2(rows.contains(QStringLiteral("cam*Brightness")), qPrintable(rows.join(',')));
    QVERIFY(!rows.contains(QStringLiteral("cam*Contrast")));
    QCOMPARE(f.proxy.getInvisibleMatchCount(), 2); // Contrast, DeepSetting
    // Brightness, Sharpness, and the placeholder of the empty favorites list, whose name is "Dummy".
    QCOMPARE(f.proxy.getVisibleMatchCount(), 3);
    const QStringList expert = f.filter(QString(), Expert);
    QVERIFY(expert.contains(QStringLiteral("cam*Contrast")));
    QCOMPARE(f.proxy.getInvisibleMatchCount(), 1);
    checkWatch(f);
}

void TestFeatureTreeProxyModel::categoryWithAllFeaturesAboveLevelIsHidden()
{
    Fixture f;
    QStringList rows = f.filter(QString(), Expert);
    QVERIFY(!rows.contains(QStringLiteral("*GuruOnly")));
    QVERIFY(rows.contains(QStringLiteral("*Basic")));
    rows = f.filter(QString(), Guru);
    QVERIFY(rows.contains(QStringLiteral("*GuruOnly")));
    QVERIFY(rows.contains(QStringLiteral("cam*DeepSetting")));
    checkWatch(f);
}

void TestFeatureTreeProxyModel::categoryNameAloneDoesNotShowCategory()
{
    Fixture f;
    QStringList rows = f.filter(QStringLiteral("Guru Only"), Guru);
    QVERIFY2(!rows.contains(QStringLiteral("*GuruOnly")), qPrintable(rows.join(',')));
    QCOMPARE(f.proxy.getVisibleMatchCount(), 0);
    rows = f.filter(QStringLiteral("DeepSet"), Guru);
    QCOMPARE(rows, QStringList({QStringLiteral("cam*Root"), QStringLiteral("*GuruOnly"), QStringLiteral("cam*DeepSetting")}));
    QCOMPARE(f.proxy.getVisibleMatchCount(), 1);
    checkWatch(f);
}

void TestFeatureTreeProxyModel::searchForTechnicalNameFindsRowWithOtherDisplayName()
{
    Fixture f;
    const QStringList rows = f.filter(QStringLiteral("sharpness"), Beginner);
    QCOMPARE(rows, QStringList({QStringLiteral("cam*Root"), QStringLiteral("*Basic"), QStringLiteral("cam*Sharpness")}));
    const QModelIndex row = f.proxy.index(0, 0, f.proxy.index(0, 0, f.proxy.index(0, 0)));
    QCOMPARE(f.proxy.data(row).toString(), QStringLiteral("Edge Enhancement"));
    QCOMPARE(f.filter(QStringLiteral("edge enh"), Beginner).size(), 3);
    checkWatch(f);
}

void TestFeatureTreeProxyModel::searchHelpRowShowsOnlyAtOrBelowLevel_data()
{
    QTest::addColumn<int>("helpVisibility");
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("shown");
    QTest::newRow("shown by the widget, beginner level") << 0 << int(Beginner) << true;
    QTest::newRow("shown by the widget, guru level") << 0 << int(Guru) << true;
    QTest::newRow("hidden by the widget, guru level") << 3 << int(Guru) << false;
    QTest::newRow("hidden by the widget, debug level") << 3 << int(Invisible) << true;
}

void TestFeatureTreeProxyModel::searchHelpRowShowsOnlyAtOrBelowLevel()
{
    QFETCH(int, helpVisibility);
    QFETCH(int, level);
    QFETCH(bool, shown);
    Fixture f;
    f.proxy.getSearchHelpItem()->setVisibility(EVisibility(helpVisibility));
    const QStringList rows = f.filter(QStringLiteral("Brightness"), EVisibility(level));
    QCOMPARE(rows.contains(QStringLiteral("Search")), shown);
    checkWatch(f);
}

void TestFeatureTreeProxyModel::rootRowOfNodeMapHiddenWhenNothingBelowPasses()
{
    Fixture f;
    QStringList rows = f.filter(QStringLiteral("no such feature"), Guru);
    QVERIFY2(!rows.contains(QStringLiteral("cam*Root")), qPrintable(rows.join(',')));
    QVERIFY(rows.isEmpty());
    rows = f.filter(QStringLiteral("Root"), Guru);
    QVERIFY(!rows.contains(QStringLiteral("cam*Root")));
    checkWatch(f);
}

void TestFeatureTreeProxyModel::countsStartAfreshOnEachPass()
{
    Fixture f;
    f.filter(QStringLiteral("Brightness"), Guru);
    QCOMPARE(f.proxy.getVisibleMatchCount(), 1);
    f.filter(QStringLiteral("Contrast"), Beginner);
    QCOMPARE(f.proxy.getVisibleMatchCount(), 0);
    QCOMPARE(f.proxy.getInvisibleMatchCount(), 1);
    f.filter(QStringLiteral("e"), Guru);
    QCOMPARE(f.proxy.getVisibleMatchCount(), 4);
    QCOMPARE(f.proxy.getInvisibleMatchCount(), 0);
    checkWatch(f);
}

void TestFeatureTreeProxyModel::whileAddingNodeMapAllRowsAreAcceptedUnread()
{
    VorloQtBase::ExceptionRecorder recorder;
    TestCamera camera(levelsDescription());
    FeatureTreeModel model;
    FeatureTreeProxyModel proxy;
    proxy.setDynamicSortFilter(false);
    proxy.setFilterCaseSensitivity(Qt::CaseInsensitive);
    proxy.setFilterKeyColumn(1);
    proxy.setSourceModel(&model);
    ModelWatch watch(featureModelDepartures());
    proxy.setFilterFixedString(QStringLiteral("matches nothing"));
    proxy.setVisibility(Beginner);

    proxy.addNodeMap(camera.map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);
    watch.watch(&model);
    watch.watch(&proxy);
    // Every row that went in during the call stands in the proxy, though none matches.
    QCOMPARE(proxy.rowCount(), 1);
    const QModelIndex top = proxy.index(0, 0);
    QCOMPARE(proxy.rowCount(top), 2);
    QCOMPARE(proxy.rowCount(proxy.index(1, 0, top)), 1);
    QCOMPARE(proxy.getVisibleMatchCount(), 0);
    QCOMPARE(proxy.getInvisibleMatchCount(), 0);
    // The next pass filters again.
    proxy.invalidate();
    QCOMPARE(proxy.rowCount(), 0);
    QVERIFY2(watch.unexpected().isEmpty(), qPrintable(watch.unexpected().join('\n')));
}

void TestFeatureTreeProxyModel::placeholderHiddenBySearchTextTakesFavoritesRootAlong()
{
    Fixture f;
    QStringList rows = f.filter(QString(), Beginner);
    QVERIFY(rows.contains(QStringLiteral("Favorites")));
    QVERIFY(rows.contains(QStringLiteral("Dummy")));
    rows = f.filter(QStringLiteral("Brightness"), Beginner);
    QVERIFY(!rows.contains(QStringLiteral("Dummy")));
    QVERIFY(!rows.contains(QStringLiteral("Favorites")));
    rows = f.filter(QStringLiteral("right-clicking"), Beginner);
    QVERIFY(rows.contains(QStringLiteral("Dummy")));
    QVERIFY(rows.contains(QStringLiteral("Favorites")));
    checkWatch(f);
}

void TestFeatureTreeProxyModel::matchesBelowAMatchingFeatureStayVisible()
{
    Fixture f(cameraDescription());
    // Offset has no rows of its own, so look at a category: a match on a feature keeps its
    // ancestors, and siblings that don't match are hidden.
    const QStringList rows = f.filter(QStringLiteral("Gain Level"), Guru);
    QCOMPARE(rows, QStringList({QStringLiteral("cam*Root"), QStringLiteral("*Analog"), QStringLiteral("cam*Gain")}));
    // The unit is part of the display text and so of the search.
    QCOMPARE(f.filter(QStringLiteral("[dB]"), Guru).size(), 3);
    checkWatch(f);
}

void TestFeatureTreeProxyModel::forwardingTranslatesIndexes()
{
    Fixture f;
    f.filter(QString(), Guru);
    const QModelIndex sourceBrightness = f.model.findItemByFullName(QStringLiteral("cam*Brightness"), nullptr, 1);
    const QModelIndex brightness = f.proxy.findItemByFullName(QStringLiteral("cam*Brightness"), nullptr, 1);
    QCOMPARE(brightness, f.proxy.mapFromSource(sourceBrightness));
    QCOMPARE(f.proxy.getFeatureTreeItem(brightness), f.model.getFeatureTreeItem(sourceBrightness));
    QCOMPARE(f.proxy.indexForItem(f.model.getFeatureTreeItem(sourceBrightness), 1), brightness);
    QCOMPARE(f.proxy.findItem(f.model.getFeatureTreeItem(sourceBrightness), nullptr, 1), brightness);
    QCOMPARE(f.proxy.findItemByRole(FullNameRole, QStringLiteral("cam*Brightness"), nullptr, 1), brightness);
    QCOMPARE(f.proxy.GetFavoritesRootIndex(), f.proxy.mapFromSource(f.model.GetFavoritesRootIndex()));
    QVERIFY(f.proxy.AddFavorite(f.camera.node("Brightness"), 0));
    QCOMPARE(f.proxy.getFavoritesIndexFromModelIndex(brightness), 0);
    QCOMPARE(f.proxy.getFavoritesIndexFromFeatureTreeItem(f.proxy.getFeatureTreeItem(brightness)), 0);
    QVERIFY(f.proxy.RemoveFavorite(brightness));
    QCOMPARE(FeatureTreeModel::m_favorites.countNodes(), 0);
    QCOMPARE(&f.proxy.GetFavorites(), &FeatureTreeModel::m_favorites);
    f.proxy.EnablePolling(true);
    QVERIFY(f.model.GetPolling());
    QVERIFY(f.proxy.GetPolling());
    f.proxy.EnablePolling(false);
    f.proxy.setGenICamCallbacksEnable(false);
    QVERIFY(!f.model.getGenICamCallbackEnable());
    QVERIFY(!f.proxy.getGenICamCallbackEnable());
    f.proxy.setGenICamCallbacksEnable(true);
    f.proxy.EnableViewAllFavorites(false);
    QVERIFY(!f.proxy.GetViewAllFavorites());
    f.proxy.EnableViewAllFavorites(true);
    QCOMPARE(f.proxy.getFeatureTreeModel(), &f.model);
    QCOMPARE(f.proxy.getSearchHelpItem(), f.model.getSearchHelpItem());
    checkWatch(f);
}

void TestFeatureTreeProxyModel::setVisibilityStoresOwnCopyAndTellsModel()
{
    Fixture f;
    QCOMPARE(f.model.getVisibility(), Expert);
    // The proxy's own level starts at Guru: an Expert-only feature passes the first pass.
    f.proxy.setFilterFixedString(QString());
    f.proxy.invalidate();
    QVERIFY(f.visibleRows().contains(QStringLiteral("cam*DeepSetting")));
    f.proxy.setVisibility(Beginner);
    QCOMPARE(f.model.getVisibility(), Beginner);
    QCOMPARE(f.proxy.getVisibility(), Beginner);
    // Not invalidated by itself.
    QVERIFY(f.visibleRows().contains(QStringLiteral("cam*DeepSetting")));
    f.proxy.invalidate();
    QVERIFY(!f.visibleRows().contains(QStringLiteral("cam*DeepSetting")));
    checkWatch(f);
}

void TestFeatureTreeProxyModel::withoutSourceModelNothingIsAccepted()
{
    FeatureTreeProxyModel proxy;
    QVERIFY(!proxy.filterAcceptsRowItself(0, QModelIndex()));
    QVERIFY(!proxy.hasAcceptedChildren(0, QModelIndex(), 0));
    QVERIFY(proxy.getFeatureTreeModel() == nullptr);
    QCOMPARE(proxy.getVisibleMatchCount(), 0);
}

QTEST_MAIN(TestFeatureTreeProxyModel)
#include "tst_featuretreeproxymodel.moc"
