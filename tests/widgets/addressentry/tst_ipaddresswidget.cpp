#include <VorloQtWidgets/ipaddresswidget.h>
#include <VorloQtWidgets/qipaddressvalidator.h>

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

class tst_IpAddressWidget : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void formLayoutAndTexts();
    void tabOrderFollowsTheRows();
    void freshDialogShowsMacLineThatDoesNotCount();
    void validatorsInstalledOnLines();

    void typingAddressAndLeavingFillsMaskAndGateway_data();
    void typingAddressAndLeavingFillsMaskAndGateway();
    void multicastAddressLeavesMaskEmptyAndOkDark();
    void maskSetBySetSubnetMaskIsNotReplaced();
    void maskTypedAsPrefixBecomesDottedOnLeaving();
    void maskTypedAsPrefixCountsAsMaskZeroBeforeLeaving();
    void networkOrBroadcastAddressKeepsOkDark();
    void emptyGatewayDoesNotKeepOkDarkAndComesBackAsZeros();
    void incompleteMacKeepsOkDarkWhenShown();
    void maskClearedByTypingStaysEmpty();
    void showingAgainClearsEditedFlags();
    void gatewayMustFitMask();
    void allowSettersStoreFlagButDoNotReachValidator();
    void returnDoesNotAcceptWhileOkDark();
    void cancelRejects();
    void subnetFromAddress_data();
    void subnetFromAddress();
    void propertiesRoundTrip();

private:
    QLineEdit* edit(const char* name) const { return m_dialog->findChild<QLineEdit*>(name); }
    QPushButton* okButton() const { return m_dialog->findChild<QPushButton*>("btnOk"); }
    void show();
    void typeInto(const char* name, const QString& text);
    void leave(const char* name);
    void clearByTyping(const char* name);

    IpAddressWidget* m_dialog = nullptr;
};

void tst_IpAddressWidget::init()
{
    m_dialog = new IpAddressWidget(nullptr);
}

void tst_IpAddressWidget::cleanup()
{
    delete m_dialog;
    m_dialog = nullptr;
}

void tst_IpAddressWidget::show()
{
    m_dialog->show();
    QApplication::setActiveWindow(m_dialog);
    QVERIFY(QTest::qWaitForWindowActive(m_dialog));
}

void tst_IpAddressWidget::typeInto(const char* name, const QString& text)
{
    QLineEdit* line = edit(name);
    QVERIFY(line);
    // Focus as by a click: the text is not selected, and typing goes to the end.
    line->setFocus(Qt::MouseFocusReason);
    QTRY_VERIFY(line->hasFocus());
    QTest::keyClick(line, Qt::Key_End);
    QTest::keyClicks(line, text);
}

void tst_IpAddressWidget::leave(const char* name)
{
    QLineEdit* line = edit(name);
    QVERIFY(line->hasFocus());
    QTest::keyClick(line, Qt::Key_Tab);
    QTRY_VERIFY(!line->hasFocus());
}

void tst_IpAddressWidget::clearByTyping(const char* name)
{
    QLineEdit* line = edit(name);
    line->setFocus(Qt::MouseFocusReason);
    QTRY_VERIFY(line->hasFocus());
    line->selectAll();
    QTest::keyClick(line, Qt::Key_Backspace);
    QCOMPARE(line->text(), QString());
}

void tst_IpAddressWidget::formLayoutAndTexts()
{
    QCOMPARE(m_dialog->objectName(), QStringLiteral("IpAddressWidgetClass"));
    QCOMPARE(m_dialog->windowTitle(), QStringLiteral("IP Address"));
    QCOMPARE(m_dialog->minimumSize(), QSize(295, 340));
    QCOMPARE(m_dialog->headerText(), QStringLiteral("Please specify an IP address."));
    QCOMPARE(m_dialog->findChild<QLabel*>("labelMacAddress")->text(), QStringLiteral("&MAC Address:"));
    QCOMPARE(m_dialog->findChild<QLabel*>("labelIpAddress")->text(), QStringLiteral("IP &Address:"));
    QCOMPARE(m_dialog->findChild<QLabel*>("labelNetmask")->text(), QStringLiteral("&Subnet Mask:"));
    QCOMPARE(m_dialog->findChild<QLabel*>("labelDefaultGateway")->text(), QStringLiteral("Default &Gateway:"));
    QCOMPARE(m_dialog->findChild<QLabel*>("labelIpAddress")->buddy(), edit("editIpAddress"));
    QCOMPARE(edit("editMacAddress")->maxLength(), 17);
    QCOMPARE(edit("editIpAddress")->maxLength(), 16);
    QCOMPARE(edit("editNetmask")->maxLength(), 16);
    QCOMPARE(edit("editDefaultGateway")->maxLength(), 16);
    QCOMPARE(okButton()->text(), QStringLiteral("OK"));
    QCOMPARE(m_dialog->findChild<QPushButton*>("btnCancel")->text(), QStringLiteral("Cancel"));
    QVERIFY(m_dialog->windowFlags() & Qt::WindowCloseButtonHint);
    m_dialog->setHeaderText(QStringLiteral("New address of the camera"));
    QCOMPARE(m_dialog->headerText(), QStringLiteral("New address of the camera"));
}

