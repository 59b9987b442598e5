#include <VorloQtWidgets/vorloqtformat.h>
#include <VorloQtWidgets/vorloqtstockimage.h>
#include <VorloQtWidgets/vorloqtwidgetsresources.h>

#include <QFile>
#include <QImage>
#include <QtTest>

class tst_LibraryServices : public QObject
{
    Q_OBJECT

private slots:
    void emptyOrUnknownStockIconGivesNullPixmap_data();
    void emptyOrUnknownStockIconGivesNullPixmap();
    void stockIconAtNaturalSize_data();
    void stockIconAtNaturalSize();
    void widthZeroWithHeightLoadsAtNaturalSize();
    void scaledExactlyIgnoringProportions();
    void infoAndInfoAlternateShareOneImage();
    void missingResourceGivesNullPixmap();

    void resourceSetRegisteredByLibrary_data();
    void resourceSetRegisteredByLibrary();
    void imagesAreDrawnAtTheirSizes_data();
    void imagesAreDrawnAtTheirSizes();
    void resourceSetCanBeUnregisteredAndRegisteredAgain();

    void formatMacWithHyphen_data();
    void formatMacWithHyphen();
    void formatIpConfigurationFull_data();
    void formatIpConfigurationFull();
    void formatFromUtf8();
};

void tst_LibraryServices::emptyOrUnknownStockIconGivesNullPixmap_data()
{
    QTest::addColumn<int>("icon");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");

    for (int icon : {1, 6, 9, 0, -1}) {
        for (QSize size : {QSize(0, 0), QSize(16, 16), QSize(32, 32), QSize(0, 16)}) {
            QTest::addRow("value %d at %dx%d", icon, size.width(), size.height())
                << icon << size.width() << size.height();
        }
    }
}

void tst_LibraryServices::emptyOrUnknownStockIconGivesNullPixmap()
{
    QFETCH(int, icon);
    QFETCH(int, width);
    QFETCH(int, height);
    QVERIFY(getVorloStockImage(static_cast<EVorloQtStockIcon>(icon), width, height).isNull());
}

void tst_LibraryServices::stockIconAtNaturalSize_data()
{
    QTest::addColumn<int>("icon");
    QTest::addColumn<QSize>("size");
    QTest::newRow("Info") << int(StockIcon_Info) << QSize(16, 16);
    QTest::newRow("InfoAlternate") << int(StockIcon_InfoAlternate) << QSize(16, 16);
    QTest::newRow("Exclamation") << int(StockIcon_Exclamation) << QSize(16, 16);
    QTest::newRow("Error") << int(StockIcon_Error) << QSize(16, 16);
    QTest::newRow("Info32") << int(StockIcon_Info32) << QSize(32, 32);
    QTest::newRow("Exclamation32") << int(StockIcon_Exclamation32) << QSize(32, 32);
}

void tst_LibraryServices::stockIconAtNaturalSize()
{
    QFETCH(int, icon);
    QFETCH(QSize, size);
    const QPixmap pixmap = getVorloStockImage(static_cast<EVorloQtStockIcon>(icon));
    QVERIFY(!pixmap.isNull());
    QCOMPARE(pixmap.size(), size);
}

void tst_LibraryServices::widthZeroWithHeightLoadsAtNaturalSize()
{
    QCOMPARE(getVorloStockImage(StockIcon_Info32, 0, 16).size(), QSize(32, 32));
    QCOMPARE(getVorloStockImage(StockIcon_Error, 16, 0).size(), QSize(16, 16));
    QCOMPARE(getVorloStockImage(StockIcon_Error, -4, 40).size(), QSize(16, 16));
}

void tst_LibraryServices::scaledExactlyIgnoringProportions()
{
    QCOMPARE(getVorloStockImage(StockIcon_Exclamation, 40, 10).size(), QSize(40, 10));
    QCOMPARE(getVorloStockImage(StockIcon_Info32, 24, 24).size(), QSize(24, 24));
}

void tst_LibraryServices::infoAndInfoAlternateShareOneImage()
{
    const QImage info = getVorloStockImage(StockIcon_Info).toImage();
    const QImage alternate = getVorloStockImage(StockIcon_InfoAlternate).toImage();
    QVERIFY(!info.isNull());
    QCOMPARE(info, alternate);
    QVERIFY(info != getVorloStockImage(StockIcon_Error).toImage());
}

