// Feature tree items and safe node pointers.

#include <QBrush>
#include <QPalette>
#include <QSignalSpy>
#include <QtTest>

#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtWidgets/FeatureTreeProxyModel.h>
#include <VorloQtWidgets/featuretreeinodeitem.h>
#include <VorloQtWidgets/featuretreeitem.h>
#include <VorloQtWidgets/featuretreemodel.h>
#include <internal/GenApiSafePointer.h>

#include "featuremodeltestsupport.h"

using namespace FeatureModelTest;
using namespace GenApi;

namespace {

// A node that hands out a fresh handle on every registration, so that a renewed
// registration can be told from the old one, and that records what was asked of it.
class RecordingNode : public StubNode
{
public:
    RecordingNode() : StubNode("Recording") {}

    ~RecordingNode() override
    {
        for (CNodeCallback* callback : m_callbacks)
            callback->Destroy();
    }

    CallbackHandleType RegisterCallback(CNodeCallback* callback) override
    {
        ++registrations;
        const CallbackHandleType handle = ++m_lastHandle;
        m_handles.append(handle);
        m_callbacks.append(callback);
        return handle;
    }
    bool DeregisterCallback(CallbackHandleType handle) override
    {
        ++deregistrations;
        const int at = m_handles.indexOf(handle);
        if (at < 0)
            return false;
        m_handles.removeAt(at);
        CNodeCallback* callback = m_callbacks.takeAt(at);
        callback->Destroy();
        return true;
    }

    int registrations = 0;
    int deregistrations = 0;

private:
    CallbackHandleType m_lastHandle = 0x1000;
    QList<CallbackHandleType> m_handles;
    QList<CNodeCallback*> m_callbacks;
};

// A node map without a node named "Root".
QByteArray descriptionWithoutRoot()
{
    return descriptionHead("NoRootCam") +
        "<Category Name=\"Top\">\n"
        "  <pFeature>Value</pFeature>\n"
        "</Category>\n"
        "<Integer Name=\"Value\">\n"
        "  <Value>1</Value>\n"
        "</Integer>\n"
        + descriptionTail();
}

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
        watch.watch(&model);
        watch.watch(&proxy);
    }

    VorloQtBase::ExceptionRecorder recorder;
    TestCamera camera;
    FeatureTreeModel model;
    FeatureTreeProxyModel proxy;
    ModelWatch watch;
};

} // namespace

class TestFeatureTreeItem : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void rowOfTheMasterRootIsZeroNotMinusOne();
    void childOutOfRangeIsNull();
    void placeholderOfEmptyFavoritesHasNoFlagsAndShowsNothing();
    void hasDescriptionIsFalseAfterEmptyDescription();
    void deadEndInColumnOneIsSelectableButNotEnabledEvenIfReadWrite();
    void itemIdOfPlainRowDependsOnFullNameNotPosition();
    void findByFullNameShallowDoesNotLoadLazyRows();
    void reattachingSafePointerToSameNodeRenewsRegistration_data();
    void reattachingSafePointerToSameNodeRenewsRegistration();
    void safePointerOnNodeMapWithoutRootHasNullHandleAndNeverHearsOfTheEnd();

    void plainItemDataByRole_data();
    void plainItemDataByRole();
    void plainItemFlagsByColumn();
    void favoritesItemAnswers();
    void safePointerEmptiesWhenNodeMapDies();
    void emptySafePointerThrowsOnDereference();
    void deregisterSafeSkipsDeadNode();
    void extensionIsKnownByNameOnModelAndProxy();
    void staticEditorTypeIsCrude();
    void usePersistentEditorFollowsEditorType();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestFeatureTreeItem::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void TestFeatureTreeItem::cleanup()
{
    if (m_fixture)
    {
        const QStringList unexpected = m_fixture->watch.unexpected();
        m_fixture.reset();
        QVERIFY2(unexpected.isEmpty(), qPrintable(unexpected.join(QLatin1Char('\n'))));
    }
}

void TestFeatureTreeItem::rowOfTheMasterRootIsZeroNotMinusOne()
{
    m_fixture.reset(new Fixture);
    m_fixture->watchModels();
    FeatureTreeItem master(QString(), &m_fixture->model, false, QStringLiteral("MasterRoot"), QString(), nullptr, false);
    QCOMPARE(master.row(), 0);

    // A child that its parent doesn't list answers -1.
    FeatureTreeItem orphan(QStringLiteral("orphan"), &m_fixture->model, false, QStringLiteral("x"),
                           QStringLiteral("x"), &master, false);
    QCOMPARE(orphan.row(), -1);
    master.appendChild(new FeatureTreeItem(QStringLiteral("a"), &m_fixture->model, false, QStringLiteral("x"),
                                           QStringLiteral("a"), &master, false));
    QCOMPARE(master.child(0)->row(), 0);
    master.removeChild(0)->deleteLater();
}

