// The feature tree view: hidden rows and persistent editors in step with the user level
// and the nodes, the empty-tree message, favorites expansion shared between views, the
// selection palette and the selection carried across favorites rebuilds.

#include <QAbstractProxyModel>
#include <QImage>
#include <QSignalSpy>
#include <QtTest>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtWidgets/FeatureTreeProxyModel.h>
#include <VorloQtWidgets/favoritesdata.h>
#include <VorloQtWidgets/featuretreedelegate.h>
#include <VorloQtWidgets/featuretreeinodeitem.h>
#include <VorloQtWidgets/featuretreemodel.h>
#include <VorloQtWidgets/featuretreeview.h>

#include "featuretreetestsupport.h"

using namespace FeatureModelTest;
using namespace FeatureTreeTest;

namespace {

// Reaches the protected parts of the view that a test looks at.
class ProbedView : public FeatureTreeView
{
public:
    using FeatureTreeView::FeatureTreeView;
    using FeatureTreeView::viewOptions;
};

QList<Departure> modelDepartures()
{
    return {flagsOfTheInvalidIndex(), rowsUnderColumnOneIndexes(), rowAnnouncedAtOneInsertedAtZero()};
}

// A shown view on a camera with every editor kind. The proxy admits every level, so that
// the hiding seen here is the view's own.
struct ViewFixture
{
    // A second fixture may share the first one's watch, so that one list holds every complaint.
    explicit ViewFixture(bool addCamera = true, ModelWatch* sharedWatch = nullptr)
        : camera(editorsDescription())
        , view(new ProbedView)
        , watch(sharedWatch ? nullptr : new ModelWatch(modelDepartures()))
    {
        proxy = qobject_cast<FeatureTreeProxyModel*>(view->model());
        source = proxy ? proxy->getFeatureTreeModel() : nullptr;
        ModelWatch* w = sharedWatch ? sharedWatch : watch.get();
        w->watch(source);
        w->watch(proxy);
        view->resize(500, 700);
        view->show();
        if (!QTest::qWaitForWindowExposed(view))
            qWarning("view not exposed");
        proxy->setVisibility(GenApi::Guru);
        // The usual order: the favorites rows first, then the node maps.
        proxy->rebuildFavoriteItems();
        if (addCamera) {
            proxy->addNodeMap(camera.map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);
            proxy->invalidate();
            proxy->refreshSpecialItems();
            view->expand(proxy->index(proxy->rowCount() - 1, 0));
        }
    }

    ~ViewFixture()
    {
        watch.reset();
        delete view;
        // The view leaves its model stack to its owner; here that is the test.
        delete proxy;
        delete source;
    }

    QModelIndex row(const char* nodeName, int column = 0)
    {
        return findByNodeName(proxy, QLatin1String(nodeName), column);
    }

    QModelIndex expandCategory(const char* name)
    {
        const QModelIndex category = row(name);
        view->expand(category);
        return category;
    }

    QString unexpected() const { return watch ? watch->unexpected().join(QLatin1Char('\n')) : QString(); }

    VorloQtBase::ExceptionRecorder recorder;
    TestCamera camera;
    ProbedView* view;
    FeatureTreeProxyModel* proxy = nullptr;
    FeatureTreeModel* source = nullptr;
    std::unique_ptr<ModelWatch> watch;
};

// One category of many float features: more rows than a small view shows.
QByteArray manyFloatsDescription(int count)
{
    QByteArray xml = descriptionHead("ManyCam") +
        "<Category Name=\"Root\">\n  <pFeature>Many</pFeature>\n</Category>\n"
        "<Category Name=\"Many\">\n";
    for (int i = 0; i < count; ++i)
        xml += "  <pFeature>Value" + QByteArray::number(i) + "</pFeature>\n";
    xml += "</Category>\n";
    for (int i = 0; i < count; ++i)
        xml += "<Float Name=\"Value" + QByteArray::number(i) + "\"><Value>1</Value><Min>0</Min><Max>10</Max></Float>\n";
    return xml + descriptionTail();
}

// The pixels in which two images differ, as a bounding rectangle.
QRect differingArea(const QImage& a, const QImage& b)
{
    QRect area;
    for (int y = 0; y < qMin(a.height(), b.height()); ++y)
        for (int x = 0; x < qMin(a.width(), b.width()); ++x)
            if (a.pixel(x, y) != b.pixel(x, y))
                area |= QRect(x, y, 1, 1);
    return area;
}

QImage grabViewport(FeatureTreeView* view)
{
    view->viewport()->repaint();
    return view->viewport()->grab().toImage();
}

} // namespace

