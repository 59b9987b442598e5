// The feature tree widget: the form, user levels, the search flow with saved expansion and
// selection, the Escape pairs, favorites actions and menu, the clipboard dump, and a person
// working through the emulated camera's features.

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QSignalSpy>
#include <QTimer>
#include <QToolButton>
#include <QtTest>

#include <Vorlo/VorloIncludes.h>
#include <VorloQtBase/exceptiondisplay.h>
#include <VorloQtWidgets/FeatureTreeProxyModel.h>
#include <VorloQtWidgets/favoritesdata.h>
#include <VorloQtWidgets/featuretreemodel.h>
#include <VorloQtWidgets/featuretreewidget.h>
#include <VorloQtWidgets/abstractitemeditor.h>
#include <VorloQtWidgets/floateditor.h>
#include <VorloQtWidgets/searchedit.h>

#include "featuretreetestsupport.h"

using namespace FeatureModelTest;
using namespace FeatureTreeTest;

Q_DECLARE_METATYPE(GenApi::EVisibility)

namespace {

// Three features named "Match..." at three levels, and one other.
QByteArray searchDescription()
{
    return descriptionHead("SearchCam") +
        "<Category Name=\"Root\">\n"
        "  <pFeature>Group</pFeature>\n"
        "  <pFeature>Second</pFeature>\n"
        "</Category>\n"
        "<Category Name=\"Group\">\n"
        "  <pFeature>MatchOne</pFeature>\n"
        "  <pFeature>MatchTwo</pFeature>\n"
        "  <pFeature>MatchThree</pFeature>\n"
        "  <pFeature>Other</pFeature>\n"
        "</Category>\n"
        "<Category Name=\"Second\">\n"
        "  <pFeature>Lonely</pFeature>\n"
        "</Category>\n"
        "<Integer Name=\"MatchOne\"><Visibility>Beginner</Visibility><Value>1</Value></Integer>\n"
        "<Integer Name=\"MatchTwo\"><Visibility>Expert</Visibility><Value>2</Value></Integer>\n"
        "<Integer Name=\"MatchThree\"><Visibility>Guru</Visibility><Value>3</Value></Integer>\n"
        "<Integer Name=\"Other\"><Value>4</Value></Integer>\n"
        "<Integer Name=\"Lonely\"><Value>5</Value></Integer>\n"
        + descriptionTail();
}

QList<Departure> modelDepartures()
{
    return {flagsOfTheInvalidIndex(), rowsUnderColumnOneIndexes(), rowAnnouncedAtOneInsertedAtZero()};
}

struct WidgetFixture
{
    explicit WidgetFixture(const QByteArray& description = searchDescription(),
                           GenApi::EVisibility level = GenApi::Expert, bool debugLevel = true)
        : camera(description.isEmpty() ? nullptr : new TestCamera(description))
        , widget(new FeatureTreeWidget(QStringLiteral("test"), nullptr, level, debugLevel))
        , watch(new ModelWatch(modelDepartures()))
    {
        proxy = qobject_cast<FeatureTreeProxyModel*>(widget->treeView()->model());
        source = proxy->getFeatureTreeModel();
        watch->watch(source);
        watch->watch(proxy);
        widget->resize(500, 700);
        widget->show();
        if (!QTest::qWaitForWindowExposed(widget))
            qWarning("widget not exposed");
        if (camera)
            widget->addNodeMap(camera->map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);
    }

    ~WidgetFixture()
    {
        watch.reset();
        delete widget;
        delete proxy;
        delete source;
    }

    FeatureTreeView* view() const { return qobject_cast<FeatureTreeView*>(widget->treeView()); }
    SearchEdit* search() const { return widget->findChild<SearchEdit*>(QStringLiteral("filterEdit")); }
    QComboBox* combo() const { return widget->findChild<QComboBox*>(QStringLiteral("comboBox")); }
    QAction* action(const char* name) const { return widget->findChild<QAction*>(QLatin1String(name)); }
    QModelIndex row(const char* nodeName, int column = 0) const
    {
        return findByNodeName(proxy, QLatin1String(nodeName), column);
    }
    QString unexpected() const { return watch->unexpected().join(QLatin1Char('\n')); }

