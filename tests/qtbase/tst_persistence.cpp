#include <VorloQtBase/persistence.h>

#include <QApplication>
#include <QHeaderView>
#include <QScreen>
#include <QSettings>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTreeView>
#include <QtTest>

#include <memory>

class tst_Persistence : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void headerLayoutRoundTrip();
    void headerLayoutOtherVersionIsNotRestored();
    void headerLayoutMissingIsNotFound();
    void headerLayoutStaysInCallersGroup();
    void widgetGeometryRoundTrip();
    void widgetGeometryRelativeToParentWindow();
    void widgetGeometryMissingIsNotFound();
    void widgetGeometryOffScreenIsClamped();
    void widgetGeometryLargerThanScreenIsShrunk();
    void nullArgumentsAreIgnored();

private:
    std::unique_ptr<QSettings> makeSettings();
    QTemporaryDir m_dir;
    int m_counter = 0;
};

std::unique_ptr<QSettings> tst_Persistence::makeSettings()
{
    return std::make_unique<QSettings>(m_dir.filePath(QStringLiteral("settings%1.ini").arg(m_counter)),
                                       QSettings::IniFormat);
}

void tst_Persistence::init()
{
    QVERIFY(m_dir.isValid());
    ++m_counter;
}

static void fillModel(QStandardItemModel& model)
{
    model.setColumnCount(3);
    model.setHorizontalHeaderLabels({"Name", "Value", "Unit"});
}

void tst_Persistence::headerLayoutRoundTrip()
{
    QStandardItemModel model;
    fillModel(model);
    QTreeView view;
    view.setModel(&model);
    view.header()->resizeSection(0, 240);
    view.header()->resizeSection(1, 77);
    view.header()->moveSection(2, 0);
    view.header()->setSectionHidden(1, true);

    auto settings = makeSettings();
    settings->beginGroup(QStringLiteral("Bandwidth"));
    saveHeaderLayout(settings.get(), 7, view.header());
    settings->endGroup();

    QTreeView other;
    other.setModel(&model);
    settings->beginGroup(QStringLiteral("Bandwidth"));
    QVERIFY(restoreHeaderLayout(settings.get(), 7, other.header()));
    settings->endGroup();
    QCOMPARE(other.header()->sectionSize(0), 240);
    QCOMPARE(other.header()->visualIndex(2), 0);
    QVERIFY(other.header()->isSectionHidden(1));
}

void tst_Persistence::headerLayoutOtherVersionIsNotRestored()
{
    QStandardItemModel model;
    fillModel(model);
    QTreeView view;
    view.setModel(&model);
    view.header()->resizeSection(0, 240);
    auto settings = makeSettings();
    saveHeaderLayout(settings.get(), 6, view.header());

    QTreeView other;
    other.setModel(&model);
    const int before = other.header()->sectionSize(0);
    QVERIFY(!restoreHeaderLayout(settings.get(), 7, other.header()));
    QCOMPARE(other.header()->sectionSize(0), before);
}

void tst_Persistence::headerLayoutMissingIsNotFound()
{
    QStandardItemModel model;
    fillModel(model);
    QTreeView view;
    view.setModel(&model);
    auto settings = makeSettings();
    QVERIFY(!restoreHeaderLayout(settings.get(), 7, view.header()));
}

void tst_Persistence::headerLayoutStaysInCallersGroup()
{
    QStandardItemModel model;
    fillModel(model);
    QTreeView view;
    view.setModel(&model);
    auto settings = makeSettings();
    settings->beginGroup(QStringLiteral("Outer"));
    settings->beginGroup(QStringLiteral("Inner"));
    saveHeaderLayout(settings.get(), 1, view.header());
    settings->endGroup();
    settings->endGroup();
    QCOMPARE(settings->childGroups(), QStringList{QStringLiteral("Outer")});
    QVERIFY(settings->childKeys().isEmpty());
    settings->beginGroup(QStringLiteral("Outer/Inner"));
    QVERIFY(settings->contains(QStringLiteral("HeaderState")));
    QCOMPARE(settings->value(QStringLiteral("HeaderLayoutVersion")).toInt(), 1);
    settings->endGroup();
    // Another group holds nothing.
    settings->beginGroup(QStringLiteral("Elsewhere"));
    QVERIFY(!restoreHeaderLayout(settings.get(), 1, view.header()));
    settings->endGroup();
}