void TestFeatureTreeItem::childOutOfRangeIsNull()
{
    m_fixture.reset(new Fixture);
    m_fixture->watchModels();
    FeatureTreeItem parent(QStringLiteral("p"), &m_fixture->model, false, QStringLiteral("x"), QStringLiteral("p"),
                           nullptr, false);
    parent.appendChild(new FeatureTreeItem(QStringLiteral("a"), &m_fixture->model, false, QStringLiteral("x"),
                                           QStringLiteral("a"), &parent, false));
    QVERIFY(parent.child(0) != nullptr);
    QVERIFY(parent.child(-1) == nullptr);
    QVERIFY(parent.child(parent.childCount()) == nullptr);
    QVERIFY(parent.removeChild(parent.childCount()) == nullptr);
    QCOMPARE(parent.childCount(), 1);
}

void TestFeatureTreeItem::placeholderOfEmptyFavoritesHasNoFlagsAndShowsNothing()
{
    m_fixture.reset(new Fixture);
    m_fixture->watchModels();
    FeatureTreeModel::m_favorites.setDeferDataUpdatedSignals(false);
    while (FeatureTreeModel::m_favorites.countNodes() > 0)
        FeatureTreeModel::m_favorites.removeNode(0, nullptr);
    FeatureTreeModel& model = m_fixture->model;
    model.rebuildFavoriteItems();

    const QModelIndex favorites = model.GetFavoritesRootIndex();
    QCOMPARE(model.rowCount(favorites), 1);
    FeatureTreeItem* placeholder = model.getFeatureTreeItem(model.index(0, 0, favorites));
    QVERIFY(placeholder);
    QCOMPARE(placeholder->getFullName(), QStringLiteral("Dummy"));
    QVERIFY(placeholder->isDeadEnd());
    QCOMPARE(placeholder->flags(0), Qt::ItemFlags());
    QCOMPARE(placeholder->flags(1), Qt::ItemFlags());
    QVERIFY(!placeholder->data(1, Qt::DisplayRole).isValid());
    QCOMPARE(placeholder->data(0, Qt::DisplayRole).toString(),
             QStringLiteral("Add favorites by right-clicking a feature below."));

    FeatureTreeItem deadEnd(QStringLiteral("Width"), &model, false, QStringLiteral("x"), QStringLiteral("cam*Width"),
                            nullptr, true);
    QCOMPARE(deadEnd.data(1, Qt::DisplayRole).toString(), QStringLiteral("<already displayed elsewhere>"));
    QCOMPARE(deadEnd.data(1, Qt::EditRole).toString(), QStringLiteral("<already displayed elsewhere>"));
}

void TestFeatureTreeItem::hasDescriptionIsFalseAfterEmptyDescription()
{
    m_fixture.reset(new Fixture);
    m_fixture->watchModels();
    FeatureTreeItem item(QStringLiteral("a"), &m_fixture->model, false, QStringLiteral("x"), QStringLiteral("a"),
                         nullptr, false);
    QVERIFY(!item.HasDescription());
    QCOMPARE(item.GetDescription(), QString());
    QCOMPARE(item.GetToolTip(), QString());
    item.SetDescription(QString());
    QVERIFY(!item.HasDescription());
    item.SetDescription(QStringLiteral("text"));
    QVERIFY(item.HasDescription());
    QCOMPARE(item.GetDescription(), QStringLiteral("text"));
    item.SetToolTip(QStringLiteral("tip"));
    QCOMPARE(item.data(0, Qt::ToolTipRole).toString(), QStringLiteral("tip"));
}