void tst_LibraryServices::missingResourceGivesNullPixmap()
{
    QCOMPARE(qCleanupResources_vorloqtwidgets(), 1);
    QVERIFY(getVorloStockImage(StockIcon_Info).isNull());
    QVERIFY(getVorloStockImage(StockIcon_Info, 16, 16).isNull());
    QCOMPARE(qInitResources_vorloqtwidgets(), 1);
    QVERIFY(!getVorloStockImage(StockIcon_Info).isNull());
}

void tst_LibraryServices::resourceSetRegisteredByLibrary_data()
{
    QTest::addColumn<QString>("file");
    for (const char* name : {"AboutBackground.png", "KesdorwebDotCom.png", "Favorite_minus.png",
                             "Favorite_plus.png", "Move_Down.png", "Move_Up.png", "cross_16.png",
                             "error.png", "exclamation.png", "exclamation32.png", "info.png",
                             "info32.png", "refresh.png", "searchlens_16.png"}) {
        QTest::newRow(name) << QString::fromLatin1(name);
    }
}

void tst_LibraryServices::resourceSetRegisteredByLibrary()
{
    QFETCH(QString, file);
    // Nothing in this program registers the set: the library's loading did.
    QVERIFY(QFile::exists(QStringLiteral(":/vorloqtwidgets/Resources/") + file));
}

void tst_LibraryServices::imagesAreDrawnAtTheirSizes_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QSize>("size");
    QTest::newRow("about background") << "AboutBackground.png" << QSize(500, 270);
    QTest::newRow("cross") << "cross_16.png" << QSize(16, 16);
    QTest::newRow("favorite plus") << "Favorite_plus.png" << QSize(16, 16);
    QTest::newRow("favorite minus") << "Favorite_minus.png" << QSize(16, 16);
    QTest::newRow("move up") << "Move_Up.png" << QSize(16, 16);
    QTest::newRow("move down") << "Move_Down.png" << QSize(16, 16);
    QTest::newRow("refresh") << "refresh.png" << QSize(16, 16);
    QTest::newRow("search lens") << "searchlens_16.png" << QSize(16, 16);
}

void tst_LibraryServices::imagesAreDrawnAtTheirSizes()
{
    QFETCH(QString, file);
    QFETCH(QSize, size);
    const QImage image(QStringLiteral(":/vorloqtwidgets/Resources/") + file);
    QVERIFY(!image.isNull());
    QCOMPARE(image.size(), size);
}

void tst_LibraryServices::resourceSetCanBeUnregisteredAndRegisteredAgain()
{
    const QString path = QStringLiteral(":/vorloqtwidgets/Resources/info.png");
    QVERIFY(QFile::exists(path));
    QCOMPARE(qCleanupResources_vorloqtwidgets(), 1);
    QVERIFY(!QFile::exists(path));
    QCOMPARE(qInitResources_vorloqtwidgets(), 1);
    QVERIFY(QFile::exists(path));
}

void tst_LibraryServices::formatMacWithHyphen_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("bare") << QByteArray("0030531a2b3c") << "00-30-53-1A-2B-3C";
    QTest::newRow("colons") << QByteArray("00:30:53:1A:2B:3C") << "00-30-53-1A-2B-3C";
    QTest::newRow("not an address") << QByteArray("unknown") << "unknown";
}

void tst_LibraryServices::formatMacWithHyphen()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, expected);
    QCOMPARE(formatMACAddressWithHyphen(text.constData()), expected);
}

void tst_LibraryServices::formatIpConfigurationFull_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("all") << QByteArray("7") << "Persistent IP, DHCP, LLA";
    QTest::newRow("DHCP and LLA") << QByteArray("6") << "DHCP, LLA";
}

void tst_LibraryServices::formatIpConfigurationFull()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, expected);
    QCOMPARE(formatIPConfigurationFull(text.constData()), expected);
}

void tst_LibraryServices::formatFromUtf8()
{
    QCOMPARE(::formatFromUtf8(nullptr), QString());
    QCOMPARE(::formatFromUtf8(""), QString());
    QCOMPARE(::formatFromUtf8("Kamera \xc3\xa4\xc3\xb6\xc3\xbc \xe2\x82\xac"),
             QString::fromUtf8("Kamera äöü €"));
}

QTEST_MAIN(tst_LibraryServices)
#include "tst_libraryservices.moc"