    VorloQtBase::ExceptionRecorder recorder;
    std::unique_ptr<TestCamera> camera; // none for an empty description
    FeatureTreeWidget* widget;
    std::unique_ptr<ModelWatch> watch;
    FeatureTreeProxyModel* proxy = nullptr;
    FeatureTreeModel* source = nullptr;
};

// Runs a context menu and hands back the texts and enabled states of its entries.
QStringList runContextMenu(FeatureTreeWidget* widget)
{
    QStringList entries;
    QTimer::singleShot(0, [&entries] {
        if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
            for (QAction* action : menu->actions())
                entries << (action->isSeparator() ? QStringLiteral("-")
                                                  : action->iconText() + (action->isEnabled() ? "" : " (disabled)"));
            menu->close();
        }
    });
    QMetaObject::invokeMethod(widget, "contextualMenu", Q_ARG(QPoint, QPoint(10, 10)));
    return entries;
}

void clearFavorites(FavoritesData& favorites)
{
    while (favorites.countNodes() > 0)
        favorites.removeNode(0, nullptr);
}

} // namespace

class TestFeatureTreeWidget : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void formHasObjectNamesTextsAndShortcuts();
    void typingFirstLetterSavesExpansionAndSelectionClearingRestoresBoth();
    void summaryRowShowsThreeAndOneInBoldAndIsVisible();
    void noMatchAtHigherLevelKeepsSummaryRowHidden();
    void secondEscapeInARowClearsSearchBox();
    void escapeLetterEscapeDoesNotClearSearchBox();
    void withoutDebugLevelComboHasThreeItemsAndInvisibleSelectsMissingIndex();
    void choosingDebugSetsInvisibleAndEmitsVisibilityChanged();
    void sizeHintStays400By500WhateverTheContents();
    void contextMenuOnNonFavoriteHoldsOneEntryDisabledWhenRowCannotBeAdded();
    void contextMenuOnFavoriteHoldsMoveAndRemove();
    void removingLastFavoriteRowMakesRowAboveCurrent();
    void copyToClipboardOnEmptyTreePutsEmptyText();
    void clearLeavesNoStaleRowsInViewAndNodeMapComesBack();
    void copyToClipboardPutsTabAtColumn40OnEveryLevel();
    void pollingCheckBoxAndActionEmitAndFollowSetPolling();
    void saveAndRestoreStateKeepsColumnWidth();

    void personWorksThroughEmulatedCamera();
    void polledFeatureOfEmulatedCameraUpdatesWithoutUserAction();
    void twoWidgetsOnOneFavoritesListFollowEachOthersExpansion();
};

void TestFeatureTreeWidget::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QSettings().clear();
    qRegisterMetaType<GenApi::EVisibility>("GenApi::EVisibility");
}

void TestFeatureTreeWidget::formHasObjectNamesTextsAndShortcuts()
{
    WidgetFixture f;
    QCOMPARE(f.widget->objectName(), QStringLiteral("FeatureTreeWidgetClass"));
    QCOMPARE(f.widget->windowTitle(), QStringLiteral("FeatureTreeWidget"));
    QVERIFY(f.search());
    QCOMPARE(f.widget->findChild<QLabel*>(QStringLiteral("label"))->text(), QStringLiteral("User &Level:"));
    QCOMPARE(f.widget->findChild<QLabel*>(QStringLiteral("label"))->buddy(), static_cast<QWidget*>(f.combo()));
    QCOMPARE(f.combo()->focusPolicy(), Qt::TabFocus);
    auto* viewAll = f.widget->findChild<QCheckBox*>(QStringLiteral("checkBoxViewAllFavorites"));
    auto* polling = f.widget->findChild<QCheckBox*>(QStringLiteral("checkBoxPolling"));
    QCOMPARE(viewAll->text(), QStringLiteral("Show Unavailable Favorites"));
    QVERIFY(viewAll->isChecked());
    QCOMPARE(polling->text(), QStringLiteral("P&olling"));
    QVERIFY(polling->isChecked());
    auto* reset = f.widget->findChild<QToolButton*>(QStringLiteral("resetButton"));
    QCOMPARE(reset->toolTip(), QStringLiteral("Refresh"));
    QCOMPARE(reset->statusTip(), QStringLiteral("Refreshes the  feature tree"));
    QCOMPARE(reset->shortcut(), QKeySequence(QStringLiteral("F5")));
    QCOMPARE(reset->popupMode(), QToolButton::DelayedPopup);
    QCOMPARE(f.view()->objectName(), QStringLiteral("treeView"));
    QVERIFY(f.view()->uniformRowHeights());
    QVERIFY(f.view()->allColumnsShowFocus());
    QCOMPARE(f.view()->selectionMode(), QAbstractItemView::SingleSelection);
    QCOMPARE(f.view()->selectionBehavior(), QAbstractItemView::SelectRows);
    QCOMPARE(f.view()->header()->sectionSize(0), 200);

    struct Expected { const char* name; QString shortcut; QString text; };
    const QList<Expected> actions = {{"actionAddToFavourites", "Ctrl+D", "Add to Favorites"},
                                     {"actionMoveFavouriteUp", "Ctrl+Up", "Move Up"},
                                     {"actionMoveFavouriteDown", "Ctrl+Down", "Move Down"},
                                     {"actionRemoveFavourite", QKeySequence(QKeySequence::Delete).toString(), "Remove"}};
    for (const Expected& e : actions) {
        QAction* action = f.action(e.name);
        QVERIFY2(action, e.name);
        QCOMPARE(action->shortcut().toString(), e.shortcut);
        QCOMPARE(action->iconText(), e.text);
        QCOMPARE(action->shortcutContext(), Qt::WidgetWithChildrenShortcut);
        QVERIFY(f.widget->actions().contains(action));
    }
    QAction* toggle = f.action("actionTogglePolling");
    QVERIFY(toggle->isCheckable());
    QVERIFY(toggle->isChecked());
    QCOMPARE(toggle->text(), QStringLiteral("Polling"));
    QVERIFY(!f.widget->actions().contains(toggle));
    QVERIFY2(f.unexpected().isEmpty(), qPrintable(f.unexpected()));
}

