#include <VorloQtWidgets/messageboxcheckable.h>

#include <QApplication>
#include <QCheckBox>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <functional>

class tst_MessageBoxCheckable : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void freshKeyShowsBoxWithCheckBox();
    void storedKeyShowsNothingAndReturnsStoredValue_data();
    void storedKeyShowsNothingAndReturnsStoredValue();
    void tickedBoxAndButtonInMaskStoresAnswer();
    void tickedBoxAndButtonOutsideMaskStoresNothing();
    void untickedBoxStoresNothing();
    void maskLeftAtZeroStoresOnlyZero();
    void sameObjectShowsAgainAfterStoring();
    void emptyKeyUsesEmptyNameAndResetRefusesIt();
    void setCheckBoxTextEmptyRestoresDefaultWhileVisibleCheckBoxGoesEmpty();
    void resetForgetsOneKey();
    void afterResetAllBoxesShowAgainFromNextConstruction();
    void addCheckBoxWidgetOnlyOnce();
    void storedValueThatIsNoNumberReadsAsZero();

private:
    // Runs exec() while `person` acts on the shown box from the event loop.
    int execAnswering(MessageBoxCheckable& box, std::function<void(MessageBoxCheckable&)> person,
                      bool* shown = nullptr);
    static int stored(const QString& key);

    QTemporaryDir m_settingsDir;
};

void tst_MessageBoxCheckable::initTestCase()
{
    QVERIFY(m_settingsDir.isValid());
    QCoreApplication::setOrganizationName(QStringLiteral("VorloTest"));
    QCoreApplication::setApplicationName(QStringLiteral("tst_messageboxcheckable"));
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_settingsDir.path());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_settingsDir.path());
}

void tst_MessageBoxCheckable::init()
{
    QSettings settings;
    settings.clear();
}

int tst_MessageBoxCheckable::stored(const QString& key)
{
    QSettings settings;
    return settings.value(QStringLiteral("DoNotShowAgain/") + key, -1).toInt();
}

int tst_MessageBoxCheckable::execAnswering(MessageBoxCheckable& box,
                                           std::function<void(MessageBoxCheckable&)> person,
                                           bool* shown)
{
    bool sawBox = false;
    QTimer::singleShot(0, &box, [&] {
        sawBox = box.isVisible();
        person(box);
    });
    // Safety net: a box that is still open after the person acted is closed.
    QTimer guard;
    guard.setSingleShot(true);
    connect(&guard, &QTimer::timeout, &box, [&box] { box.done(QMessageBox::Cancel); });
    guard.start(5000);
    const int result = box.exec();
    guard.stop();
    if (shown)
        *shown = sawBox;
    return result;
}

void tst_MessageBoxCheckable::freshKeyShowsBoxWithCheckBox()
{
    MessageBoxCheckable box(QStringLiteral("fresh"), QMessageBox::Question, QStringLiteral("Title"),
                            QStringLiteral("Delete it?"), QMessageBox::Yes | QMessageBox::No, nullptr);
    QVERIFY(box.checkBox());
    QCOMPARE(box.checkBox()->text(), QStringLiteral("&Do not show this message again"));
    QCOMPARE(box.checkBoxText(), QStringLiteral("&Do not show this message again"));
    QCOMPARE(int(box.saveResultOnButton()), 0);
    bool shown = false;
    bool checkBoxVisible = false;
    const int result = execAnswering(box, [&](MessageBoxCheckable& b) {
        checkBoxVisible = b.checkBox()->isVisible();
        QTest::mouseClick(b.button(QMessageBox::No), Qt::LeftButton);
    }, &shown);
    QVERIFY(shown);
    QVERIFY(checkBoxVisible);
    QCOMPARE(result, int(QMessageBox::No));
    QCOMPARE(stored(QStringLiteral("fresh")), -1);
}

