// Programming errors that stop the process in every build type. Each case runs in a child
// process of this same program, which must die with the failed condition's text.

#include "fakenodes.h"

#include <VorloQtWidgets/floatslidereditor.h>
#include <VorloQtWidgets/inteditor.h>

#include <QApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTest>

namespace
{
const char* const kCaseVariable = "VORLO_EDITOR_ASSERTION_CASE";

// Runs in the child: returns only when the expected stop did not happen.
int runCase(const QByteArray& name)
{
    if (name == "undefinedRepresentation") {
        EditorTest::FakeInteger node("Odd");
        node.representation = GenApi::_UndefinedRepresentation;
        IntEditor editor(nullptr);
        editor.setEditorData(&node);
    } else if (name == "secondInitialisationAfterFailedOne") {
        EditorTest::FakeInteger raw("GainRaw");
        EditorTest::FakeFloat gain("Gain");
        gain.alias = &raw;
        gain.min = 10.0; // minimum above maximum: the first initialisation fails late
        gain.max = 0.0;
        gain.value = 5.0;
        FloatSliderEditor editor(nullptr);
        editor.setEditorData(&gain);
        editor.setEditorData(&gain);
    }
    return 0;
}
} // namespace

class TestEditorAssertions : public QObject
{
    Q_OBJECT

private slots:
    void processStops_data();
    void processStops();
};

void TestEditorAssertions::processStops_data()
{
    QTest::addColumn<QByteArray>("caseName");
    QTest::addColumn<QString>("assertion");
    QTest::newRow("IntEditor with an undefined representation")
        << QByteArray("undefinedRepresentation") << "ASSERT: \"false\"";
    QTest::newRow("FloatSliderEditor initialised again after a failed initialisation")
        << QByteArray("secondInitialisationAfterFailedOne") << "ASSERT: \"!m_pAlias.IsValid()\"";
}

void TestEditorAssertions::processStops()
{
    QFETCH(QByteArray, caseName);
    QFETCH(QString, assertion);
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QString::fromLatin1(kCaseVariable), QString::fromLatin1(caseName));
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    child.setProcessEnvironment(env);
    child.start(QCoreApplication::applicationFilePath(), QStringList());
    QVERIFY(child.waitForFinished(30000));
    const QString output = QString::fromLocal8Bit(child.readAllStandardError() + child.readAllStandardOutput());
    QCOMPARE(child.exitStatus(), QProcess::CrashExit);
    QVERIFY2(output.contains(assertion), qPrintable(output));
}

int main(int argc, char** argv)
{
    const QByteArray caseName = qgetenv(kCaseVariable);
    QApplication app(argc, argv);
    if (!caseName.isEmpty())
        return runCase(caseName);
    TestEditorAssertions test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_editorassertions.moc"