class TestFeatureTreeView : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void constructionBuildsModelStackAndDelegate();
    void noResultsFoundMessageText();
    void rowHiddenWhileCurrentEmitsInvalidCurrentOnlyWhenShownBecomesHidden();
    void nodeLosingAccessClosesEditorAndRegainingReopensIt();
    void emptyFilterWithRowsPaintsNoMessage();
    void modelWithoutRootRowsPaintsMessageCentredAtTop();
    void dataChangedOverUnequalIndexesDoesNoPerRowWork();
    void expandingFavoritesRootInOneViewExpandsItInAllViews();
    void userLevelChangeWithSameModelAndSameValueDoesNothing();
    void twoViewsAlternatingActEvenWithUnchangedLevel();
    void viewOptionsLeaveSelectedRowWithTransparentHighlight();
    void drawRowKeepsSelectionAndEmitsNoSelectionSignals();
    void persistentEditorsOpenWhenBranchExpands();
    void rowsAboveUserLevelAreHiddenAndShownAgain();
    void selectionCarriedAcrossFavoritesRebuildByFullName();
    void currentChangedIsForwardedAsSignal();
    void settingsPathIsForwardedToFavorites();
    void editorsOpenForRowsInViewAndFollowScrolling();
    void expandBranchesToDepthSkipsRowsWithoutChildrenAndCollapsesDeeperRows();
    void levelChangeActsOnModelOfDestroyedView();
};

void TestFeatureTreeView::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QSettings().clear();
}

void TestFeatureTreeView::constructionBuildsModelStackAndDelegate()
{
    ViewFixture f;
    QVERIFY(f.proxy);
    QVERIFY(f.source);
    QVERIFY(f.view->getFeatureExtension() == static_cast<IFeatureTreeModelExtension*>(f.proxy));
    QVERIFY(qobject_cast<FeatureTreeDelegate*>(f.view->itemDelegate()));
    QVERIFY(!f.proxy->dynamicSortFilter());
    QCOMPARE(f.proxy->filterCaseSensitivity(), Qt::CaseInsensitive);
    QCOMPARE(f.proxy->filterKeyColumn(), 1);
    QVERIFY(f.view->viewport()->acceptDrops());
    QVERIFY(f.view->showDropIndicator());
    QVERIFY(f.view->getHightlighter());
    QVERIFY(static_cast<QObject*>(f.proxy)->parent() == nullptr);
    QVERIFY(static_cast<QObject*>(f.source)->parent() == nullptr);
    // A disabled tree keeps its background.
    QCOMPARE(f.view->palette().brush(QPalette::Disabled, QPalette::Base),
             f.view->palette().brush(QPalette::Active, QPalette::Base));
    QVERIFY2(f.unexpected().isEmpty(), qPrintable(f.unexpected()));
}

void TestFeatureTreeView::noResultsFoundMessageText()
{
    QCOMPARE(FeatureTreeView::NoResultsFoundMessage, QStringLiteral("No search results found."));
}

void TestFeatureTreeView::rowHiddenWhileCurrentEmitsInvalidCurrentOnlyWhenShownBecomesHidden()
{
    ViewFixture f;
    const QModelIndex levels = f.expandCategory("Levels");
    const QModelIndex expert = f.row("ExpertValue");
    QVERIFY(expert.isValid());
    f.view->setCurrentIndex(expert);
    QVERIFY(!f.view->isRowHidden(expert.row(), levels));

    QSignalSpy currents(f.view, &FeatureTreeView::onCurrentChanged);
    QVERIFY(currents.isValid());
    f.view->setVisibility(GenApi::Beginner);
    f.view->updateRows(levels);
    QVERIFY(f.view->isRowHidden(expert.row(), levels));
    int invalidCurrents = 0;
    for (const QList<QVariant>& args : qAsConst(currents))
        invalidCurrents += args.at(0).toModelIndex().isValid() ? 0 : 1;
    QCOMPARE(invalidCurrents, 1);

    // Already hidden: a further pass emits nothing.
    currents.clear();
    f.view->updateRows(levels);
    f.view->updateRows(levels);
    QCOMPARE(currents.count(), 0);

    // Back at Expert the row shows again.
    f.view->setVisibility(GenApi::Expert);
    f.view->updateRows(levels);
    QVERIFY(!f.view->isRowHidden(expert.row(), levels));
    QVERIFY2(f.unexpected().isEmpty(), qPrintable(f.unexpected()));
}

