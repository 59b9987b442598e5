#include <QAbstractItemModelTester>
#include <QDataStream>
#include <QHeaderView>
#include <QStandardItemModel>
#include <QTest>
#include <QTreeView>
#include <QVBoxLayout>

#include <VorloQtWidgets/treewidgetbase.h>

namespace {

// A tree widget with three columns and a tail of one string.
class ThreeColumnTree : public TreeWidgetBase
{
public:
    ThreeColumnTree()
    {
        m_model.setColumnCount(3);
        m_model.appendRow({new QStandardItem("a"), new QStandardItem("b"), new QStandardItem("c")});
        m_view = new QTreeView(this);
        m_view->setModel(&m_model);
        m_view->header()->setStretchLastSection(false);
        auto* layout = new QVBoxLayout(this);
        layout->addWidget(m_view);
        m_view->header()->resizeSection(0, 100);
        m_view->header()->resizeSection(1, 110);
        m_view->header()->resizeSection(2, 120);
    }

    QTreeView* treeView() override { return m_view; }
    void onSaveState(QDataStream& stream) override { stream << m_tail; }
    void onRestoreState(QDataStream& stream) override
    {
        ++m_restoreCalls;
        stream >> m_tail;
    }

    QString sizes() const
    {
        QStringList parts;
        for (int i = 0; i < m_view->header()->count(); ++i)
            parts << QString::number(m_view->header()->sectionSize(i));
        return parts.join(',');
    }

    QStandardItemModel m_model;
    QTreeView* m_view = nullptr;
    QString m_tail;
    int m_restoreCalls = 0;
};

class TreelessWidget : public TreeWidgetBase
{
public:
    QTreeView* treeView() override { return nullptr; }
    void onSaveState(QDataStream& stream) override { stream << qint32(7); }
};

QByteArray makeState(qint32 version, const QList<qint32>& ints)
{
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    stream << version;
    for (qint32 value : ints)
        stream << value;
    return data;
}

} // namespace

class TestTreeWidgetBase : public QObject
{
    Q_OBJECT

private slots:
    void saveStateLayout();
    void roundTripRestoresWidthsAndTail();
    void restoreWithOtherVersionChangesNothing();
    void restoreOfEmptyArrayReturnsFalse();
    void widgetWithoutTreeViewSavesEmptyArray();
    void lastColumnWidthIsReadButNotApplied();
    void restoreWithOtherSectionCountReturnsFalse();
    void truncatedStateKeepsEarlierSections();
};

void TestTreeWidgetBase::saveStateLayout()
{
    ThreeColumnTree tree;
    QAbstractItemModelTester tester(&tree.m_model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    tree.m_tail = "tail";
    QByteArray state = tree.saveState(5);
    QDataStream stream(state);
    qint32 version = 0, count = 0, s0 = 0, s1 = 0, s2 = 0;
    QString tail;
    stream >> version >> count >> s0 >> s1 >> s2 >> tail;
    QCOMPARE(stream.status(), QDataStream::Ok);
    QCOMPARE(version, 5);
    QCOMPARE(count, 3);
    QCOMPARE(QList<qint32>({s0, s1, s2}), QList<qint32>({100, 110, 120}));
    QCOMPARE(tail, QString("tail"));
    QVERIFY(stream.atEnd());
}

void TestTreeWidgetBase::roundTripRestoresWidthsAndTail()
{
    ThreeColumnTree source;
    source.m_view->header()->resizeSection(0, 61);
    source.m_view->header()->resizeSection(1, 62);
    source.m_tail = "expanded";
    const QByteArray state = source.saveState(2);

    ThreeColumnTree target;
    QAbstractItemModelTester tester(&target.m_model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QVERIFY(target.restoreState(state, 2));
    QCOMPARE(target.sizes(), QString("61,62,120"));
    QCOMPARE(target.m_tail, QString("expanded"));
    QCOMPARE(target.m_restoreCalls, 1);
}

void TestTreeWidgetBase::restoreWithOtherVersionChangesNothing()
{
    ThreeColumnTree source;
    source.m_view->header()->resizeSection(0, 40);
    source.m_tail = "x";
    const QByteArray state = source.saveState(1);

    ThreeColumnTree target;
    QAbstractItemModelTester tester(&target.m_model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QVERIFY(!target.restoreState(state, 2));
    QCOMPARE(target.sizes(), QString("100,110,120"));
    QCOMPARE(target.m_restoreCalls, 0);
    QVERIFY(target.m_tail.isEmpty());
}

void TestTreeWidgetBase::restoreOfEmptyArrayReturnsFalse()
{
    ThreeColumnTree tree;
    QAbstractItemModelTester tester(&tree.m_model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QVERIFY(!tree.restoreState(QByteArray(), 0));
    QCOMPARE(tree.sizes(), QString("100,110,120"));
    QCOMPARE(tree.m_restoreCalls, 0);
}

void TestTreeWidgetBase::widgetWithoutTreeViewSavesEmptyArray()
{
    TreelessWidget widget;
    QVERIFY(widget.saveState(1).isEmpty());
    QVERIFY(!widget.restoreState(makeState(1, {0}), 1));
}

void TestTreeWidgetBase::lastColumnWidthIsReadButNotApplied()
{
    ThreeColumnTree tree;
    QAbstractItemModelTester tester(&tree.m_model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QByteArray state = makeState(3, {3, 50, 51, 52});
    {
        QDataStream stream(&state, QIODevice::Append);
        stream << QString("after last");
    }
    QVERIFY(tree.restoreState(state, 3));
    QCOMPARE(tree.sizes(), QString("50,51,120"));
    // The tail starts right after the last width, so that width was read.
    QCOMPARE(tree.m_tail, QString("after last"));
}

void TestTreeWidgetBase::restoreWithOtherSectionCountReturnsFalse()
{
    ThreeColumnTree tree;
    QAbstractItemModelTester tester(&tree.m_model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QVERIFY(!tree.restoreState(makeState(1, {2, 50, 51}), 1));
    QCOMPARE(tree.sizes(), QString("100,110,120"));
    QCOMPARE(tree.m_restoreCalls, 0);
}

void TestTreeWidgetBase::truncatedStateKeepsEarlierSections()
{
    ThreeColumnTree tree;
    QAbstractItemModelTester tester(&tree.m_model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    QVERIFY(!tree.restoreState(makeState(1, {3, 70}), 1));
    QCOMPARE(tree.sizes(), QString("70,110,120"));
    QCOMPARE(tree.m_restoreCalls, 0);
}

QTEST_MAIN(TestTreeWidgetBase)
#include "tst_treewidgetbase.moc"