void TestFeatureTreeWidget::typingFirstLetterSavesExpansionAndSelectionClearingRestoresBoth()
{
    WidgetFixture f;
    const QModelIndex group = f.row("Group");
    const QModelIndex second = f.row("Second");
    f.view()->expand(group);
    f.view()->collapse(second);
    const QModelIndex other = f.row("Other");
    f.view()->setCurrentIndex(other);

    QTest::keyClicks(f.search(), QStringLiteral("L"));
    QCOMPARE(f.proxy->filterRegExp().pattern(), QStringLiteral("L"));
    // The search opens the tree and moves elsewhere.
    f.view()->setCurrentIndex(f.row("Lonely"));
    QTest::keyClicks(f.search(), QStringLiteral("o"));

    f.search()->clear();
    QVERIFY(f.view()->isExpanded(f.row("Group")));
    QVERIFY(!f.view()->isExpanded(f.row("Second")));
    QCOMPARE(f.view()->currentIndex().data(FullNameRole).toString(), f.row("Other").data(FullNameRole).toString());
    QVERIFY2(f.unexpected().isEmpty(), qPrintable(f.unexpected()));
}

void TestFeatureTreeWidget::summaryRowShowsThreeAndOneInBoldAndIsVisible()
{
    WidgetFixture f;
    QSignalSpy counts(f.widget, &FeatureTreeWidget::filterMatchesChanged);
    f.search()->setText(QStringLiteral("Match"));
    QVERIFY(!counts.isEmpty());
    QCOMPARE(counts.last().at(0).toInt(), 3);
    QCOMPARE(counts.last().at(1).toInt(), 1);
    const QModelIndex summary = f.proxy->findItemByFullName(QStringLiteral("Search"), nullptr, 0);
    QVERIFY2(summary.isValid(), "the summary row passes the filter");
    QCOMPARE(summary.data(Qt::DisplayRole).toString(),
             QStringLiteral("<HTML><B>3 search results (1 of them visible at higher user level)</B>"));
    QVERIFY(!f.view()->isRowHidden(summary.row(), summary.parent()));
}

void TestFeatureTreeWidget::noMatchAtHigherLevelKeepsSummaryRowHidden()
{
    WidgetFixture f;
    QSignalSpy counts(f.widget, &FeatureTreeWidget::filterMatchesChanged);
    f.search()->setText(QStringLiteral("MatchOne"));
    QCOMPARE(counts.last().at(0).toInt(), 1);
    QCOMPARE(counts.last().at(1).toInt(), 0);
    QVERIFY(!f.proxy->findItemByFullName(QStringLiteral("Search"), nullptr, 0).isValid());
    f.search()->clear();
    QCOMPARE(counts.last().at(0).toInt(), 0);
    QCOMPARE(counts.last().at(1).toInt(), 0);
}