void TestFeatureTreeView::nodeLosingAccessClosesEditorAndRegainingReopensIt()
{
    ViewFixture f;
    f.expandCategory("Levels");
    const QModelIndex locked = f.row("LockedValue", 1);
    QVERIFY(locked.isValid());
    QTRY_VERIFY(f.view->indexWidget(locked) != nullptr);

    GenApi::CIntegerPtr lockValue(f.camera.node("LockValue"));
    lockValue->SetValue(1);
    QTRY_VERIFY(f.view->indexWidget(locked) == nullptr);

    lockValue->SetValue(0);
    QTRY_VERIFY(f.view->indexWidget(locked) != nullptr);
    QVERIFY2(f.unexpected().isEmpty(), qPrintable(f.unexpected()));
}

void TestFeatureTreeView::emptyFilterWithRowsPaintsNoMessage()
{
    ViewFixture f;
    QVERIFY(f.proxy->rowCount() > 0);
    const QString message = FeatureTreeView::NoResultsFoundMessage;
    const QImage withMessage = grabViewport(f.view);
    FeatureTreeView::NoResultsFoundMessage = QString();
    const QImage withoutMessage = grabViewport(f.view);
    FeatureTreeView::NoResultsFoundMessage = message;
    QCOMPARE(withMessage, withoutMessage);
}

void TestFeatureTreeView::modelWithoutRootRowsPaintsMessageCentredAtTop()
{
    ViewFixture f(false);
    // Only the favorites root and the search help row stand; a search text that
    // nothing matches leaves no root row.
    f.proxy->setFilterFixedString(QStringLiteral("nothing matches this"));
    f.proxy->invalidate();
    QCOMPARE(f.proxy->rowCount(), 0);
    const QString message = FeatureTreeView::NoResultsFoundMessage;
    const QImage withMessage = grabViewport(f.view);
    FeatureTreeView::NoResultsFoundMessage = QString();
    const QImage withoutMessage = grabViewport(f.view);
    FeatureTreeView::NoResultsFoundMessage = message;

    const QRect painted = differingArea(withMessage, withoutMessage);
    QVERIFY(!painted.isEmpty());
    const QRect expected = QFontMetrics(f.view->font())
                               .boundingRect(QRect(QPoint(0, 0), f.view->size()), Qt::AlignHCenter | Qt::AlignTop,
                                             message);
    QVERIFY2(expected.adjusted(-2, -2, 2, 2).contains(painted),
             qPrintable(QStringLiteral("painted %1,%2 %3x%4")
                            .arg(painted.x()).arg(painted.y()).arg(painted.width()).arg(painted.height())));
    // Centred on the view widget's width, at the top.
    QVERIFY(qAbs(painted.center().x() - f.view->width() / 2) <= 3);
    QVERIFY(painted.top() < QFontMetrics(f.view->font()).height());
}

void TestFeatureTreeView::dataChangedOverUnequalIndexesDoesNoPerRowWork()
{
    ViewFixture f;
    f.expandCategory("Levels");
    const QModelIndex locked = f.row("LockedValue", 1);
    QTRY_VERIFY(f.view->indexWidget(locked) != nullptr);

    // The node loses access unseen; only the signals below tell the view.
    f.proxy->setGenICamCallbacksEnable(false);
    GenApi::CIntegerPtr(f.camera.node("LockValue"))->SetValue(1);
    f.proxy->setGenICamCallbacksEnable(true);

    emit f.proxy->dataChanged(locked.sibling(locked.row(), 0), locked);
    QVERIFY(f.view->indexWidget(locked) != nullptr);

    emit f.proxy->dataChanged(locked, locked);
    QVERIFY(f.view->indexWidget(locked) == nullptr);
}