void tst_IpAddressWidget::tabOrderFollowsTheRows()
{
    m_dialog->setSubnetMask(QStringLiteral("255.0.0.0"));
    m_dialog->setIpAddress(QStringLiteral("10.0.0.1")); // OK lit, so it takes focus too
    show();
    QWidget* expected[] = {edit("editMacAddress"), edit("editIpAddress"), edit("editNetmask"),
                           edit("editDefaultGateway"), okButton(),
                           m_dialog->findChild<QPushButton*>("btnCancel")};
    expected[0]->setFocus(Qt::TabFocusReason);
    QTRY_VERIFY(expected[0]->hasFocus());
    for (int i = 1; i < 6; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QTRY_COMPARE(QApplication::focusWidget(), expected[i]);
    }
}

void tst_IpAddressWidget::freshDialogShowsMacLineThatDoesNotCount()
{
    show();
    QVERIFY(!m_dialog->showMacAddress());
    QVERIFY(edit("editMacAddress")->isVisible());
    QVERIFY(!okButton()->isEnabled());
    typeInto("editMacAddress", QStringLiteral("00:11"));
    QVERIFY(!okButton()->isEnabled());
    typeInto("editIpAddress", QStringLiteral("192.168.0.1"));
    leave("editIpAddress");
    // The incomplete MAC does not count while showMacAddress() is false.
    QVERIFY(okButton()->isEnabled());
}

void tst_IpAddressWidget::validatorsInstalledOnLines()
{
    QVERIFY(qobject_cast<const QMacAddressValidator*>(edit("editMacAddress")->validator()));
    QVERIFY(qobject_cast<const QIpAddressValidator*>(edit("editIpAddress")->validator()));
    QVERIFY(qobject_cast<const QIpNetmaskValidator*>(edit("editNetmask")->validator()));
    auto* gateway = qobject_cast<const QIpAddressWithNetmaskValidator*>(edit("editDefaultGateway")->validator());
    QVERIFY(gateway);
    QVERIFY(gateway->allowNullAddress());
    QVERIFY(!gateway->allowBroadcastAddress());
}

void tst_IpAddressWidget::typingAddressAndLeavingFillsMaskAndGateway_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("mask");

    QTest::newRow("class A 10.1.2.3 gives 255.0.0.0") << "10.1.2.3" << "255.0.0.0";
    QTest::newRow("class B 172.16.0.1 gives 255.255.0.0") << "172.16.0.1" << "255.255.0.0";
    QTest::newRow("class C 192.168.0.1 gives 255.255.255.0") << "192.168.0.1" << "255.255.255.0";
}

void tst_IpAddressWidget::typingAddressAndLeavingFillsMaskAndGateway()
{
    QFETCH(QString, address);
    QFETCH(QString, mask);
    show();
    QVERIFY(!okButton()->isEnabled());
    typeInto("editIpAddress", address);
    QCOMPARE(edit("editIpAddress")->text(), address);
    QVERIFY(!okButton()->isEnabled()); // the mask line is still empty
    leave("editIpAddress");
    QCOMPARE(m_dialog->subnetMask(), mask);
    QCOMPARE(m_dialog->defaultGateway(), QStringLiteral("0.0.0.0"));
    QVERIFY(okButton()->isEnabled());
    QVERIFY(okButton()->isDefault());
}