void TestFeatureTreeWidget::secondEscapeInARowClearsSearchBox()
{
    WidgetFixture f;
    QTest::keyClick(f.widget, Qt::Key_A); // any other key resets the pair
    f.search()->setText(QStringLiteral("Match"));
    QTest::keyClick(f.widget, Qt::Key_Escape);
    QCOMPARE(f.search()->text(), QStringLiteral("Match"));
    QTest::keyClick(f.widget, Qt::Key_Escape);
    QCOMPARE(f.search()->text(), QString());
}

void TestFeatureTreeWidget::escapeLetterEscapeDoesNotClearSearchBox()
{
    WidgetFixture f;
    QTest::keyClick(f.widget, Qt::Key_A);
    f.search()->setText(QStringLiteral("Match"));
    QTest::keyClick(f.widget, Qt::Key_Escape);
    QTest::keyClick(f.widget, Qt::Key_B);
    QTest::keyClick(f.widget, Qt::Key_Escape);
    QCOMPARE(f.search()->text(), QStringLiteral("Match"));
}

void TestFeatureTreeWidget::withoutDebugLevelComboHasThreeItemsAndInvisibleSelectsMissingIndex()
{
    WidgetFixture f(searchDescription(), GenApi::Expert, false);
    QCOMPARE(f.combo()->count(), 3);
    QCOMPARE(f.combo()->findText(QStringLiteral("Debug")), -1);
    f.widget->setVisibility(GenApi::Invisible);
    // Index 3 doesn't exist: the combo box is left without a current item.
    QCOMPARE(f.combo()->currentIndex(), -1);
}

void TestFeatureTreeWidget::choosingDebugSetsInvisibleAndEmitsVisibilityChanged()
{
    WidgetFixture f;
    QSignalSpy levels(f.widget, &FeatureTreeWidget::visibilityChanged);
    QVERIFY(levels.isValid());
    QCOMPARE(f.combo()->itemText(3), QStringLiteral("Debug"));
    f.combo()->setCurrentIndex(3);
    emit f.combo()->activated(3);
    QCOMPARE(levels.count(), 1);
    QCOMPARE(levels.at(0).at(0).value<GenApi::EVisibility>(), GenApi::Invisible);
    QCOMPARE(f.proxy->getVisibility(), GenApi::Invisible);
    // An index past the table is ignored.
    emit f.combo()->activated(4);
    QCOMPARE(levels.count(), 1);
}

void TestFeatureTreeWidget::sizeHintStays400By500WhateverTheContents()
{
    {
        WidgetFixture empty(QByteArray(), GenApi::Expert);
        QCOMPARE(empty.widget->sizeHint(), QSize(400, 500));
    }
    WidgetFixture full;
    full.widget->expandTree();
    full.widget->resize(900, 300);
    QCOMPARE(full.widget->sizeHint(), QSize(400, 500));
}

void TestFeatureTreeWidget::contextMenuOnNonFavoriteHoldsOneEntryDisabledWhenRowCannotBeAdded()
{
    WidgetFixture f;
    clearFavorites(f.proxy->GetFavorites());
    f.view()->setCurrentIndex(f.row("Group")); // a category can't be a favorite
    QCOMPARE(runContextMenu(f.widget), QStringList({QStringLiteral("Add to Favorites (disabled)")}));
    f.view()->setCurrentIndex(f.row("Other"));
    QCOMPARE(runContextMenu(f.widget), QStringList({QStringLiteral("Add to Favorites")}));
}

void TestFeatureTreeWidget::contextMenuOnFavoriteHoldsMoveAndRemove()
{
    WidgetFixture f;
    clearFavorites(f.proxy->GetFavorites());
    f.view()->setCurrentIndex(f.row("Other"));
    f.action("actionAddToFavourites")->trigger();
    const QModelIndex favorite = f.proxy->findItemByFullName(QStringLiteral("Fav*cam*Other"), nullptr, 0);
    QVERIFY(favorite.isValid());
    f.view()->setCurrentIndex(favorite);
    const QStringList entries = runContextMenu(f.widget);
    QCOMPARE(entries.size(), 4);
    QCOMPARE(entries.at(0).section(' ', 0, 1), QStringLiteral("Move Up"));
    QCOMPARE(entries.at(1).section(' ', 0, 1), QStringLiteral("Move Down"));
    QCOMPARE(entries.at(2), QStringLiteral("-"));
    QCOMPARE(entries.at(3), QStringLiteral("Remove"));
    clearFavorites(f.proxy->GetFavorites());
}

