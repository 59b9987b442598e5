#include <VorloQtWidgets/aboutdialog.h>
#include <VorloQtWidgets/aboutdialogimpl.h>

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFrame>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

class tst_AboutDialog : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void formGeometryAndImages();
    void titleAndFlags();
    void labelFilledFromTemplate();
    void defaultCopyrightRange();
    void setProductVersionAfterShownUpdatesAtOnce();
    void setCopyrightTimeRangeUpdatesAtOnce();
    void percentInApplicationNameDoesNotDisturbLaterPlaceholders();
    void execEndsWithOk();
    void dialogIsDeletedLaterWithTheImplementation();

private:
    static QLabel* label(const AboutDialog& about, const char* name)
    {
        return about.impl()->dialog()->findChild<QLabel*>(name);
    }
};

void tst_AboutDialog::init()
{
    QCoreApplication::setApplicationName(QStringLiteral("Camera Viewer"));
    QCoreApplication::setOrganizationName(QStringLiteral("Kesdor"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("kesdor.example"));
}

void tst_AboutDialog::formGeometryAndImages()
{
    AboutDialog about(nullptr);
    QDialog* dialog = about.impl()->dialog();
    QVERIFY(dialog);
    QCOMPARE(dialog->objectName(), QStringLiteral("AboutDialog"));
    QCOMPARE(dialog->minimumSize(), QSize(500, 312));
    QCOMPARE(dialog->maximumSize(), QSize(500, 312));
    QVERIFY(dialog->autoFillBackground());
    auto* upper = dialog->findChild<QFrame*>("upperFrame");
    QVERIFY(upper);
    QCOMPARE(upper->geometry(), QRect(-1, 0, 501, 270));
    QCOMPARE(upper->frameShape(), QFrame::StyledPanel);
    QCOMPARE(upper->frameShadow(), QFrame::Raised);
    QLabel* background = label(about, "backgroundImage");
    QCOMPARE(background->geometry(), QRect(0, 0, 500, 270));
    QCOMPARE(background->pixmap(Qt::ReturnByValue).size(), QSize(500, 270));
    QLabel* text = label(about, "label");
    QCOMPARE(text->geometry(), QRect(190, 80, 249, 159));
    QVERIFY(text->wordWrap());
    QVERIFY(text->openExternalLinks());
    auto* lower = dialog->findChild<QFrame*>("lowerFrame");
    QCOMPARE(lower->geometry(), QRect(0, 270, 500, 42));
    QLabel* url = label(about, "labelUrl");
    QVERIFY(!url->pixmap(Qt::ReturnByValue).isNull());
    auto* buttons = dialog->findChild<QDialogButtonBox*>("buttonBox");
    QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok);
}

void tst_AboutDialog::titleAndFlags()
{
    AboutDialog about(nullptr);
    QDialog* dialog = about.impl()->dialog();
    QCOMPARE(dialog->windowTitle(), QStringLiteral("About Camera Viewer"));
    const Qt::WindowFlags flags = dialog->windowFlags();
    QVERIFY(flags & Qt::WindowTitleHint);
    QVERIFY(flags & Qt::WindowSystemMenuHint);
    QVERIFY(flags & Qt::WindowCloseButtonHint);
    QVERIFY(!(flags & Qt::WindowContextHelpButtonHint));
    QVERIFY(!(flags & Qt::WindowMaximizeButtonHint));
    QCOMPARE(flags & Qt::WindowType_Mask, Qt::Dialog);
}

void tst_AboutDialog::labelFilledFromTemplate()
{
    AboutDialog about(nullptr);
    about.setProductVersion(QStringLiteral("1.2.3"));
    const QString html = label(about, "label")->text();
    QVERIFY2(html.contains(QStringLiteral("font-weight:600;\">Camera Viewer</span>")), qPrintable(html));
    QVERIFY(html.contains(QStringLiteral("Version 1.2.3")));
    QVERIFY(html.contains(QStringLiteral("2014-2017 Kesdor")));
    QVERIFY(html.contains(QStringLiteral("href=\"https://www.kesdor.example/\"")));
    QVERIFY(html.contains(QStringLiteral(">www.kesdor.example<")));
    QVERIFY(html.contains(QStringLiteral("color:#0000ff")));
    QCOMPARE(html.count(QStringLiteral("<p align=\"center\">")), 4);
    QVERIFY(!html.contains(QStringLiteral("%")));
}

void tst_AboutDialog::defaultCopyrightRange()
{
    AboutDialogImpl impl(nullptr);
    QCOMPARE(impl.copyrightTimeRange(), QStringLiteral("2014-2017"));
    QCOMPARE(impl.productVersion(), QString());
}

void tst_AboutDialog::setProductVersionAfterShownUpdatesAtOnce()
{
    AboutDialog about(nullptr);
    about.setProductVersion(QStringLiteral("1.0"));
    about.impl()->dialog()->show();
    QVERIFY(QTest::qWaitForWindowExposed(about.impl()->dialog()));
    about.setProductVersion(QStringLiteral("2.5.1"));
    const QString html = label(about, "label")->text();
    QVERIFY(html.contains(QStringLiteral("Version 2.5.1")));
    QVERIFY(!html.contains(QStringLiteral("Version 1.0")));
    about.impl()->dialog()->hide();
}

void tst_AboutDialog::setCopyrightTimeRangeUpdatesAtOnce()
{
    AboutDialog about(nullptr);
    about.setCopyrightTimeRange(QStringLiteral("2024-2026"));
    QVERIFY(label(about, "label")->text().contains(QStringLiteral("2024-2026 Kesdor")));
}

void tst_AboutDialog::percentInApplicationNameDoesNotDisturbLaterPlaceholders()
{
    QCoreApplication::setApplicationName(QStringLiteral("Viewer 100% %2 %3"));
    AboutDialog about(nullptr);
    about.setProductVersion(QStringLiteral("7.1"));
    about.setCopyrightTimeRange(QStringLiteral("2020"));
    const QString html = label(about, "label")->text();
    QVERIFY2(html.contains(QStringLiteral(">Viewer 100% %2 %3</span>")), qPrintable(html));
    QVERIFY(html.contains(QStringLiteral("Version 7.1")));
    QVERIFY(html.contains(QStringLiteral("2020 Kesdor")));
    QCOMPARE(about.impl()->dialog()->windowTitle(), QStringLiteral("About Viewer 100% %2 %3"));
}

void tst_AboutDialog::execEndsWithOk()
{
    AboutDialog about(nullptr);
    QDialog* dialog = about.impl()->dialog();
    bool wasVisible = false;
    QTimer::singleShot(0, dialog, [&] {
        wasVisible = dialog->isVisible();
        auto* buttons = dialog->findChild<QDialogButtonBox*>("buttonBox");
        QTest::mouseClick(buttons->button(QDialogButtonBox::Ok), Qt::LeftButton);
    });
    QTimer guard;
    connect(&guard, &QTimer::timeout, dialog, &QDialog::reject);
    guard.start(5000);
    QCOMPARE(about.exec(), int(QDialog::Accepted));
    QVERIFY(wasVisible);
}

void tst_AboutDialog::dialogIsDeletedLaterWithTheImplementation()
{
    QPointer<QDialog> dialog;
    {
        AboutDialog about(nullptr);
        dialog = about.impl()->dialog();
        QVERIFY(dialog);
    }
    QVERIFY(dialog); // deleteLater: still there until the event loop runs
    QTRY_VERIFY(dialog.isNull());
}

QTEST_MAIN(tst_AboutDialog)
#include "tst_aboutdialog.moc"