void tst_Persistence::widgetGeometryRoundTrip()
{
    QWidget window;
    window.resize(300, 200);
    window.move(50, 60);
    auto settings = makeSettings();
    settings->beginGroup(QStringLiteral("Dialog"));
    saveWidgetPositionAndSize(settings.get(), &window, nullptr);
    settings->endGroup();
    QCOMPARE(settings->childGroups(), QStringList{QStringLiteral("Dialog")});

    QWidget other;
    settings->beginGroup(QStringLiteral("Dialog"));
    QVERIFY(restoreWidgetPositionAndSize(settings.get(), &other, nullptr));
    settings->endGroup();
    QCOMPARE(other.size(), QSize(300, 200));
    QCOMPARE(other.pos(), QPoint(50, 60));
}

void tst_Persistence::widgetGeometryRelativeToParentWindow()
{
    QWidget parent;
    parent.move(100, 100);
    parent.resize(400, 400);
    QWidget window;
    window.move(130, 150);
    window.resize(200, 100);
    auto settings = makeSettings();
    saveWidgetPositionAndSize(settings.get(), &window, &parent);
    QCOMPARE(settings->value(QStringLiteral("Position")).toPoint(), QPoint(30, 50));

    parent.move(10, 20);
    QWidget other;
    QVERIFY(restoreWidgetPositionAndSize(settings.get(), &other, &parent));
    QCOMPARE(other.pos(), QPoint(40, 70));
    QCOMPARE(other.size(), QSize(200, 100));
}

void tst_Persistence::widgetGeometryMissingIsNotFound()
{
    QWidget window;
    window.resize(123, 45);
    auto settings = makeSettings();
    QVERIFY(!restoreWidgetPositionAndSize(settings.get(), &window, nullptr));
    QCOMPARE(window.size(), QSize(123, 45));
}

void tst_Persistence::widgetGeometryOffScreenIsClamped()
{
    QScreen* screen = QGuiApplication::primaryScreen();
    QVERIFY(screen);
    const QRect area = screen->availableGeometry();
    auto settings = makeSettings();
    settings->setValue(QStringLiteral("Position"), QPoint(area.right() + 5000, area.bottom() + 5000));
    settings->setValue(QStringLiteral("Size"), QSize(200, 100));
    QWidget window;
    QVERIFY(restoreWidgetPositionAndSize(settings.get(), &window, nullptr));
    QCOMPARE(window.size(), QSize(200, 100));
    QCOMPARE(window.pos(), QPoint(area.right() - 200 + 1, area.bottom() - 100 + 1));

    settings->setValue(QStringLiteral("Position"), QPoint(-9000, -9000));
    QVERIFY(restoreWidgetPositionAndSize(settings.get(), &window, nullptr));
    QCOMPARE(window.pos(), area.topLeft());
}

void tst_Persistence::widgetGeometryLargerThanScreenIsShrunk()
{
    QScreen* screen = QGuiApplication::primaryScreen();
    QVERIFY(screen);
    const QRect area = screen->availableGeometry();
    auto settings = makeSettings();
    settings->setValue(QStringLiteral("Position"), QPoint(area.left() + 10, area.top() + 10));
    settings->setValue(QStringLiteral("Size"), QSize(area.width() * 3, area.height() * 2));
    QWidget window;
    QVERIFY(restoreWidgetPositionAndSize(settings.get(), &window, nullptr));
    QCOMPARE(window.size(), area.size());
    QCOMPARE(window.pos(), area.topLeft());
}

void tst_Persistence::nullArgumentsAreIgnored()
{
    QWidget window;
    QHeaderView header(Qt::Horizontal);
    auto settings = makeSettings();
    saveHeaderLayout(nullptr, 1, &header);
    saveHeaderLayout(settings.get(), 1, nullptr);
    saveWidgetPositionAndSize(nullptr, &window, nullptr);
    saveWidgetPositionAndSize(settings.get(), nullptr, nullptr);
    QVERIFY(settings->allKeys().isEmpty());
    QVERIFY(!restoreHeaderLayout(nullptr, 1, &header));
    QVERIFY(!restoreWidgetPositionAndSize(settings.get(), nullptr, nullptr));
}

QTEST_MAIN(tst_Persistence)
#include "tst_persistence.moc"
