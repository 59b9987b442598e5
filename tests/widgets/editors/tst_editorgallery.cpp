// Every editor type filled from one node map in one window, as a person sees them. Set
// VORLO_EDITOR_SCREENSHOT_DIR to a folder to keep a picture of each editor and of the window.

#include "editortestsupport.h"

#include <VorloQtWidgets/checkboxeditor.h>
#include <VorloQtWidgets/enumeditor.h>
#include <VorloQtWidgets/floateditor.h>
#include <VorloQtWidgets/floatslidereditor.h>
#include <VorloQtWidgets/inteditor.h>
#include <VorloQtWidgets/intslidereditor.h>
#include <VorloQtWidgets/stringcontrol.h>
#include <VorloQtWidgets/toolbuttoneditor.h>
#include <VorloQtWidgets/vorloqtspinbox.h>

#include <QDir>
#include <QFormLayout>
#include <QImage>
#include <QLabel>
#include <QPixmap>
#include <QSlider>
#include <QTest>

using EditorTest::NodeMap;

namespace
{
const char* const kFeatures = R"(
<Integer Name="Width"><Value>1280</Value><Min>16</Min><Max>2048</Max><Inc>16</Inc><Representation>Linear</Representation></Integer>
<Integer Name="OffsetX"><Value>64</Value><Min>0</Min><Max>1024</Max><Representation>PureNumber</Representation></Integer>
<Integer Name="GainRaw"><Value>240</Value><Min>0</Min><Max>480</Max><Inc>1</Inc><Representation>Linear</Representation></Integer>
<Converter Name="Gain"><pAlias>GainRaw</pAlias><FormulaTo>FROM*20</FormulaTo><FormulaFrom>TO/20</FormulaFrom><pValue>GainRaw</pValue><Representation>Linear</Representation><DisplayPrecision>2</DisplayPrecision></Converter>
<Float Name="ExposureTime"><Value>10000</Value><Min>20</Min><Max>1000000</Max><Inc>10</Inc><Representation>PureNumber</Representation><DisplayPrecision>1</DisplayPrecision></Float>
<Enumeration Name="PixelFormat">
  <EnumEntry Name="Mono8"><Value>1</Value></EnumEntry>
  <EnumEntry Name="Mono12"><DisplayName>Mono 12</DisplayName><Value>2</Value></EnumEntry>
  <Value>2</Value>
</Enumeration>
<Boolean Name="ReverseX"><Value>1</Value></Boolean>
<Integer Name="StartValue"><Value>0</Value></Integer>
<Command Name="AcquisitionStart"><pValue>StartValue</pValue><CommandValue>1</CommandValue></Command>
<String Name="DeviceUserID"><Value>Line scan camera at the conveyor, left side</Value></String>
<Integer Name="BlackLevel"><Value>32</Value><Min>0</Min><Max>255</Max><Inc>1</Inc><Representation>Linear</Representation></Integer>
)";

struct Entry
{
    QString name;
    QWidget* widget;
};
} // namespace

class TestEditorGallery : public QObject
{
    Q_OBJECT

private slots:
    void everyEditorTypeShowsItsNode();
};

void TestEditorGallery::everyEditorTypeShowsItsNode()
{
    NodeMap map(kFeatures);
    GenApi::EVisibility visibility = GenApi::Beginner;

    QWidget window;
    window.setWindowTitle(QStringLiteral("Value editors"));
    auto* form = new QFormLayout(&window);

    auto* intSlider = new IntSliderEditor(&window);
    intSlider->setEditorData(map.node("Width"));
    auto* intLine = new IntEditor(&window);
    intLine->setEditorData(map.node("OffsetX"));
    auto* floatSlider = new FloatSliderEditor(&window);
    floatSlider->setEditorData(map.node("Gain"));
    auto* floatBox = new FloatEditor(&window, GenApi::PureNumber);
    floatBox->setEditorData(map.node("ExposureTime"));
    auto* enumBox = new EnumEditor(&window, &visibility);
    enumBox->setEditorData(map.node("PixelFormat"));
    auto* check = new CheckBoxEditor(&window);
    check->setEditorData(map.node("ReverseX"));
    auto* button = new ToolButtonEditor(&window);
    button->setEditorData(map.node("AcquisitionStart"));
    auto* text = new VorloQt::StringControl(map.node("DeviceUserID"), &window);
    auto* control = new VorloQt::IntSliderControl(map.get<GenApi::IInteger>("BlackLevel"), &window);

    const QList<Entry> entries{{"IntSliderEditor", intSlider},   {"IntEditor", intLine},
                               {"FloatSliderEditor", floatSlider}, {"FloatEditor", floatBox},
                               {"EnumEditor", enumBox},           {"CheckBoxEditor", check},
                               {"ToolButtonEditor", button},      {"StringControl", text},
                               {"IntSliderControl", control}};
    for (const Entry& e : entries)
        form->addRow(e.name, e.widget);

    window.resize(560, window.sizeHint().height());
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    // What each shows, as a person reads it.
    QCOMPARE(intSlider->findChild<VorloQtSpinBox*>()->text(), QStringLiteral("1280"));
    QCOMPARE(intLine->text(), QStringLiteral("64"));
    QCOMPARE(floatSlider->findChild<QSlider*>()->value(), 240);
    QCOMPARE(floatSlider->findChild<VorloQtDoubleSpinBox*>()->value(), 12.0);
    QCOMPARE(floatBox->findChild<VorloQtDoubleSpinBox*>()->value(), 10000.0);
    QCOMPARE(enumBox->currentText(), QStringLiteral("Mono 12"));
    QVERIFY(check->isChecked());
    QCOMPARE(button->text(), QStringLiteral("Execute"));
    QVERIFY(!button->isChecked());
    QVERIFY(text->text().startsWith(QStringLiteral("Line scan camera")));
    QCOMPARE(control->value(), 32);

    const QString folder = qEnvironmentVariable("VORLO_EDITOR_SCREENSHOT_DIR");
    if (!folder.isEmpty())
        QVERIFY(QDir().mkpath(folder));
    for (const Entry& e : entries) {
        QVERIFY2(e.widget->isVisible(), qPrintable(e.name));
        QVERIFY2(e.widget->width() >= 12 && e.widget->height() >= 12, qPrintable(e.name));
        const QImage image = e.widget->grab().toImage();
        QVERIFY2(!image.isNull(), qPrintable(e.name));
        // A drawn editor is not one flat colour.
        const QRgb first = image.pixel(0, 0);
        bool varied = false;
        for (int y = 0; y < image.height() && !varied; y += 2)
            for (int x = 0; x < image.width() && !varied; x += 2)
                varied = image.pixel(x, y) != first;
        QVERIFY2(varied, qPrintable(e.name));
        if (!folder.isEmpty())
            QVERIFY(image.save(QDir(folder).filePath(e.name + QStringLiteral(".png"))));
    }
    if (!folder.isEmpty())
        QVERIFY(window.grab().save(QDir(folder).filePath(QStringLiteral("all-editors.png"))));
}

QTEST_MAIN(TestEditorGallery)
#include "tst_editorgallery.moc"