void TestFeatureTreeView::expandingFavoritesRootInOneViewExpandsItInAllViews()
{
    ViewFixture first;
    ViewFixture second(true, first.watch.get());
    const QModelIndex firstRoot = first.proxy->GetFavoritesRootIndex();
    const QModelIndex secondRoot = second.proxy->GetFavoritesRootIndex();
    QVERIFY(firstRoot.isValid());
    QVERIFY(secondRoot.isValid());
    // Bring the shared flag to "collapsed" through the first view, whatever it was.
    first.view->expand(firstRoot);
    first.view->collapse(firstRoot);
    QVERIFY(!first.proxy->GetFavorites().getExpanded());
    QVERIFY(!second.view->isExpanded(secondRoot));

    first.view->expand(firstRoot);
    QVERIFY(first.proxy->GetFavorites().getExpanded());
    QVERIFY(second.view->isExpanded(second.proxy->GetFavoritesRootIndex()));

    second.view->collapse(second.proxy->GetFavoritesRootIndex());
    QVERIFY(!first.proxy->GetFavorites().getExpanded());
    QVERIFY(!first.view->isExpanded(first.proxy->GetFavoritesRootIndex()));
    QVERIFY2(first.unexpected().isEmpty(), qPrintable(first.unexpected()));
    QVERIFY2(second.unexpected().isEmpty(), qPrintable(second.unexpected()));
}

namespace {

// Counts every structural and data signal of a model.
struct ModelActivity
{
    explicit ModelActivity(QAbstractItemModel* model)
        : data(model, &QAbstractItemModel::dataChanged)
        , layout(model, &QAbstractItemModel::layoutChanged)
        , inserted(model, &QAbstractItemModel::rowsInserted)
        , removed(model, &QAbstractItemModel::rowsRemoved)
        , reset(model, &QAbstractItemModel::modelReset)
    {
    }
    int total() const { return data.count() + layout.count() + inserted.count() + removed.count() + reset.count(); }
    void clear()
    {
        data.clear();
        layout.clear();
        inserted.clear();
        removed.clear();
        reset.clear();
    }
    QSignalSpy data, layout, inserted, removed, reset;
};

} // namespace

void TestFeatureTreeView::userLevelChangeWithSameModelAndSameValueDoesNothing()
{
    ViewFixture f;
    f.view->setVisibility(GenApi::Guru);
    ModelActivity activity(f.source);
    f.view->setVisibility(GenApi::Guru);
    QCOMPARE(activity.total(), 0);
    // A different level acts: the favorites rows are rebuilt.
    f.view->setVisibility(GenApi::Beginner);
    QVERIFY(activity.total() > 0);
    QVERIFY2(f.unexpected().isEmpty(), qPrintable(f.unexpected()));
}

void TestFeatureTreeView::twoViewsAlternatingActEvenWithUnchangedLevel()
{
    ViewFixture first;
    ViewFixture second(true, first.watch.get());
    first.view->setVisibility(GenApi::Guru);
    second.view->setVisibility(GenApi::Guru);
    ModelActivity activity(first.source);
    // The remembered model is the second one now, so the first view acts again.
    first.view->setVisibility(GenApi::Guru);
    QVERIFY(activity.total() > 0);
    activity.clear();
    first.view->setVisibility(GenApi::Guru);
    QCOMPARE(activity.total(), 0);
}

void TestFeatureTreeView::viewOptionsLeaveSelectedRowWithTransparentHighlight()
{
    ViewFixture f;
    const QStyleOptionViewItem option = f.view->viewOptions();
    const QPalette base = f.view->palette();
    QColor activeText = base.color(QPalette::Active, QPalette::Text);
    activeText.setAlpha(128);
    QCOMPARE(option.palette.color(QPalette::Active, QPalette::HighlightedText), activeText);
    QCOMPARE(option.palette.color(QPalette::Disabled, QPalette::HighlightedText),
             base.color(QPalette::Disabled, QPalette::Text));
    QCOMPARE(option.palette.color(QPalette::Inactive, QPalette::HighlightedText),
             base.color(QPalette::Inactive, QPalette::Text));
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Disabled, QPalette::Inactive})
        QCOMPARE(option.palette.color(group, QPalette::Highlight), QColor(0, 0, 0, 0));
}

void TestFeatureTreeView::drawRowKeepsSelectionAndEmitsNoSelectionSignals()
{
    ViewFixture f;
    f.expandCategory("Acquisition");
    const QModelIndex width = f.row("Width");
    f.view->selectionModel()->select(width, QItemSelectionModel::ClearAndSelect);
    QSignalSpy changes(f.view->selectionModel(), &QItemSelectionModel::selectionChanged);
    QVERIFY(changes.isValid());
    f.view->viewport()->repaint();
    QCOMPARE(changes.count(), 0);
    QVERIFY(f.view->selectionModel()->isSelected(width));
    QVERIFY(!f.view->selectionModel()->signalsBlocked());
}