void tst_MessageBoxCheckable::storedKeyShowsNothingAndReturnsStoredValue_data()
{
    QTest::addColumn<int>("value");
    QTest::newRow("stored Yes") << int(QMessageBox::Yes);
    QTest::newRow("stored 0 is returned too") << 0;
}

void tst_MessageBoxCheckable::storedKeyShowsNothingAndReturnsStoredValue()
{
    QFETCH(int, value);
    {
        QSettings settings;
        settings.setValue(QStringLiteral("DoNotShowAgain/remembered"), value);
    }
    MessageBoxCheckable box(QStringLiteral("remembered"), QMessageBox::Question, QStringLiteral("T"),
                            QStringLiteral("Q?"), QMessageBox::Yes | QMessageBox::No, nullptr);
    QVERIFY(!box.checkBox()); // a box with a stored answer has no check box
    bool shownDuringExec = false;
    QTimer::singleShot(0, &box, [&] { shownDuringExec = box.isVisible(); box.done(-2); });
    QCOMPARE(box.exec(), value);
    QVERIFY(!box.isVisible());
    QCoreApplication::processEvents();
    QVERIFY(!shownDuringExec);
}

void tst_MessageBoxCheckable::tickedBoxAndButtonInMaskStoresAnswer()
{
    const QString key = QStringLiteral("stores");
    {
        MessageBoxCheckable box(key, QMessageBox::Question, QStringLiteral("T"), QStringLiteral("Q?"),
                                QMessageBox::Yes | QMessageBox::No, nullptr);
        box.setSaveResultOnButton(QMessageBox::Yes | QMessageBox::No);
        const int result = execAnswering(box, [](MessageBoxCheckable& b) {
            QTest::mouseClick(b.checkBox(), Qt::LeftButton);
            QCOMPARE(b.checkBox()->checkState(), Qt::Checked);
            QTest::mouseClick(b.button(QMessageBox::Yes), Qt::LeftButton);
        });
        QCOMPARE(result, int(QMessageBox::Yes));
    }
    QCOMPARE(stored(key), int(QMessageBox::Yes));
    MessageBoxCheckable again(key, nullptr);
    QVERIFY(!again.checkBox());
    QCOMPARE(again.exec(), int(QMessageBox::Yes));
}

void tst_MessageBoxCheckable::tickedBoxAndButtonOutsideMaskStoresNothing()
{
    const QString key = QStringLiteral("outside");
    MessageBoxCheckable box(key, QMessageBox::Question, QStringLiteral("T"), QStringLiteral("Q?"),
                            QMessageBox::Yes | QMessageBox::No, nullptr);
    box.setSaveResultOnButton(QMessageBox::Yes);
    const int result = execAnswering(box, [](MessageBoxCheckable& b) {
        QTest::mouseClick(b.checkBox(), Qt::LeftButton);
        QTest::mouseClick(b.button(QMessageBox::No), Qt::LeftButton);
    });
    QCOMPARE(result, int(QMessageBox::No));
    QCOMPARE(stored(key), -1);
}

void tst_MessageBoxCheckable::untickedBoxStoresNothing()
{
    const QString key = QStringLiteral("unticked");
    MessageBoxCheckable box(key, QMessageBox::Question, QStringLiteral("T"), QStringLiteral("Q?"),
                            QMessageBox::Yes | QMessageBox::No, nullptr);
    box.setSaveResultOnButton(QMessageBox::Yes | QMessageBox::No);
    execAnswering(box, [](MessageBoxCheckable& b) {
        QTest::mouseClick(b.button(QMessageBox::Yes), Qt::LeftButton);
    });
    QCOMPARE(stored(key), -1);
}