void TestFeatureTreeWidget::removingLastFavoriteRowMakesRowAboveCurrent()
{
    // No node map: the favorites stand as unavailable rows and are the tree's last rows.
    WidgetFixture f{QByteArray()};
    FavoritesData& favorites = f.proxy->GetFavorites();
    clearFavorites(favorites);
    f.widget->setViewAllFavorites(true);
    favorites.appendNode({GenICam::gcstring("First"), QStringLiteral("First"), QStringLiteral("gone")});
    favorites.appendNode({GenICam::gcstring("Last"), QStringLiteral("Last"), QStringLiteral("gone")});
    const QModelIndex root = f.proxy->GetFavoritesRootIndex();
    f.view()->expand(root);
    QCOMPARE(f.proxy->rowCount(root), 2);
    const QModelIndex last = f.proxy->index(1, 0, root);
    f.view()->setCurrentIndex(last);
    QVERIFY(!f.view()->indexBelow(last).isValid());

    QVERIFY(f.action("actionRemoveFavourite")->isEnabled());
    f.action("actionRemoveFavourite")->trigger();
    QCOMPARE(favorites.countNodes(), 1);
    QCOMPARE(f.view()->currentIndex().data(Qt::DisplayRole).toString(), QStringLiteral("First"));
    clearFavorites(favorites);
}

void TestFeatureTreeWidget::copyToClipboardOnEmptyTreePutsEmptyText()
{
    WidgetFixture f;
    // A search that matches nothing leaves no row at all.
    f.search()->setText(QStringLiteral("nothing is called like this"));
    QCOMPARE(f.proxy->rowCount(), 0);
    QApplication::clipboard()->setText(QStringLiteral("something before"));
    f.widget->copyToClipboard();
    QCOMPARE(QApplication::clipboard()->text(QClipboard::Clipboard), QString());
}

void TestFeatureTreeWidget::copyToClipboardPutsTabAtColumn40OnEveryLevel()
{
    WidgetFixture f;
    f.widget->copyToClipboard();
    const QStringList lines = QApplication::clipboard()->text().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QVERIFY(lines.size() >= 8);
    int depthTwo = 0;
    for (const QString& line : lines) {
        // The tab stands at 40, unless the indented name is longer than its field.
        const int tab = line.indexOf(QLatin1Char('\t'));
        const QString head = line.left(tab);
        const int indent = head.size() - QString(head).remove(QRegularExpression(QStringLiteral("^ +"))).size();
        const int nameLength = head.trimmed().size();
        QCOMPARE(tab, qMax(40, indent + nameLength));
        if (line.startsWith(QLatin1String("    M")))
            ++depthTwo;
    }
    // Collapsed branches are dumped too: the features below "Group" at depth 2.
    QVERIFY(lines.contains(QStringLiteral("    %1\t2").arg(QStringLiteral("MatchTwo"), -36)));
    QVERIFY(depthTwo >= 2);
}

void TestFeatureTreeWidget::pollingCheckBoxAndActionEmitAndFollowSetPolling()
{
    WidgetFixture f;
    QSignalSpy polling(f.widget, &FeatureTreeWidget::pollingStateChanged);
    auto* box = f.widget->findChild<QCheckBox*>(QStringLiteral("checkBoxPolling"));
    box->click();
    QCOMPARE(polling.count(), 1);
    QCOMPARE(polling.at(0).at(0).toBool(), false);
    // The application answers; the action follows without a signal.
    f.widget->setPolling(false);
    QCOMPARE(polling.count(), 1);
    QVERIFY(!f.action("actionTogglePolling")->isChecked());
    QVERIFY(!f.widget->getPolling());
    f.action("actionTogglePolling")->trigger();
    QCOMPARE(polling.count(), 2);
    QCOMPARE(polling.at(1).at(0).toBool(), true);
}

void TestFeatureTreeWidget::saveAndRestoreStateKeepsColumnWidth()
{
    WidgetFixture f;
    f.view()->header()->resizeSection(0, 260);
    const QByteArray state = f.widget->saveState(7);
    f.view()->header()->resizeSection(0, 120);
    QVERIFY(f.widget->restoreState(state, 7));
    QCOMPARE(f.view()->header()->sectionSize(0), 260);
    QVERIFY(!f.widget->restoreState(state, 8));
}

