// The signal blocking scope guard: blocks while it lives and puts back the earlier state.

#include <QSignalSpy>
#include <QtTest>

#include <VorloQtWidgets/signalblocker.h>

class TestSignalBlocker : public QObject
{
    Q_OBJECT

private slots:
    void blocksWhileAliveAndRestores();
    void nestedGuardsKeepOuterBlock();
};

void TestSignalBlocker::blocksWhileAliveAndRestores()
{
    QObject object;
    QSignalSpy nameChanges(&object, &QObject::objectNameChanged);
    {
        SignalBlocker blocker(&object);
        QVERIFY(object.signalsBlocked());
        object.setObjectName(QStringLiteral("quiet"));
        QCOMPARE(nameChanges.count(), 0);
    }
    QVERIFY(!object.signalsBlocked());
    object.setObjectName(QStringLiteral("loud"));
    QCOMPARE(nameChanges.count(), 1);
}

void TestSignalBlocker::nestedGuardsKeepOuterBlock()
{
    QObject object;
    object.blockSignals(true);
    {
        SignalBlocker inner(&object);
        QVERIFY(object.signalsBlocked());
    }
    QVERIFY(object.signalsBlocked());
    object.blockSignals(false);
    {
        SignalBlocker outer(&object);
        {
            SignalBlocker inner(&object);
        }
        QVERIFY(object.signalsBlocked());
    }
    QVERIFY(!object.signalsBlocked());
}

QTEST_MAIN(TestSignalBlocker)
#include "tst_signalblocker.moc"