void tst_MessageBoxCheckable::maskLeftAtZeroStoresOnlyZero()
{
    const QString key = QStringLiteral("zeromask");
    {
        MessageBoxCheckable box(key, QMessageBox::Question, QStringLiteral("T"), QStringLiteral("Q?"),
                                QMessageBox::Yes | QMessageBox::No, nullptr);
        execAnswering(box, [](MessageBoxCheckable& b) {
            QTest::mouseClick(b.checkBox(), Qt::LeftButton);
            QTest::mouseClick(b.button(QMessageBox::Yes), Qt::LeftButton);
        });
        QCOMPARE(stored(key), -1);
    }
    {
        MessageBoxCheckable box(key, QMessageBox::Information, QStringLiteral("T"), QStringLiteral("Note"),
                                QMessageBox::Ok, nullptr);
        execAnswering(box, [](MessageBoxCheckable& b) {
            QTest::mouseClick(b.checkBox(), Qt::LeftButton);
            b.done(0);
        });
        QCOMPARE(stored(key), 0);
    }
    {
        // With a mask, a result of 0 is not stored.
        const QString other = QStringLiteral("zeroresult");
        MessageBoxCheckable box(other, QMessageBox::Information, QStringLiteral("T"), QStringLiteral("Note"),
                                QMessageBox::Ok, nullptr);
        box.setSaveResultOnButton(QMessageBox::Ok);
        execAnswering(box, [](MessageBoxCheckable& b) {
            QTest::mouseClick(b.checkBox(), Qt::LeftButton);
            b.done(0);
        });
        QCOMPARE(stored(other), -1);
    }
}

void tst_MessageBoxCheckable::sameObjectShowsAgainAfterStoring()
{
    const QString key = QStringLiteral("again");
    MessageBoxCheckable box(key, QMessageBox::Question, QStringLiteral("T"), QStringLiteral("Q?"),
                            QMessageBox::Yes | QMessageBox::No, nullptr);
    box.setSaveResultOnButton(QMessageBox::Yes);
    execAnswering(box, [](MessageBoxCheckable& b) {
        QTest::mouseClick(b.checkBox(), Qt::LeftButton);
        QTest::mouseClick(b.button(QMessageBox::Yes), Qt::LeftButton);
    });
    QCOMPARE(stored(key), int(QMessageBox::Yes));
    bool shown = false;
    const int second = execAnswering(box, [](MessageBoxCheckable& b) {
        QTest::mouseClick(b.button(QMessageBox::No), Qt::LeftButton);
    }, &shown);
    QVERIFY(shown);
    QCOMPARE(second, int(QMessageBox::No));
}

void tst_MessageBoxCheckable::emptyKeyUsesEmptyNameAndResetRefusesIt()
{
    {
        MessageBoxCheckable box(QString(), QMessageBox::Question, QStringLiteral("T"), QStringLiteral("Q?"),
                                QMessageBox::Yes | QMessageBox::No, nullptr);
        QVERIFY(box.checkBox());
        box.setSaveResultOnButton(QMessageBox::No);
        execAnswering(box, [](MessageBoxCheckable& b) {
            QTest::mouseClick(b.checkBox(), Qt::LeftButton);
            QTest::mouseClick(b.button(QMessageBox::No), Qt::LeftButton);
        });
        QCOMPARE(stored(QString()), int(QMessageBox::No));
        // The empty name is the group's own name.
        QCOMPARE(QSettings().value(QStringLiteral("DoNotShowAgain")).toInt(), int(QMessageBox::No));
        QVERIFY(!box.reset());
    }
    QCOMPARE(stored(QString()), int(QMessageBox::No)); // reset() refused: still there
    MessageBoxCheckable again(QString(), nullptr);
    QVERIFY(!again.checkBox());
    QCOMPARE(again.exec(), int(QMessageBox::No));
    QVERIFY(MessageBoxCheckable::resetAll());
    QCOMPARE(stored(QString()), -1);
}