namespace {

struct EmulatedCamera
{
    EmulatedCamera()
    {
        Vorlo::CTlFactory& factory = Vorlo::CTlFactory::GetInstance();
        factory.SetCamEmuDeviceCount(1);
        Vorlo::DeviceInfoList list;
        factory.CreateTl(Vorlo::DeviceClassCamEmu)->EnumerateDevices(list);
        if (!list.empty()) {
            device = factory.CreateDevice(list.at(0));
            device->Open();
            map = device->GetNodeMap();
        }
    }
    ~EmulatedCamera()
    {
        if (device)
            Vorlo::CTlFactory::GetInstance().DestroyDevice(device);
    }
    Vorlo::IVorloDevice* device = nullptr;
    GenApi::INodeMap* map = nullptr;
};

} // namespace

void TestFeatureTreeWidget::clearLeavesNoStaleRowsInViewAndNodeMapComesBack()
{
    WidgetFixture f;
    f.view()->expand(f.row("Group"));
    f.view()->setCurrentIndex(f.row("MatchOne"));
    QTest::keyClicks(f.search(), QStringLiteral("Match"));
    QVERIFY(f.view()->visualRect(f.row("MatchTwo")).isValid());

    f.widget->clear();
    QCOMPARE(f.proxy->rowCount(), 0);
    QVERIFY(!f.view()->currentIndex().isValid());
    // The view walks its rows when it paints and when the search runs: none of them may
    // still point into the deleted rows.
    f.view()->viewport()->repaint();
    f.search()->clear();
    QTest::keyClicks(f.search(), QStringLiteral("Lo"));
    f.search()->clear();

    f.widget->addNodeMap(f.camera->map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);
    const QModelIndex group = f.row("Group");
    QVERIFY(group.isValid());
    f.view()->expand(group);
    QVERIFY(f.view()->visualRect(f.row("MatchOne")).isValid());
    f.view()->setCurrentIndex(f.row("MatchOne"));
    QCOMPARE(f.widget->GetCurrentNode()->GetName(), GenICam::gcstring("MatchOne"));
    QVERIFY2(f.unexpected().isEmpty(), qPrintable(f.unexpected()));
}