void tst_IpAddressWidget::multicastAddressLeavesMaskEmptyAndOkDark()
{
    show();
    typeInto("editIpAddress", QStringLiteral("224.0.0.1"));
    QVERIFY(!okButton()->isEnabled());
    leave("editIpAddress");
    QCOMPARE(m_dialog->subnetMask(), QString());
    QCOMPARE(m_dialog->defaultGateway(), QStringLiteral("0.0.0.0"));
    QVERIFY(!okButton()->isEnabled());
    // Even with a mask typed in, the multicast address is not allowed.
    typeInto("editNetmask", QStringLiteral("255.255.255.0"));
    QVERIFY(!okButton()->isEnabled());
}

void tst_IpAddressWidget::maskSetBySetSubnetMaskIsNotReplaced()
{
    m_dialog->setSubnetMask(QStringLiteral("255.255.0.0"));
    show();
    typeInto("editIpAddress", QStringLiteral("192.168.7.1"));
    QVERIFY(okButton()->isEnabled()); // mask fits, gateway empty counts as allowed
    leave("editIpAddress");
    QCOMPARE(m_dialog->subnetMask(), QStringLiteral("255.255.0.0"));
    QCOMPARE(m_dialog->defaultGateway(), QStringLiteral("0.0.0.0"));
    QVERIFY(okButton()->isEnabled());
}

void tst_IpAddressWidget::maskTypedAsPrefixBecomesDottedOnLeaving()
{
    show();
    typeInto("editNetmask", QStringLiteral("/16"));
    QCOMPARE(m_dialog->subnetMask(), QStringLiteral("/16"));
    QVERIFY(!okButton()->isEnabled()); // no address yet
    leave("editNetmask");
    QCOMPARE(m_dialog->subnetMask(), QStringLiteral("255.255.0.0"));
    QVERIFY(!okButton()->isEnabled());
    typeInto("editIpAddress", QStringLiteral("10.1.2.3"));
    QVERIFY(okButton()->isEnabled());
    leave("editIpAddress");
    // The mask the person typed stays; the class A mask is not put in its place.
    QCOMPARE(m_dialog->subnetMask(), QStringLiteral("255.255.0.0"));
    QVERIFY(okButton()->isEnabled());
}

void tst_IpAddressWidget::maskTypedAsPrefixCountsAsMaskZeroBeforeLeaving()
{
    m_dialog->setIpAddress(QStringLiteral("172.16.0.1"));
    m_dialog->setDefaultGateway(QStringLiteral("0.0.0.0"));
    show();
    typeInto("editNetmask", QStringLiteral("/16"));
    // While the line still reads "/16" the address is checked against the mask 0 and passes.
    QVERIFY(okButton()->isEnabled());
    typeInto("editNetmask", QStringLiteral("0"));
    QCOMPARE(m_dialog->subnetMask(), QStringLiteral("/160"));
    QVERIFY(!okButton()->isEnabled()); // "/160" is no mask
}

void tst_IpAddressWidget::networkOrBroadcastAddressKeepsOkDark()
{
    show();
    typeInto("editNetmask", QStringLiteral("255.255.255.0"));
    QVERIFY(!okButton()->isEnabled());
    typeInto("editIpAddress", QStringLiteral("192.168.0.0"));
    QVERIFY(!okButton()->isEnabled());
    clearByTyping("editIpAddress");
    typeInto("editIpAddress", QStringLiteral("192.168.0.255"));
    QVERIFY(!okButton()->isEnabled());
    QTest::keyClick(edit("editIpAddress"), Qt::Key_Backspace);
    QTest::keyClick(edit("editIpAddress"), Qt::Key_Backspace);
    QCOMPARE(m_dialog->ipAddress(), QStringLiteral("192.168.0.2"));
    QVERIFY(okButton()->isEnabled());
}

void tst_IpAddressWidget::emptyGatewayDoesNotKeepOkDarkAndComesBackAsZeros()
{
    m_dialog->setSubnetMask(QStringLiteral("255.255.255.0"));
    show();
    typeInto("editIpAddress", QStringLiteral("192.168.0.10"));
    QVERIFY(okButton()->isEnabled());
    QCOMPARE(m_dialog->defaultGateway(), QString());
    QSignalSpy accepted(m_dialog, &QDialog::accepted);
    QVERIFY(accepted.isValid());
    QTest::mouseClick(okButton(), Qt::LeftButton);
    QCOMPARE(accepted.count(), 1);
    QCOMPARE(m_dialog->result(), int(QDialog::Accepted));
    QCOMPARE(m_dialog->defaultGateway(), QStringLiteral("0.0.0.0"));
}