void tst_MessageBoxCheckable::setCheckBoxTextEmptyRestoresDefaultWhileVisibleCheckBoxGoesEmpty()
{
    MessageBoxCheckable box(QStringLiteral("text"), QMessageBox::Question, QStringLiteral("T"),
                            QStringLiteral("Q?"), QMessageBox::Yes, nullptr);
    box.setCheckBoxText(QStringLiteral("&Remember"));
    QCOMPARE(box.checkBoxText(), QStringLiteral("&Remember"));
    QCOMPARE(box.checkBox()->text(), QStringLiteral("&Remember"));
    box.show();
    QVERIFY(box.checkBox()->isVisible());
    box.setCheckBoxText(QString());
    QCOMPARE(box.checkBoxText(), QStringLiteral("&Do not show this message again"));
    QCOMPARE(box.checkBox()->text(), QString());
    box.hide();
}

void tst_MessageBoxCheckable::resetForgetsOneKey()
{
    QSettings().setValue(QStringLiteral("DoNotShowAgain/one"), int(QMessageBox::Yes));
    QSettings().setValue(QStringLiteral("DoNotShowAgain/two"), int(QMessageBox::No));
    MessageBoxCheckable box(QStringLiteral("one"), nullptr);
    QVERIFY(box.reset());
    QCOMPARE(stored(QStringLiteral("one")), -1);
    QCOMPARE(stored(QStringLiteral("two")), int(QMessageBox::No));
    // The object keeps what it read and gets no check box.
    QCOMPARE(box.exec(), int(QMessageBox::Yes));
    QVERIFY(!box.checkBox());
    // Resetting a key that is not stored succeeds too.
    QVERIFY(box.reset());
}

void tst_MessageBoxCheckable::afterResetAllBoxesShowAgainFromNextConstruction()
{
    QSettings().setValue(QStringLiteral("DoNotShowAgain/a"), int(QMessageBox::Yes));
    QSettings().setValue(QStringLiteral("DoNotShowAgain/b"), 0);
    QSettings().setValue(QStringLiteral("Other/keep"), 5);
    MessageBoxCheckable before(QStringLiteral("a"), nullptr);
    QVERIFY(MessageBoxCheckable::resetAll());
    QCOMPARE(stored(QStringLiteral("a")), -1);
    QCOMPARE(stored(QStringLiteral("b")), -1);
    QCOMPARE(QSettings().value(QStringLiteral("Other/keep")).toInt(), 5);
    QVERIFY(!QSettings().childGroups().contains(QStringLiteral("DoNotShowAgain")));
    // An object made before keeps its answer...
    QCOMPARE(before.exec(), int(QMessageBox::Yes));
    // ...the next construction shows again.
    MessageBoxCheckable after(QStringLiteral("b"), QMessageBox::Question, QStringLiteral("T"),
                              QStringLiteral("Q?"), QMessageBox::Yes | QMessageBox::No, nullptr);
    QVERIFY(after.checkBox());
    bool shown = false;
    execAnswering(after, [](MessageBoxCheckable& b) {
        QTest::mouseClick(b.button(QMessageBox::Yes), Qt::LeftButton);
    }, &shown);
    QVERIFY(shown);
}

void tst_MessageBoxCheckable::addCheckBoxWidgetOnlyOnce()
{
    MessageBoxCheckable box(QStringLiteral("once"), nullptr);
    QVERIFY(box.checkBox());
    QVERIFY(!box.addCheckBoxWidget());
    QSettings().setValue(QStringLiteral("DoNotShowAgain/later"), 1);
    MessageBoxCheckable stored(QStringLiteral("later"), nullptr);
    QVERIFY(!stored.checkBox());
    QVERIFY(stored.addCheckBoxWidget());
    QVERIFY(stored.checkBox());
    QCOMPARE(stored.checkBox()->text(), QStringLiteral("&Do not show this message again"));
}

void tst_MessageBoxCheckable::storedValueThatIsNoNumberReadsAsZero()
{
    QSettings().setValue(QStringLiteral("DoNotShowAgain/garbled"), QStringLiteral("not a number"));
    MessageBoxCheckable box(QStringLiteral("garbled"), nullptr);
    QVERIFY(!box.checkBox());
    QCOMPARE(box.exec(), 0);
}

QTEST_MAIN(tst_MessageBoxCheckable)
#include "tst_messageboxcheckable.moc"