void TestFeatureTreeWidget::personWorksThroughEmulatedCamera()
{
    EmulatedCamera camera;
    QVERIFY(camera.map);
    WidgetFixture f(QByteArray(), GenApi::Guru);
    f.widget->addNodeMap(camera.map, QStringLiteral("Emulated camera"), QStringLiteral("Device"), false);
    f.widget->setPolling(false);

    // Expand a category.
    const QModelIndex acquisition = f.row("AcquisitionControl");
    QVERIFY(acquisition.isValid());
    f.view()->expand(acquisition);
    QVERIFY(f.view()->isExpanded(acquisition));

    // Type a value into the float editor and press Return.
    const QModelIndex exposure = f.row("ExposureTime", 1);
    // Editors come with the rows in view: scroll there as a person would.
    f.view()->scrollTo(exposure);
    QTRY_VERIFY(f.view()->indexWidget(exposure) != nullptr);
    QWidget* editor = f.view()->indexWidget(exposure);
    QVERIFY(editor);
    QVERIFY2(dynamic_cast<AbstractItemEditor*>(editor), editor->metaObject()->className());
    GenApi::CFloatPtr exposureNode(camera.map->GetNode("ExposureTime"));
    auto* line = editor->findChild<QLineEdit*>();
    QVERIFY(line);
    line->setFocus();
    line->selectAll();
    QTest::keyClicks(line, QStringLiteral("5000"));
    QTest::keyClick(line, Qt::Key_Return);
    QTRY_COMPARE(qRound(exposureNode->GetValue()), 5000);

    // Step it with the arrow key.
    const double before = exposureNode->GetValue();
    QTest::keyClick(line, Qt::Key_Up);
    QTRY_VERIFY(exposureNode->GetValue() > before);

    // Pick an enumeration entry.
    const QModelIndex imageFormat = f.row("ImageFormatControl");
    f.view()->expand(imageFormat);
    const QModelIndex pixelFormat = f.row("PixelFormat", 1);
    f.view()->scrollTo(pixelFormat);
    QTRY_VERIFY(f.view()->indexWidget(pixelFormat) != nullptr);
    auto* combo = qobject_cast<QComboBox*>(f.view()->indexWidget(pixelFormat));
    QVERIFY(combo);
    GenApi::CEnumerationPtr pixelNode(camera.map->GetNode("PixelFormat"));
    const QString wanted = combo->itemText(combo->count() - 1);
    combo->setCurrentIndex(combo->count() - 1);
    emit combo->activated(combo->count() - 1);
    QTRY_COMPARE(QString::fromLatin1(pixelNode->ToString().c_str()), wanted);

    // Tick a boolean.
    const QModelIndex reverse = f.row("ReverseX", 1);
    f.view()->scrollTo(reverse);
    QTRY_VERIFY(f.view()->indexWidget(reverse) != nullptr);
    auto* check = qobject_cast<QAbstractButton*>(f.view()->indexWidget(reverse));
    GenApi::CBooleanPtr reverseNode(camera.map->GetNode("ReverseX"));
    const bool wasReversed = reverseNode->GetValue();
    check->click();
    QTRY_COMPARE(reverseNode->GetValue(), !wasReversed);

    // Press a command button: loading the default user set brings the exposure time back
    // to the camera's factory value (2000 steps of 10 microseconds).
    GenApi::CEnumerationPtr userSetSelector(camera.map->GetNode("UserSetSelector"));
    userSetSelector->FromString("Default");
    const QModelIndex userSets = f.row("UserSetControl");
    QVERIFY(userSets.isValid());
    f.view()->scrollTo(userSets, QAbstractItemView::PositionAtTop);
    f.view()->expand(userSets);
    const QModelIndex userSetLoad = f.row("UserSetLoad", 1);
    QTRY_VERIFY(f.view()->indexWidget(userSetLoad) != nullptr);
    auto* execute = qobject_cast<QToolButton*>(f.view()->indexWidget(userSetLoad));
    QVERIFY(execute);
    QCOMPARE(execute->text(), QStringLiteral("Execute"));
    QVERIFY(qRound(exposureNode->GetValue(false, true)) != 20000);
    QTest::mouseClick(execute, Qt::LeftButton);
    QTRY_COMPARE(qRound(exposureNode->GetValue(false, true)), 20000);

    // Change the user level and see rows hide and show.
    const QModelIndex temperatureRow = f.row("DeviceTemperature");
    QVERIFY(temperatureRow.isValid());
    f.combo()->setCurrentIndex(0);
    emit f.combo()->activated(0);
    QVERIFY(!f.row("DeviceTemperature").isValid() || f.view()->isRowHidden(f.row("DeviceTemperature").row(), f.row("DeviceTemperature").parent()));
    f.combo()->setCurrentIndex(2);
    emit f.combo()->activated(2);
    QVERIFY(f.row("DeviceTemperature").isValid());

    // Search, read the counts, clear with Escape twice.
    f.view()->setCurrentIndex(f.row("ExposureTime"));
    QSignalSpy counts(f.widget, &FeatureTreeWidget::filterMatchesChanged);
    // At Expert, three features of the camera have "gain" in their names: Gain and GainAuto
    // (Beginner) show, GainRaw (Guru) waits at a higher level.
    f.combo()->setCurrentIndex(1);
    emit f.combo()->activated(1);
    QTest::keyClicks(f.search(), QStringLiteral("Gain"));
    QVERIFY(!counts.isEmpty());
    QCOMPARE(counts.last().at(0).toInt(), 3);
    QCOMPARE(counts.last().at(1).toInt(), 1);
    const QModelIndex summary = f.proxy->findItemByFullName(QStringLiteral("Search"), nullptr, 0);
    QVERIFY(summary.isValid());
    QVERIFY(!f.view()->isRowHidden(summary.row(), summary.parent()));
    QCOMPARE(summary.data(Qt::DisplayRole).toString(),
             QStringLiteral("<HTML><B>3 search results (1 of them visible at higher user level)</B>"));
    QVERIFY(f.row("GainAuto").isValid());
    QVERIFY(!f.row("GainRaw").isValid());
    QTest::keyClick(f.widget, Qt::Key_A);
    QTest::keyClick(f.widget, Qt::Key_Escape);
    QTest::keyClick(f.widget, Qt::Key_Escape);
    QCOMPARE(f.search()->text(), QString());
    QVERIFY(f.view()->isExpanded(f.row("AcquisitionControl")));
    QCOMPARE(f.view()->currentIndex().data(FullNameRole).toString(), f.row("ExposureTime").data(FullNameRole).toString());

    // Add a favorite with Ctrl+D, move it, remove it.
    clearFavorites(f.proxy->GetFavorites());
    f.view()->setFocus();
    f.view()->setCurrentIndex(f.row("ExposureTime"));
    QVERIFY(f.action("actionAddToFavourites")->isEnabled());
    QTest::keySequence(f.view(), QKeySequence(QStringLiteral("Ctrl+D")));
    QCOMPARE(f.proxy->GetFavorites().countNodes(), 1);
    f.view()->setCurrentIndex(f.row("Gain"));
    f.action("actionAddToFavourites")->trigger();
    QCOMPARE(f.proxy->GetFavorites().countNodes(), 2);
    QCOMPARE(QString::fromLatin1(f.proxy->GetFavorites().nodeAt(1)->nodeName.c_str()), QStringLiteral("Gain"));
    const QModelIndex gainFavorite = f.proxy->findItemByFullName(QStringLiteral("Fav*Device*Gain"), nullptr, 0);
    QVERIFY(gainFavorite.isValid());
    f.view()->setCurrentIndex(gainFavorite);
    f.action("actionMoveFavouriteUp")->trigger();
    QCOMPARE(QString::fromLatin1(f.proxy->GetFavorites().nodeAt(0)->nodeName.c_str()), QStringLiteral("Gain"));
    f.view()->setCurrentIndex(f.proxy->findItemByFullName(QStringLiteral("Fav*Device*Gain"), nullptr, 0));
    f.action("actionRemoveFavourite")->trigger();
    QCOMPARE(f.proxy->GetFavorites().countNodes(), 1);
    clearFavorites(f.proxy->GetFavorites());

    // Copy to the clipboard and compare a line.
    f.widget->copyToClipboard();
    const QString text = QApplication::clipboard()->text();
    const QString expectedLine = QStringLiteral("    %1\t%2")
                             .arg(f.row("ExposureTime").data().toString(), -36)
                             .arg(f.row("ExposureTime", 1).data().toString());
    QVERIFY2(text.contains(expectedLine), qPrintable(expectedLine));
    QVERIFY2(f.unexpected().isEmpty(), qPrintable(f.unexpected()));
}