void TestFeatureTreeItem::deadEndInColumnOneIsSelectableButNotEnabledEvenIfReadWrite()
{
    m_fixture.reset(new Fixture);
    m_fixture->watchModels();
    INode* node = m_fixture->camera.node("Shared");
    QCOMPARE(node->GetAccessMode(), RW);
    FeatureTreeINodeItem deadEnd(node, &m_fixture->model, true, QStringLiteral("<pFeature>"),
                                 QStringLiteral("cam*Shared"), nullptr, true, false);
    QCOMPARE(deadEnd.getAccessMode(), RW);
    const Qt::ItemFlags flags = deadEnd.flags(1);
    QVERIFY(flags.testFlag(Qt::ItemIsSelectable));
    QVERIFY(!flags.testFlag(Qt::ItemIsEnabled));
    QVERIFY(!flags.testFlag(Qt::ItemIsEditable));
    QVERIFY(flags.testFlag(Qt::ItemNeverHasChildren));

    FeatureTreeItem plainDeadEnd(QStringLiteral("a"), &m_fixture->model, false, QStringLiteral("x"),
                                 QStringLiteral("a"), nullptr, true);
    QCOMPARE(plainDeadEnd.flags(0), Qt::ItemIsSelectable | Qt::ItemNeverHasChildren);
    QCOMPARE(plainDeadEnd.flags(1), Qt::ItemIsSelectable | Qt::ItemNeverHasChildren);
    QVERIFY(!plainDeadEnd.hasChildren());
}

void TestFeatureTreeItem::itemIdOfPlainRowDependsOnFullNameNotPosition()
{
    m_fixture.reset(new Fixture);
    m_fixture->watchModels();
    FeatureTreeItem parent(QStringLiteral("p"), &m_fixture->model, false, QStringLiteral("x"), QStringLiteral("p"),
                           nullptr, false);
    FeatureTreeItem* a = new FeatureTreeItem(QStringLiteral("a"), &m_fixture->model, false, QStringLiteral("x"),
                                             QStringLiteral("cam*A"), &parent, false);
    FeatureTreeItem* b = new FeatureTreeItem(QStringLiteral("b"), &m_fixture->model, false, QStringLiteral("x"),
                                             QStringLiteral("cam*B"), &parent, false);
    parent.appendChild(a);
    parent.appendChild(b);
    const QVariant idBefore = a->data(0, ItemIdRole);
    QCOMPARE(idBefore.userType(), int(QMetaType::UInt));
    QCOMPARE(idBefore.toUInt(), static_cast<unsigned int>(qHash(QStringLiteral("cam*A"), 0)));

    parent.removeChild(0);
    parent.insertChild(a, 1);
    QCOMPARE(a->row(), 1);
    QCOMPARE(a->data(0, ItemIdRole), idBefore);
    QVERIFY(b->data(0, ItemIdRole) != idBefore);

    FeatureTreeItem sameName(QStringLiteral("other"), &m_fixture->model, false, QStringLiteral("y"),
                             QStringLiteral("cam*A"), nullptr, false);
    QCOMPARE(sameName.data(0, ItemIdRole), idBefore);
}

void TestFeatureTreeItem::findByFullNameShallowDoesNotLoadLazyRows()
{
    m_fixture.reset(new Fixture);
    FeatureTreeModel& model = m_fixture->model;
    // The proxy's filter would load every level it looks at; it joins at the end.
    m_fixture->proxy.setSourceModel(nullptr);
    model.addNodeMap(m_fixture->camera.map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);

    // addNodeMap builds the levels down to the features of the first categories; the
    // category "Region" one level further down hasn't loaded its feature.
    const QModelIndex top = model.index(0, 0);
    FeatureTreeItem* topItem = model.getFeatureTreeItem(top);
    QVERIFY(topItem->findByFullNameShallow(QStringLiteral("*ImageFormat")) != nullptr);
    FeatureTreeItem* region = topItem->findByFullNameShallow(QStringLiteral("cam*Region"));
    QVERIFY(region != nullptr);
    QCOMPARE(region->FeatureTreeItem::childCount(), 0);
    QVERIFY(topItem->findByFullNameShallow(QStringLiteral("cam*RegionOffset")) == nullptr);
    QVERIFY(!model.findItemByFullName(QStringLiteral("cam*RegionOffset"), nullptr, 0).isValid());
    QCOMPARE(region->FeatureTreeItem::childCount(), 0);
    QCOMPARE(topItem->findShallow(nullptr), false);

    // Once the category is expanded, the search finds the row.
    QCOMPARE(model.rowCount(model.indexForItem(region, 0)), 1);
    QVERIFY(topItem->findByFullNameShallow(QStringLiteral("cam*RegionOffset")) != nullptr);
    m_fixture->proxy.setSourceModel(&model);
    m_fixture->watchModels();
}

void TestFeatureTreeItem::reattachingSafePointerToSameNodeRenewsRegistration_data()
{
    QTest::addColumn<bool>("engineNode");
    QTest::newRow("node that hands out fresh handles") << false;
    QTest::newRow("engine node") << true;
}