void TestFeatureTreeView::persistentEditorsOpenWhenBranchExpands()
{
    ViewFixture f;
    const QModelIndex acquisition = f.row("Acquisition");
    f.view->collapse(acquisition);
    f.view->expand(acquisition);
    // Editors that stay open: float, integer slider, enumeration, boolean, command.
    for (const char* name : {"ExposureTime", "Height", "PixelFormat", "ReverseX", "TriggerSoftware"})
        QVERIFY2(f.view->indexWidget(f.row(name, 1)) != nullptr, name);
    // The plain integer and the string edit on demand only.
    QVERIFY(f.view->indexWidget(f.row("Width", 1)) == nullptr);
    QVERIFY(f.view->indexWidget(f.row("DeviceUserID", 1)) == nullptr);
    QVERIFY2(f.unexpected().isEmpty(), qPrintable(f.unexpected()));
}

void TestFeatureTreeView::rowsAboveUserLevelAreHiddenAndShownAgain()
{
    ViewFixture f;
    const QModelIndex levels = f.expandCategory("Levels");
    f.view->setVisibility(GenApi::Beginner);
    f.view->updateRows(levels);
    QVERIFY(!f.view->isRowHidden(f.row("BeginnerValue").row(), levels));
    QVERIFY(f.view->isRowHidden(f.row("ExpertValue").row(), levels));
    QVERIFY(f.view->isRowHidden(f.row("GuruValue").row(), levels));
    f.view->setVisibility(GenApi::Guru);
    f.view->updateRows(levels);
    QVERIFY(!f.view->isRowHidden(f.row("ExpertValue").row(), levels));
    QVERIFY(!f.view->isRowHidden(f.row("GuruValue").row(), levels));
}

void TestFeatureTreeView::selectionCarriedAcrossFavoritesRebuildByFullName()
{
    ViewFixture f;
    FavoritesData& favorites = f.proxy->GetFavorites();
    while (favorites.countNodes() > 0)
        favorites.removeNode(0, nullptr);
    QVERIFY(f.proxy->AddFavorite(f.camera.node("Gain"), INT_MAX));
    QVERIFY(f.proxy->AddFavorite(f.camera.node("Width"), INT_MAX));
    f.view->expand(f.proxy->GetFavoritesRootIndex());
    const QModelIndex favorite = f.proxy->findItemByFullName(QStringLiteral("Fav*cam*Width"), nullptr, 0);
    QVERIFY(favorite.isValid());
    f.view->setCurrentIndex(favorite);

    f.view->onFavoriteDataUpdated();
    const QModelIndex current = f.view->currentIndex();
    QVERIFY(current.isValid());
    QCOMPARE(current.data(FullNameRole).toString(), QStringLiteral("Fav*cam*Width"));
    QVERIFY(f.view->selectionModel()->isSelected(current));
    QVERIFY2(f.unexpected().isEmpty(), qPrintable(f.unexpected()));
    while (favorites.countNodes() > 0)
        favorites.removeNode(0, nullptr);
}

void TestFeatureTreeView::currentChangedIsForwardedAsSignal()
{
    ViewFixture f;
    QSignalSpy currents(f.view, &FeatureTreeView::onCurrentChanged);
    const QModelIndex analog = f.row("Analog");
    f.view->setCurrentIndex(analog);
    QCOMPARE(currents.count(), 1);
    QCOMPARE(currents.at(0).at(0).toModelIndex(), analog);
}

void TestFeatureTreeView::settingsPathIsForwardedToFavorites()
{
    ViewFixture f;
    const QString previous = f.view->getSettingsPath();
    f.view->setSettingsPath(QStringLiteral("TestFavorites"));
    QCOMPARE(f.view->getSettingsPath(), QStringLiteral("TestFavorites"));
    QCOMPARE(f.proxy->GetFavorites().getSettingsPath(), QStringLiteral("TestFavorites"));
    f.view->setSettingsPath(previous);
}