void tst_IpAddressWidget::incompleteMacKeepsOkDarkWhenShown()
{
    m_dialog->setShowMacAddress(true);
    m_dialog->setSubnetMask(QStringLiteral("255.255.255.0"));
    show();
    QVERIFY(edit("editMacAddress")->isVisible());
    typeInto("editIpAddress", QStringLiteral("192.168.0.10"));
    QVERIFY(okButton()->isEnabled()); // empty MAC lets it go
    typeInto("editMacAddress", QStringLiteral("00:30:53"));
    QVERIFY(!okButton()->isEnabled());
    QTest::keyClicks(edit("editMacAddress"), QStringLiteral(":1a:2b:3c"));
    QCOMPARE(m_dialog->macAddress(), QStringLiteral("00:30:53:1a:2b:3c"));
    QVERIFY(okButton()->isEnabled());
    clearByTyping("editMacAddress");
    QVERIFY(okButton()->isEnabled());
    m_dialog->setShowMacAddress(false);
    QVERIFY(!edit("editMacAddress")->isVisible());
    QVERIFY(!m_dialog->findChild<QLabel*>("labelMacAddress")->isVisible());
}

void tst_IpAddressWidget::maskClearedByTypingStaysEmpty()
{
    show();
    typeInto("editIpAddress", QStringLiteral("10.0.0.1"));
    leave("editIpAddress");
    QCOMPARE(m_dialog->subnetMask(), QStringLiteral("255.0.0.0"));
    QVERIFY(okButton()->isEnabled());
    clearByTyping("editNetmask");
    QVERIFY(!okButton()->isEnabled());
    // Back to the address, change it, leave again: the cleared mask is not refilled.
    typeInto("editIpAddress", QStringLiteral("0"));
    QCOMPARE(m_dialog->ipAddress(), QStringLiteral("10.0.0.10"));
    leave("editIpAddress");
    QCOMPARE(m_dialog->subnetMask(), QString());
    QVERIFY(!okButton()->isEnabled());
}

void tst_IpAddressWidget::showingAgainClearsEditedFlags()
{
    show();
    typeInto("editIpAddress", QStringLiteral("10.0.0.1"));
    leave("editIpAddress");
    clearByTyping("editNetmask");
    clearByTyping("editDefaultGateway");
    m_dialog->hide();
    show();
    // A new showing starts with both flags cleared; leaving the address fills both again.
    typeInto("editIpAddress", QStringLiteral("0"));
    leave("editIpAddress");
    QCOMPARE(m_dialog->subnetMask(), QStringLiteral("255.0.0.0"));
    QCOMPARE(m_dialog->defaultGateway(), QStringLiteral("0.0.0.0"));
    QVERIFY(okButton()->isEnabled());
}

void tst_IpAddressWidget::gatewayMustFitMask()
{
    show();
    typeInto("editIpAddress", QStringLiteral("192.168.0.10"));
    leave("editIpAddress");
    QVERIFY(okButton()->isEnabled());
    clearByTyping("editDefaultGateway");
    QVERIFY(okButton()->isEnabled()); // empty gateway is allowed
    typeInto("editDefaultGateway", QStringLiteral("192.168.0.255"));
    QVERIFY(!okButton()->isEnabled()); // the broadcast address of the mask
    QTest::keyClick(edit("editDefaultGateway"), Qt::Key_Backspace);
    QTest::keyClick(edit("editDefaultGateway"), Qt::Key_Backspace);
    QCOMPARE(m_dialog->defaultGateway(), QStringLiteral("192.168.0.2"));
    QVERIFY(okButton()->isEnabled());
    typeInto("editDefaultGateway", QStringLiteral("."));
    QVERIFY(!okButton()->isEnabled()); // "192.168.0.2." is not finished
}