void TestFeatureTreeItem::reattachingSafePointerToSameNodeRenewsRegistration()
{
    QFETCH(bool, engineNode);
    if (!engineNode)
    {
        RecordingNode node;
        CSafeNodePtr ptr;
        ptr = &node;
        const CallbackHandleType first = ptr.GetCallbackHandle();
        QVERIFY(first != 0);
        QCOMPARE(node.registrations, 1);
        ptr = &node;
        QCOMPARE(node.deregistrations, 1);
        QCOMPARE(node.registrations, 2);
        QVERIFY(ptr.IsValid());
        QVERIFY(ptr.GetCallbackHandle() != first);
        ptr.remove(true);
        QCOMPARE(node.deregistrations, 2);
        QVERIFY(!ptr.IsValid());
        QCOMPARE(ptr.GetCallbackHandle(), CallbackHandleType(0));
        return;
    }

    // The engine's handle is the callback's address, so it stays the same; the registration
    // is renewed all the same, and the pointer still hears of the node's end exactly once.
    TestCamera camera;
    CSafeNodePtr ptr;
    ptr = camera.node("Width");
    QVERIFY(ptr.GetCallbackHandle() != 0);
    ptr = camera.node("Width");
    QVERIFY(ptr.IsValid());
    QVERIFY(ptr.GetCallbackHandle() != 0);
    camera.destroy();
    QVERIFY(!ptr.IsValid());
    QCOMPARE(ptr.GetCallbackHandle(), CallbackHandleType(0));
}

void TestFeatureTreeItem::safePointerOnNodeMapWithoutRootHasNullHandleAndNeverHearsOfTheEnd()
{
    TestCamera camera(descriptionWithoutRoot());
    INodeMap* map = camera.map();
    QVERIFY(map->GetNode("Root") == nullptr);
    CSafePointer<INodeMap, INodeMap> ptr(map);
    QVERIFY(ptr.IsValid());
    QCOMPARE(ptr.get(), map);
    QCOMPARE(ptr.GetCallbackHandle(), CallbackHandleType(0));
    camera.destroy();
    // Still holds the (now dangling) pointer: nothing told it.
    QVERIFY(ptr.IsValid());
    QCOMPARE(ptr.get(), map);
    ptr.remove(false);
    QVERIFY(!ptr.IsValid());
}

void TestFeatureTreeItem::plainItemDataByRole_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("role");
    QTest::addColumn<QVariant>("expected");

    QTest::newRow("name in column 0") << 0 << int(Qt::DisplayRole) << QVariant(QStringLiteral("Name"));
    QTest::newRow("edit role in column 0 is invalid") << 0 << int(Qt::EditRole) << QVariant();
    QTest::newRow("value column of a plain row is empty") << 1 << int(Qt::DisplayRole) << QVariant();
    QTest::newRow("node name is the full name") << 0 << int(NodeNameRole) << QVariant(QStringLiteral("cam*Name"));
    QTest::newRow("node tooltip is invalid") << 0 << int(NodeToolTipRole) << QVariant();
    QTest::newRow("description is invalid") << 0 << int(NodeDescriptionRole) << QVariant();
    QTest::newRow("documentation url is invalid") << 0 << int(NodeDocuUrlRole) << QVariant();
    QTest::newRow("not a category") << 0 << int(IsCategoryRole) << QVariant(false);
    QTest::newRow("visibility") << 1 << int(VisibilityRole) << QVariant(int(Expert));
    QTest::newRow("debug flag") << 0 << int(IsDebugNodeRole) << QVariant(false);
    QTest::newRow("full row flag") << 0 << int(IsFullRowRole) << QVariant(true);
    QTest::newRow("special flag") << 0 << int(IsSpecialNodeRole) << QVariant(false);
    QTest::newRow("full name") << 1 << int(FullNameRole) << QVariant(QStringLiteral("cam*Name"));
    QTest::newRow("unknown role") << 0 << int(Qt::UserRole + 7) << QVariant();
    QTest::newRow("foreground in column 2 is invalid") << 2 << int(Qt::ForegroundRole) << QVariant();
}