void TestFeatureTreeView::editorsOpenForRowsInViewAndFollowScrolling()
{
    TestCamera camera(manyFloatsDescription(80));
    auto* view = new ProbedView;
    auto* proxy = qobject_cast<FeatureTreeProxyModel*>(view->model());
    FeatureTreeModel* source = proxy->getFeatureTreeModel();
    {
        ModelWatch watch(modelDepartures());
        watch.watch(source);
        watch.watch(proxy);
        view->resize(400, 300);
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view));
        proxy->setVisibility(GenApi::Guru);
        proxy->rebuildFavoriteItems();
        proxy->addNodeMap(camera.map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);
        proxy->invalidate();
        proxy->refreshSpecialItems();
        view->expand(proxy->index(proxy->rowCount() - 1, 0));
        view->expand(findByNodeName(proxy, QStringLiteral("Many")));

        const QModelIndex first = findByNodeName(proxy, QStringLiteral("Value0"), 1);
        const QModelIndex last = findByNodeName(proxy, QStringLiteral("Value79"), 1);
        QVERIFY(first.isValid() && last.isValid());
        QVERIFY(view->indexWidget(first) != nullptr);
        // Far below the viewport: no widget yet.
        QVERIFY(view->indexWidget(last) == nullptr);

        view->scrollToBottom();
        QTRY_VERIFY(view->indexWidget(last) != nullptr);
        // The rows in between that never came into view have none.
        QVERIFY(view->indexWidget(findByNodeName(proxy, QStringLiteral("Value40"), 1)) == nullptr);
        QVERIFY2(watch.unexpected().isEmpty(), qPrintable(watch.unexpected().join('\n')));
    }
    delete view;
    delete proxy;
    delete source;
}

void TestFeatureTreeView::expandBranchesToDepthSkipsRowsWithoutChildrenAndCollapsesDeeperRows()
{
    ViewFixture f;
    const QModelIndex top = f.proxy->index(f.proxy->rowCount() - 1, 0);
    f.view->expandBranchesToDepth(2);
    QVERIFY(f.view->isExpanded(top));
    QVERIFY(f.view->isExpanded(f.row("Acquisition")));
    QVERIFY(f.view->isExpanded(f.row("Levels")));
    // A feature has nothing below it at this level: expanding it would change nothing.
    QVERIFY(!f.proxy->hasChildren(f.row("ExposureTime")));
    QVERIFY(!f.view->isExpanded(f.row("ExposureTime")));

    // A smaller depth collapses the rows below it, as expandToDepth does.
    f.view->expandBranchesToDepth(0);
    QVERIFY(f.view->isExpanded(top));
    QVERIFY(!f.view->isExpanded(f.row("Acquisition")));
    QVERIFY2(f.unexpected().isEmpty(), qPrintable(f.unexpected()));
}

void TestFeatureTreeView::levelChangeActsOnModelOfDestroyedView()
{
    // The view that last acted on a level change dies; its model lives on and gets a new view.
    // The new view's first level change must act, even at the level it already has.
    ViewFixture f;
    f.view->setVisibility(GenApi::Guru);
    auto* second = new FeatureTreeView(nullptr);
    QAbstractItemModel* secondProxy = second->model();
    QAbstractItemModel* secondSource = qobject_cast<QAbstractProxyModel*>(secondProxy)->sourceModel();
    second->setVisibility(GenApi::Guru); // remembered: the second view's proxy
    delete second;

    auto* third = new FeatureTreeView(nullptr);
    QAbstractItemModel* thirdProxy = third->model();
    QAbstractItemModel* thirdSource = qobject_cast<QAbstractProxyModel*>(thirdProxy)->sourceModel();
    third->setModel(secondProxy);
    // Reading every node again shows that the level change acted: the node map is refreshed.
    auto* secondExtension = dynamic_cast<IFeatureTreeModelExtension*>(secondProxy);
    secondExtension->addNodeMap(f.camera.map(), QStringLiteral("Camera"), QStringLiteral("cam2"), false);
    QSignalSpy changed(secondProxy, &QAbstractItemModel::dataChanged);
    third->setVisibility(GenApi::Expert); // the view's own level
    QVERIFY(changed.count() > 0);
    third->setModel(thirdProxy); // its own stack again, so that it leaves the right favorites list
    delete third;
    delete thirdProxy;
    delete thirdSource;
    delete secondProxy;
    delete secondSource;
}

QTEST_MAIN(TestFeatureTreeView)
#include "tst_featuretreeview.moc"