void TestFeatureTreeWidget::polledFeatureOfEmulatedCameraUpdatesWithoutUserAction()
{
    EmulatedCamera camera;
    QVERIFY(camera.map);
    WidgetFixture f(QByteArray(), GenApi::Guru);
    f.widget->addNodeMap(camera.map, QStringLiteral("Emulated camera"), QStringLiteral("Device"), false);
    f.widget->setPolling(true);
    f.view()->expand(f.row("DeviceControl"));
    const QModelIndex temperature = f.row("DeviceTemperature", 1);
    QVERIFY(temperature.isValid());
    const QString first = temperature.data().toString();
    QTRY_VERIFY_WITH_TIMEOUT(f.row("DeviceTemperature", 1).data().toString() != first, 20000);
}

void TestFeatureTreeWidget::twoWidgetsOnOneFavoritesListFollowEachOthersExpansion()
{
    WidgetFixture first;
    auto* second = new FeatureTreeWidget(QStringLiteral("second"), nullptr, GenApi::Expert, true);
    auto* secondView = qobject_cast<FeatureTreeView*>(second->treeView());
    auto* secondProxy = qobject_cast<FeatureTreeProxyModel*>(secondView->model());
    FeatureTreeModel* secondSource = secondProxy->getFeatureTreeModel();
    first.watch->watch(secondProxy);
    first.watch->watch(secondSource);
    second->show();
    second->addNodeMap(first.camera->map(), QStringLiteral("Camera"), QStringLiteral("cam"), false);

    first.view()->collapse(first.proxy->GetFavoritesRootIndex());
    QVERIFY(!secondView->isExpanded(secondProxy->GetFavoritesRootIndex()));
    first.view()->expand(first.proxy->GetFavoritesRootIndex());
    QVERIFY(secondView->isExpanded(secondProxy->GetFavoritesRootIndex()));
    secondView->collapse(secondProxy->GetFavoritesRootIndex());
    QVERIFY(!first.view()->isExpanded(first.proxy->GetFavoritesRootIndex()));
    QVERIFY2(first.unexpected().isEmpty(), qPrintable(first.unexpected()));

    first.watch.reset();
    delete second;
    delete secondProxy;
    delete secondSource;
}

QTEST_MAIN(TestFeatureTreeWidget)
#include "tst_featuretreewidget.moc"
