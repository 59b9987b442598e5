// The search box: lens while empty, cross while it holds text, the cross clears it, and the
// shadow text painted only in the empty box.

#include <QAction>
#include <QImage>
#include <QSignalSpy>
#include <QtTest>

#include <VorloQtWidgets/searchedit.h>

class TestSearchEdit : public QObject
{
    Q_OBJECT

private slots:
    void lensWhileEmptyCrossWhileText();
    void crossClearsText();
    void shadowTextPaintedOnlyWhileEmpty();
    void sizeHintIsShadowTextBounds();
    void fontChangeKeepsOwnFont();
};

namespace {

QList<QAction*> trailingActions(SearchEdit& edit)
{
    return edit.actions();
}

QImage grab(SearchEdit& edit)
{
    edit.repaint();
    return edit.grab().toImage();
}

} // namespace

void TestSearchEdit::lensWhileEmptyCrossWhileText()
{
    SearchEdit edit;
    const QList<QAction*> actions = trailingActions(edit);
    QCOMPARE(actions.size(), 2);
    QAction* lens = actions.at(0);
    QAction* cross = actions.at(1);
    QVERIFY(!lens->isEnabled());
    QVERIFY(lens->isVisible());
    QVERIFY(!cross->isVisible());
    edit.setText(QStringLiteral("gain"));
    QVERIFY(!lens->isVisible());
    QVERIFY(cross->isVisible());
    edit.setText(QString());
    QVERIFY(lens->isVisible());
    QVERIFY(!cross->isVisible());
    QCOMPARE(edit.styleSheet(), QStringLiteral("QLineEdit { border: 1px solid gray; border-radius: 0px; }"));
}

void TestSearchEdit::crossClearsText()
{
    SearchEdit edit;
    edit.setText(QStringLiteral("exposure"));
    QSignalSpy changes(&edit, &QLineEdit::textChanged);
    edit.actions().at(1)->trigger();
    QCOMPARE(edit.text(), QString());
    QCOMPARE(changes.count(), 1);
}

void TestSearchEdit::shadowTextPaintedOnlyWhileEmpty()
{
    SearchEdit withShadow;
    SearchEdit without;
    for (SearchEdit* edit : {&withShadow, &without}) {
        edit->resize(300, 26);
        edit->show();
    }
    QVERIFY(QTest::qWaitForWindowExposed(&withShadow));
    QString shadow = QStringLiteral("Search (Ctrl+F)");
    withShadow.setShadowDisplayString(shadow);
    QVERIFY(grab(withShadow) != grab(without));

    // With text, the cross is shown and no shadow is painted.
    withShadow.setText(QStringLiteral("x"));
    without.setText(QStringLiteral("x"));
    withShadow.setCursorPosition(0);
    without.setCursorPosition(0);
    withShadow.clearFocus();
    without.clearFocus();
    QCOMPARE(grab(withShadow), grab(without));
}

void TestSearchEdit::sizeHintIsShadowTextBounds()
{
    SearchEdit edit;
    QString shadow = QStringLiteral("Search (Ctrl+F)");
    edit.setShadowDisplayString(shadow);
    QCOMPARE(edit.sizeHint(), QFontMetrics(edit.font()).boundingRect(shadow).size());
}

void TestSearchEdit::fontChangeKeepsOwnFont()
{
    SearchEdit edit;
    QFont font = edit.font();
    font.setPointSize(font.pointSize() + 4);
    edit.setFont(font);
    QCOMPARE(edit.font().pointSize(), font.pointSize());
}

QTEST_MAIN(TestSearchEdit)
#include "tst_searchedit.moc"