void tst_IpAddressWidget::allowSettersStoreFlagButDoNotReachValidator()
{
    m_dialog->setAllowMulticastAddress(true);
    m_dialog->setAllowBroadcastAddress(true);
    m_dialog->setAllowExperiemntalPurposeAddress(true);
    QVERIFY(m_dialog->allowMulticastAddress());
    QVERIFY(m_dialog->allowBroadcastAddress());
    QVERIFY(m_dialog->allowExperiemntalPurposeAddress());
    m_dialog->setSubnetMask(QStringLiteral("255.255.255.0"));
    show();
    typeInto("editIpAddress", QStringLiteral("224.0.0.1"));
    QVERIFY(!okButton()->isEnabled()); // still not allowed
    clearByTyping("editIpAddress");
    typeInto("editIpAddress", QStringLiteral("192.168.0.255"));
    QVERIFY(!okButton()->isEnabled()); // the mask's broadcast address still keeps it dark
}

void tst_IpAddressWidget::returnDoesNotAcceptWhileOkDark()
{
    show();
    QSignalSpy accepted(m_dialog, &QDialog::accepted);
    typeInto("editIpAddress", QStringLiteral("224.0.0.1"));
    QVERIFY(!okButton()->isEnabled());
    QVERIFY(!okButton()->isDefault());
    QTest::keyClick(edit("editIpAddress"), Qt::Key_Return);
    QCOMPARE(accepted.count(), 0);
    QVERIFY(m_dialog->isVisible());
}

void tst_IpAddressWidget::cancelRejects()
{
    show();
    QSignalSpy rejected(m_dialog, &QDialog::rejected);
    QTest::mouseClick(m_dialog->findChild<QPushButton*>("btnCancel"), Qt::LeftButton);
    QCOMPARE(rejected.count(), 1);
    QCOMPARE(m_dialog->defaultGateway(), QString()); // only accept() fills the gateway
}

void tst_IpAddressWidget::subnetFromAddress_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("expected"); // empty: null address

    QTest::newRow("class A lowest") << "0.0.0.1" << "255.0.0.0";
    QTest::newRow("class A highest") << "127.255.255.255" << "255.0.0.0";
    QTest::newRow("class B lowest") << "128.0.0.0" << "255.255.0.0";
    QTest::newRow("class B highest") << "191.255.255.255" << "255.255.0.0";
    QTest::newRow("class C lowest") << "192.0.0.0" << "255.255.255.0";
    QTest::newRow("class C highest") << "223.255.255.255" << "255.255.255.0";
    QTest::newRow("class D is null") << "224.0.0.1" << "";
    QTest::newRow("class E is null") << "240.0.0.1" << "";
    QTest::newRow("broadcast is null") << "255.255.255.255" << "";
    QTest::newRow("unparsable text counts as class A") << "no address" << "255.0.0.0";
}

void tst_IpAddressWidget::subnetFromAddress()
{
    QFETCH(QString, address);
    QFETCH(QString, expected);
    const QHostAddress fromText = IpAddressWidget::subnetFromAddress(address);
    if (expected.isEmpty())
        QVERIFY(fromText.isNull());
    else
        QCOMPARE(fromText.toString(), expected);
    QCOMPARE(IpAddressWidget::subnetFromAddress(QHostAddress(address)), fromText);
}

void tst_IpAddressWidget::propertiesRoundTrip()
{
    QVERIFY(m_dialog->setProperty("ipAddress", QStringLiteral("10.0.0.2")));
    QVERIFY(m_dialog->setProperty("subnetMask", QStringLiteral("255.0.0.0")));
    QVERIFY(m_dialog->setProperty("defaultGateway", QStringLiteral("10.0.0.1")));
    QVERIFY(m_dialog->setProperty("macAddress", QStringLiteral("00-11-22-33-44-55")));
    QCOMPARE(m_dialog->ipAddress(), QStringLiteral("10.0.0.2"));
    QCOMPARE(m_dialog->property("subnetMask").toString(), QStringLiteral("255.0.0.0"));
    QCOMPARE(m_dialog->defaultGateway(), QStringLiteral("10.0.0.1"));
    QCOMPARE(m_dialog->macAddress(), QStringLiteral("00-11-22-33-44-55"));
    // The setters ran enableButtons(): the entry is complete.
    QVERIFY(okButton()->isEnabled());
    QVERIFY(m_dialog->setProperty("showMacAddress", true));
    QVERIFY(m_dialog->property("showMacAddress").toBool());
    QVERIFY(m_dialog->setProperty("allowExperiemntalPurposeAddress", true));
    QVERIFY(m_dialog->allowExperiemntalPurposeAddress());
}

QTEST_MAIN(tst_IpAddressWidget)
#include "tst_ipaddresswidget.moc"