void TestFeatureTreeItem::plainItemDataByRole()
{
    QFETCH(int, column);
    QFETCH(int, role);
    QFETCH(QVariant, expected);
    m_fixture.reset(new Fixture);
    m_fixture->watchModels();
    FeatureTreeItem item(QStringLiteral("Name"), &m_fixture->model, false, QStringLiteral("Kind"),
                         QStringLiteral("cam*Name"), nullptr, false);
    item.setVisibility(Expert);
    item.SetIsFullRowItem(true);
    QCOMPARE(item.data(column, role), expected);
}

void TestFeatureTreeItem::plainItemFlagsByColumn()
{
    m_fixture.reset(new Fixture);
    m_fixture->watchModels();
    FeatureTreeItem item(QStringLiteral("Name"), &m_fixture->model, true, QStringLiteral("<pValue>"),
                         QStringLiteral("cam*Name"), nullptr, false);
    QCOMPARE(item.flags(0), Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsEnabled);
    // Access mode NA and editor type 10: not editable.
    QCOMPARE(item.flags(1), Qt::ItemFlags(Qt::ItemIsEnabled));
    QCOMPARE(item.flags(2), Qt::ItemFlags(Qt::ItemIsEnabled));
    QCOMPARE(item.data(0, Qt::DisplayRole).toString(), QStringLiteral("<pValue> Name"));
    QCOMPARE(item.getVisibility(), _UndefinedVisibility);
    QCOMPARE(item.getAccessMode(), NA);
    QVERIFY(!item.ShowMe(Guru));
    item.setVisibility(Guru);
    QVERIFY(item.ShowMe(Guru));
    QVERIFY(!item.ShowMe(Expert));
    QVERIFY(!item.isEditable());
    QCOMPARE(item.columnCount(), 2);
    // Every plain row is grey, in both columns.
    const QBrush brush = qvariant_cast<QBrush>(item.data(0, Qt::ForegroundRole));
    QCOMPARE(brush, QPalette().brush(QPalette::Disabled, QPalette::Text));
    QCOMPARE(item.data(1, Qt::ForegroundRole), item.data(0, Qt::ForegroundRole));
}

void TestFeatureTreeItem::favoritesItemAnswers()
{
    m_fixture.reset(new Fixture);
    m_fixture->watchModels();
    FeatureTreeFavoritesItem item(QStringLiteral("Favorites"), &m_fixture->model, QStringLiteral("Favorites"), nullptr);
    QCOMPARE(item.data(0, IsCategoryRole), QVariant(true));
    QCOMPARE(item.data(1, IsCategoryRole), QVariant(false));
    QCOMPARE(item.editorType(), EditorNone);
    QVERIFY(item.ShowMe(Beginner));
    QCOMPARE(item.getAccessMode(), RW);
    QCOMPARE(item.getVisibility(), Beginner);
    QVERIFY(item.flags(0).testFlag(Qt::ItemIsDropEnabled));
    QVERIFY(item.flags(0).testFlag(Qt::ItemIsEnabled));
    QVERIFY(!item.flags(1).testFlag(Qt::ItemIsDropEnabled));
    QVERIFY(!item.data(0, Qt::ForegroundRole).isValid());
    QVERIFY(!item.isEditable());
    QVERIFY(!item.usePersistentEditor());
    QCOMPARE(item.data(0, Qt::DisplayRole).toString(), QStringLiteral("Favorites"));
}

void TestFeatureTreeItem::safePointerEmptiesWhenNodeMapDies()
{
    TestCamera camera;
    CSafeNodePtr node(camera.node("Width"));
    CSafePointer<IValue, IBase> value(camera.node("Width"));
    CSafePointer<IFloat, IBase> notAFloat(camera.node("Width"));
    CSafeFloatPtr gain;
    gain = camera.node("Gain");
    CSafePointer<INodeMap, INodeMap> map(camera.map());
    QVERIFY(node.IsValid());
    QVERIFY(value.IsValid());
    QVERIFY(!notAFloat.IsValid());
    QVERIFY(gain.IsValid());
    QVERIFY(map.IsValid());
    QVERIFY(map.GetCallbackHandle() != 0);
    CSafeNodePtr copy(node);
    QVERIFY(copy.IsValid());

    camera.destroy();
    QVERIFY(!node.IsValid());
    QVERIFY(!value.IsValid());
    QVERIFY(!gain.IsValid());
    QVERIFY(!map.IsValid());
    QVERIFY(!copy.IsValid());
    QVERIFY(node.get() == nullptr);
}

void TestFeatureTreeItem::emptySafePointerThrowsOnDereference()
{
    CSafeNodePtr node;
    QVERIFY(!node.IsValid());
    bool thrown = false;
    try
    {
        node->GetName(false);
    }
    catch (const GenICam::LogicalErrorException& e)
    {
        thrown = true;
        QCOMPARE(QString::fromLatin1(e.GetDescription()), QStringLiteral("NULL pointer dereferenced"));
    }
    QVERIFY(thrown);
    QVERIFY_EXCEPTION_THROWN((void)*node, GenICam::LogicalErrorException);
}

void TestFeatureTreeItem::deregisterSafeSkipsDeadNode()
{
    TestCamera camera;
    CSafeNodePtr node(camera.node("Shared"));
    int calls = 0;
    struct Counter
    {
        int* calls;
        void onNode(INode*) { ++*calls; }
    } counter{&calls};
    CallbackHandleType handle = Register(camera.node("Shared"), counter, &Counter::onNode, cbPostInsideLock);
    camera.node("Shared")->InvalidateNode();
    QCOMPARE(calls, 1);
    DeregisterSafe(node, handle);
    camera.node("Shared")->InvalidateNode();
    QCOMPARE(calls, 1);

    // With the node gone, DeregisterSafe must not touch the (freed) callback.
    handle = Register(camera.node("Shared"), counter, &Counter::onNode, cbPostInsideLock);
    camera.destroy();
    QVERIFY(!node.IsValid());
    DeregisterSafe(node, handle);
    QCOMPARE(calls, 1);
}

void TestFeatureTreeItem::extensionIsKnownByNameOnModelAndProxy()
{
    m_fixture.reset(new Fixture);
    m_fixture->watchModels();
    QVERIFY(m_fixture->model.qt_metacast("IFeatureTreeModelExtension") != nullptr);
    QVERIFY(m_fixture->proxy.qt_metacast("IFeatureTreeModelExtension") != nullptr);
    QAbstractItemModel* model = &m_fixture->model;
    QAbstractItemModel* proxy = &m_fixture->proxy;
    QCOMPARE(qobject_cast<IFeatureTreeModelExtension*>(model),
             static_cast<IFeatureTreeModelExtension*>(&m_fixture->model));
    QCOMPARE(qobject_cast<IFeatureTreeModelExtension*>(proxy),
             static_cast<IFeatureTreeModelExtension*>(&m_fixture->proxy));
}

void TestFeatureTreeItem::staticEditorTypeIsCrude()
{
    m_fixture.reset(new Fixture);
    FeatureTreeItem plain(QStringLiteral("a"), &m_fixture->model, false, QStringLiteral("x"), QStringLiteral("a"),
                          nullptr, false);
    FeatureTreeItem deadEnd(QStringLiteral("a"), &m_fixture->model, false, QStringLiteral("x"), QStringLiteral("a"),
                            nullptr, true);
    QCOMPARE(FeatureTreeItem::editorType(static_cast<const FeatureTreeItem*>(nullptr)), EditorInvalid);
    QCOMPARE(FeatureTreeItem::editorType(&deadEnd), EditorNone);
    QCOMPARE(FeatureTreeItem::editorType(&plain), EditorInvalid);
    QCOMPARE(FeatureTreeItem::editorType(QModelIndex()), EditorInvalid);
    m_fixture->model.addNodeMap(m_fixture->camera.map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);
    m_fixture->watchModels();
    QCOMPARE(FeatureTreeItem::editorType(m_fixture->model.index(0, 0)), EditorInvalid);
    QCOMPARE(plain.editorType(), EditorNone);
}

void TestFeatureTreeItem::usePersistentEditorFollowsEditorType()
{
    m_fixture.reset(new Fixture);
    m_fixture->watchModels();
    struct Row : FeatureTreeItem
    {
        Row(IFeatureTreeModelExtension* extension, EFeatureEditorType type)
            : FeatureTreeItem(QStringLiteral("a"), extension, false, QStringLiteral("x"), QStringLiteral("a"),
                              nullptr, false)
        {
            m_editorType = type;
        }
    };
    const QList<int> withoutEditor = {0, 6, 8, 10};
    for (int type = 0; type <= 11; ++type)
    {
        Row row(&m_fixture->model, static_cast<EFeatureEditorType>(type));
        QCOMPARE(row.usePersistentEditor(), !withoutEditor.contains(type));
        // A persistent editor makes column 1 editable even at access mode NA.
        QCOMPARE(row.flags(1).testFlag(Qt::ItemIsEditable), !withoutEditor.contains(type));
    }
}

QTEST_MAIN(TestFeatureTreeItem)
#include "tst_featuretreeitem.moc"
